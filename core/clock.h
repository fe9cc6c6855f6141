// The only place where the driver sleeps, reads the time or waits for a descriptor.
//
// The process has one clock. It is the machine's own unless a test has put another in its place.
#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <ctime>

class Clock {
  public:
    virtual ~Clock() = default;
    // Microseconds of wall-clock time since 1970.
    virtual std::int64_t now_us() = 0;
    // Microseconds since some moment; never goes back, whatever is done to the wall clock.
    virtual std::int64_t monotonic_us() { return now_us(); }
    virtual void sleep_us(std::int64_t us) = 0;
    // Waits until `fd` is exceptionally ready (select's third set) or `timeout_us` has passed. 1 when ready, 0 on
    // timeout, -1 with errno on failure; EINTR is waited out. A negative descriptor counts as timeout at once.
    virtual int wait_exceptional(int fd, std::int64_t timeout_us) = 0;
};

// The clock in force.
Clock &clock_get();

// Puts `clock` in force until it is called again; nullptr restores the machine's own. The caller keeps ownership.
void clock_set(Clock *clock);

// Makes the machine's clock run that many times as fast as the wall's; above 0. Call it while nothing waits.
void clock_set_time_scale(double scale);

// While `cancellable` is cancelled nothing waits, whichever clock is in force; a wait that is under way ends. The clock
// holds a reference; null takes it away. Call it while nothing waits.
void clock_set_cancellable(GCancellable *cancellable);

// Whoever repeats something until it succeeds gives up when this is true. Any thread.
bool clock_cancelled();

// The two waits of the driver. Cancelled, the second gives 0.
void clock_sleep_us(std::int64_t us);
int clock_wait_exceptional(int fd, std::int64_t timeout_us);

// How often one of them has begun or ended; goes round at its largest. Whoever sees it grow knows that the driver is
// not stuck, however long what it does takes. Any thread.
unsigned clock_waits();

inline std::time_t clock_calendar_time()
{
    return static_cast<std::time_t>(clock_get().now_us() / 1000000);
}
