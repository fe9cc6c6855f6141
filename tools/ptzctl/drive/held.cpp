#include "drive/held.h"

#include <algorithm>
#include <limits>

namespace {

// Keyboards repeat after half a second at most as a rule, and then thirty times a second.
constexpr gint64 kFirstRepeatUs = 600'000;
constexpr gint64 kNextRepeatUs = 200'000;

constexpr struct {
    Key key;
    const char *axis;
    int sign;
} kRows[] = {
    {kKeyLeft, "pan", -1},   {kKeyRight, "pan", 1},      {kKeyUp, "tilt", 1}, {kKeyDown, "tilt", -1},
    {kKeyPageUp, "zoom", 1}, {kKeyPageDown, "zoom", -1}, {U'f', "focus", 1},  {U'n', "focus", -1},
};

} // namespace

bool HeldKeys::take(const KeyEvent &event, gint64 now)
{
    if (std::none_of(std::begin(kRows), std::end(kRows), [&](const auto &row) { return row.key == event.key; }))
        return false;
    const auto found = until_.find(event.key);
    if (event.released)
        until_.erase(event.key);
    else if (tells_releases_)
        until_[event.key] = std::numeric_limits<gint64>::max();
    else
        until_[event.key] = now + (found == until_.end() ? kFirstRepeatUs : kNextRepeatUs);
    return true;
}

void HeldKeys::look(gint64 now)
{
    std::erase_if(until_, [now](const auto &held) { return held.second <= now; });
}

Speeds HeldKeys::wanted(double percent) const
{
    Speeds speeds;
    for (const auto &[key, axis, sign] : kRows)
        if (until_.contains(key))
            speeds[axis] += sign * percent;
    std::erase_if(speeds, [](const auto &speed) { return speed.second == 0; });
    return speeds;
}
