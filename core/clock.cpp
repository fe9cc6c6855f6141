#include "core/clock.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <sys/select.h>
#include <sys/time.h>

namespace {

double time_scale_from_environment()
{
    const char *text = std::getenv("PTZ_TIME_SCALE");
    const double scale = text != nullptr ? std::strtod(text, nullptr) : 1.0;
    return std::isfinite(scale) && scale > 0.0 ? scale : 1.0;
}

std::int64_t machine_time_us()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

class MachineClock final : public Clock {
  public:
    std::int64_t now_us() override
    {
        const std::int64_t now = machine_time_us();
        if (scale_ == 1.0)
            return now;
        return start_us_ + static_cast<std::int64_t>(static_cast<double>(now - start_us_) * scale_);
    }

    void sleep_us(std::int64_t us) override
    {
        if (us <= 0)
            return;
        const std::int64_t ns = static_cast<std::int64_t>(static_cast<double>(us) * 1000.0 / scale_);
        timespec left{static_cast<std::time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
        while (nanosleep(&left, &left) != 0 && errno == EINTR) {
        }
    }

    int wait_exceptional(int fd, std::int64_t timeout_us) override
    {
        if (fd < 0 || fd >= FD_SETSIZE)
            return 0;
        const std::int64_t deadline = now_us() + timeout_us;
        for (;;) {
            std::int64_t left = deadline - now_us();
            // A clock that was set back must not lengthen the wait.
            left = left < 0 ? 0 : left > timeout_us ? timeout_us : left;
            const auto us = static_cast<std::int64_t>(static_cast<double>(left) / scale_);
            timeval timeout{static_cast<std::time_t>(us / 1000000), static_cast<suseconds_t>(us % 1000000)};
            fd_set exceptional;
            FD_ZERO(&exceptional);
            FD_SET(fd, &exceptional);
            const int ready = select(fd + 1, nullptr, nullptr, &exceptional, &timeout);
            if (ready > 0)
                return FD_ISSET(fd, &exceptional) ? 1 : 0;
            if (ready == 0 || errno != EINTR)
                return ready;
        }
    }

  private:
    const double scale_ = time_scale_from_environment();
    const std::int64_t start_us_ = machine_time_us();
};

std::atomic<Clock *> replacement{nullptr};

} // namespace

Clock &clock_get()
{
    static MachineClock machine;
    Clock *clock = replacement.load(std::memory_order_acquire);
    return clock != nullptr ? *clock : machine;
}

void clock_set(Clock *clock)
{
    replacement.store(clock, std::memory_order_release);
}
