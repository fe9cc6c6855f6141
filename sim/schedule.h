// When a fault strikes: at how many of its occasions, until when, and at which of them by chance. One mechanism for all
// faults, so that each can come once, N times, 1 in N times, for a time or for ever.
#pragma once

#include <cstdint>
#include <limits>

namespace sim {

struct Schedule {
    static constexpr std::int64_t kForEver = -1;
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    std::int64_t times = 0;      // strikes left, or kForEver
    std::int64_t until = kNever; // microseconds of the simulator's clock
    std::uint32_t one_in = 1;    // strikes at one of so many occasions, at random

    bool open(std::int64_t now) const { return times != 0 && now < until; }
    // In force without a break until its end.
    bool steady() const { return times == kForEver && one_in == 1; }
    void use_up()
    {
        if (times > 0)
            --times;
    }
};

} // namespace sim
