// The only place where the driver sleeps, reads the time or waits for a descriptor.
//
// The process has one clock. It is the machine's own unless a test has put another in its place. On a PC the
// environment variable PTZ_TIME_SCALE makes it run that many times faster.
#pragma once

#include <cstdint>
#include <ctime>

class Clock {
  public:
    virtual ~Clock() = default;
    // Microseconds of wall-clock time since 1970.
    virtual std::int64_t now_us() = 0;
    virtual void sleep_us(std::int64_t us) = 0;
    // Waits until `fd` is exceptionally ready (select's third set) or `timeout_us` has passed. 1 when ready, 0 on
    // timeout, -1 with errno on failure; EINTR is waited out. A descriptor that select cannot hold counts as timeout.
    virtual int wait_exceptional(int fd, std::int64_t timeout_us) = 0;
};

// The clock in force.
Clock &clock_get();

// Puts `clock` in force until it is called again; nullptr restores the machine's own. The caller keeps ownership.
void clock_set(Clock *clock);

inline void clock_sleep_us(std::int64_t us)
{
    clock_get().sleep_us(us);
}

inline std::time_t clock_calendar_time()
{
    return static_cast<std::time_t>(clock_get().now_us() / 1000000);
}
