#include "sim/view/light.h"

#include <algorithm>
#include <iterator>

namespace sim::view {
namespace {

// Stops rise.
constexpr Light kLights[] = {
    {-7, rgb(0x05070F), rgb(0x0A0E1C), rgb(0x141B2E), rgb(0x39425F), rgb(0x10141F), 1, 1},
    {0, rgb(0x0B1434), rgb(0x15234F), rgb(0x2B3B66), rgb(0x56628C), rgb(0x232E4E), 1, 0.8},
    {3, rgb(0x1C2B62), rgb(0x3C4C8A), rgb(0x8A6F93), rgb(0x8288AC), rgb(0x5A5A8A), 1, 0.25},
    {5, rgb(0x2E4A8E), rgb(0x7C86B8), rgb(0xF0A56E), rgb(0xB2A5B4), rgb(0xD49AA0), 0.9, 0},
    {7, rgb(0x3B6FB5), rgb(0x8FB1D6), rgb(0xF6D3A4), rgb(0xF2E8DA), rgb(0xFBE3D0), 0.35, 0},
    {10, rgb(0x2F6DBE), rgb(0x79ADE0), rgb(0xD3E2EE), rgb(0xF7F3EA), rgb(0xFFFFFF), 0, 0},
    {15, rgb(0x2A6AC4), rgb(0x6FA9E6), rgb(0xCBE0F2), rgb(0xFFFFFF), rgb(0xFFFFFF), 0, 0},
    {22, rgb(0x5D9BE6), rgb(0xA5CCF5), rgb(0xF1F7FC), rgb(0xFFFFFF), rgb(0xFFFFFF), 0, 0},
};

} // namespace

Light light_of(double stops)
{
    const double wanted = std::clamp(stops, kLights[0].stops, std::rbegin(kLights)->stops);
    const Light *above = std::begin(kLights) + 1;
    while (above->stops < wanted)
        ++above;
    const Light &a = above[-1];
    const Light &b = *above;
    const double share = (wanted - a.stops) / (b.stops - a.stops);
    const auto between = [share](double from, double to) { return from + (to - from) * share; };
    return {wanted,
            mix(a.zenith, b.zenith, share),
            mix(a.middle, b.middle, share),
            mix(a.horizon, b.horizon, share),
            mix(a.ambient, b.ambient, share),
            mix(a.cloud, b.cloud, share),
            between(a.lamps, b.lamps),
            between(a.stars, b.stars)};
}

} // namespace sim::view
