#include "sim/exposure.h"

#include "sim/units.h"

#include <algorithm>
#include <cmath>

namespace sim {
namespace {

struct Range {
    std::int32_t low;
    std::int32_t high;
    std::int32_t limit(std::int32_t value) const { return std::clamp(value, low, high); }
};

// Which parts a mode leaves to the hand.
struct ByHand {
    std::int32_t mode;
    bool iris;
    bool shutter;
    bool gain;
};
constexpr ByHand kByHand[] = {
    {3, true, true, true},
    {4, true, false, false},
    {5, false, true, false},
    {9, false, false, true},
    {10, true, false, true} // "bright" gives iris and gain together
};

ByHand by_hand(std::int32_t mode)
{
    for (const ByHand &row : kByHand) {
        if (row.mode == mode)
            return row;
    }
    return {mode, false, false, false};
}

// What gives the picture its brightness: the iris as long as that lasts, then a faster shutter, then more gain.
ExposureCodes find(const ExposureOrders &orders, double scene_light)
{
    const auto fixed = [](std::int32_t code) { return Range{code, code}; };
    const ByHand hand = by_hand(orders.mode);
    const auto [slowest, fastest] = std::minmax(orders.slowest, orders.fastest);
    const Range iris_range = hand.iris ? fixed(orders.set.iris) : Range{4, 32};
    const Range shutter_range = hand.shutter ? fixed(orders.set.shutter) : Range{slowest, fastest};
    const Range gain_range = hand.gain ? fixed(orders.set.gain) : Range{0, orders.most_gain};

    const auto wanted = static_cast<std::int32_t>(std::lround(scene_light * 4)) - orders.brightness;
    ExposureCodes found{};
    found.iris = iris_range.limit(wanted - shutter_range.low + gain_range.low);
    found.shutter = shutter_at_most(shutter_range.limit(wanted - found.iris + gain_range.low));
    found.gain = gain_range.limit(found.iris + found.shutter - wanted);
    return found;
}

std::int32_t approach(std::int32_t from, std::int32_t target, std::int64_t steps)
{
    const std::int32_t distance = std::abs(target - from);
    const auto way = static_cast<std::int32_t>(std::min<std::int64_t>(steps, distance));
    return target < from ? from - way : from + way;
}

} // namespace

void Exposure::place(const ExposureCodes &codes, std::int64_t now)
{
    from_ = target_ = codes;
    since_ = now;
}

void Exposure::aim(const ExposureOrders &orders, double scene_light, std::int64_t now)
{
    from_ = at(now);
    since_ = now;
    step_us_ = std::int64_t{1'000} * (105 - orders.response);
    target_ = find(orders, scene_light);
    const ByHand hand = by_hand(orders.mode);
    if (hand.iris)
        from_.iris = target_.iris;
    if (hand.shutter)
        from_.shutter = target_.shutter;
    if (hand.gain)
        from_.gain = target_.gain;
}

ExposureCodes Exposure::at(std::int64_t now) const
{
    const std::int64_t steps = (now - since_) / step_us_;
    return {approach(from_.iris, target_.iris, steps), shutter_at_most(approach(from_.shutter, target_.shutter, steps)),
            approach(from_.gain, target_.gain, steps)};
}

} // namespace sim
