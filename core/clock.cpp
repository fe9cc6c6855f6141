#include "core/clock.h"

#include <atomic>
#include <cerrno>
#include <poll.h>
#include <sys/time.h>

namespace {

std::int64_t wall_us()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

std::int64_t steady_us()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

timespec timespec_of(std::int64_t us)
{
    timespec time{};
    time.tv_sec = static_cast<decltype(time.tv_sec)>(us / 1000000);
    time.tv_nsec = static_cast<decltype(time.tv_nsec)>(us % 1000000 * 1000);
    return time;
}

// Time from `origin` on, seen `scale` times as fast.
std::int64_t scaled(std::int64_t now, std::int64_t origin, double scale)
{
    return scale == 1.0 ? now : origin + static_cast<std::int64_t>(static_cast<double>(now - origin) * scale);
}

GCancellable *cancel = nullptr;
int cancel_fd = -1; // readable while it is cancelled

class MachineClock final : public Clock {
  public:
    std::int64_t now_us() override { return scaled(wall_us(), wall_origin_us_, scale_); }
    std::int64_t monotonic_us() override { return scaled(steady_us(), steady_origin_us_, scale_); }

    void sleep_us(std::int64_t us) override { wait(nullptr, us); }

    int wait_exceptional(int fd, std::int64_t timeout_us) override
    {
        pollfd entry{fd, POLLPRI, 0};
        return fd < 0 ? 0 : wait(&entry, timeout_us);
    }

    void set_scale(double scale) { scale_ = scale; }

  private:
    // Waits until `entry` is exceptionally ready, the time has passed, or it is cancelled.
    int wait(pollfd *entry, std::int64_t timeout_us)
    {
        const std::int64_t deadline = monotonic_us() + timeout_us;
        pollfd entries[] = {{cancel_fd, POLLIN, 0}, entry != nullptr ? *entry : pollfd{-1, 0, 0}};
        for (;;) {
            const std::int64_t left = deadline - monotonic_us();
            const timespec timeout =
                timespec_of(left > 0 ? static_cast<std::int64_t>(static_cast<double>(left) / scale_) : 0);
            const int ready = ppoll(entries, 2, &timeout, nullptr);
            if (ready == 0 || (ready > 0 && entries[0].revents != 0))
                return 0;
            if (ready < 0 && errno != EINTR)
                return -1;
            if (ready < 0)
                continue;
            if ((entries[1].revents & POLLPRI) != 0)
                return 1;
            if ((entries[1].revents & POLLNVAL) != 0) {
                errno = EBADF;
                return -1;
            }
            entries[1].fd = -1; // hung up: nothing more will come from there
        }
    }

    std::atomic<double> scale_{1.0};
    const std::int64_t wall_origin_us_ = wall_us();
    const std::int64_t steady_origin_us_ = steady_us();
};

MachineClock &machine()
{
    static MachineClock clock;
    return clock;
}

std::atomic<Clock *> replacement{nullptr};
std::atomic<unsigned> waits{0};

// Counts the wait that it lives for.
struct CountedWait {
    CountedWait() { waits.fetch_add(1, std::memory_order_relaxed); }
    CountedWait(const CountedWait &) = delete;
    CountedWait &operator=(const CountedWait &) = delete;
    ~CountedWait() { waits.fetch_add(1, std::memory_order_relaxed); }
};

} // namespace

Clock &clock_get()
{
    Clock *clock = replacement.load(std::memory_order_acquire);
    return clock != nullptr ? *clock : machine();
}

void clock_set(Clock *clock)
{
    replacement.store(clock, std::memory_order_release);
}

void clock_set_time_scale(double scale)
{
    machine().set_scale(scale);
}

void clock_set_cancellable(GCancellable *cancellable)
{
    if (cancel_fd >= 0)
        g_cancellable_release_fd(cancel);
    g_set_object(&cancel, cancellable);
    cancel_fd = cancel != nullptr ? g_cancellable_get_fd(cancel) : -1;
}

bool clock_cancelled()
{
    return cancel != nullptr && g_cancellable_is_cancelled(cancel) != FALSE;
}

void clock_sleep_us(std::int64_t us)
{
    const CountedWait counted;
    if (us > 0 && !clock_cancelled())
        clock_get().sleep_us(us);
}

int clock_wait_exceptional(int fd, std::int64_t timeout_us)
{
    const CountedWait counted;
    return clock_cancelled() ? 0 : clock_get().wait_exceptional(fd, timeout_us);
}

unsigned clock_waits()
{
    return waits.load(std::memory_order_relaxed);
}
