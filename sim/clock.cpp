#include "sim/clock.h"

#include <ctime>

namespace sim {
namespace {

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

} // namespace

Clock::Clock(bool manual, double scale) : manual_(manual), scale_(scale), start_ns_(monotonic_ns())
{
}

std::int64_t Clock::now() const
{
    if (manual_)
        return manual_us_.load(std::memory_order_acquire);
    return static_cast<std::int64_t>(static_cast<double>(monotonic_ns() - start_ns_) * scale_ / 1000.0);
}

void Clock::set(std::int64_t us)
{
    if (us > manual_us_.load(std::memory_order_relaxed))
        manual_us_.store(us, std::memory_order_release);
}

std::int64_t Clock::real_ns_until(std::int64_t us) const
{
    const std::int64_t left = us - now();
    return left <= 0 ? 0 : static_cast<std::int64_t>(static_cast<double>(left) * 1000.0 / scale_) + 1;
}

std::int64_t Clock::from_wall(std::int64_t us) const
{
    return manual_ ? us : static_cast<std::int64_t>(static_cast<double>(us) * scale_);
}

std::int64_t Clock::wall_ns(std::int64_t ns) const
{
    return manual_ ? 0 : static_cast<std::int64_t>(static_cast<double>(ns) / scale_);
}

} // namespace sim
