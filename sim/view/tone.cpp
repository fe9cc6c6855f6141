#include "sim/view/tone.h"

#include "sim/view/painter.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace sim::view {
namespace {

auto brightness_of(const Look &look)
{
    return std::tie(look.exposure, look.red, look.blue, look.defog, look.wide_range, look.straight_gamma, look.grey);
}

auto chroma_of(const Look &look)
{
    return std::tie(look.grey, look.chroma, look.colours);
}

// The light of a pixel as the sensor gives it, 0 to 1 and above, as it is shown: 0 to 1.
double shown(double light, const Look &look)
{
    constexpr double kHaze = 0.16;
    light = std::max(0.0, (light - kHaze * look.defog) / (1 - kHaze * look.defog));
    if (look.wide_range) // shadows are lifted, the bright parts keep their shades
        light = 1.3 * light / (light + 0.3);
    constexpr double kKnee = 0.8;
    if (light > kKnee)
        light = kKnee + (1 - kKnee) * (1 - std::exp((kKnee - light) / (1 - kKnee)));
    return std::pow(light, look.straight_gamma ? 1 / 1.5 : 1 / 2.2);
}

// Where the colours stand whose level and hue can be set, in degrees around the middle of the colour plane (blue
// difference to the right, red difference up), in the order of the record.
constexpr double kHues[] = {0, 53, 109, 174, 233, 289, 354};
static_assert(std::size(kHues) == kColourings);

// How much of a colour is of one of the six: 1 at its own angle, 0 from its neighbours on.
double share_of(std::size_t colour, double angle)
{
    const double away = std::fabs(std::remainder(angle - kHues[colour], 360));
    return std::max(0.0, 1 - away / 60);
}

} // namespace

void Tone::set(const Look &look)
{
    if (!made_ || brightness_of(look) != brightness_of(made_for_))
        set_brightness(look);
    if (!made_ || chroma_of(look) != chroma_of(made_for_))
        set_chroma(look);
    made_for_ = look;
    made_ = true;
}

void Tone::set_brightness(const Look &look)
{
    const double gain = std::exp2(look.exposure);
    const auto fill = [&](std::array<std::uint8_t, 256> &table, double balance) {
        for (std::size_t i = 0; i < table.size(); ++i) {
            const double light = std::pow(static_cast<double>(i) / 255, 2.2) * gain * balance;
            table[i] = static_cast<std::uint8_t>(std::lround(255 * std::clamp(shown(light, look), 0.0, 1.0)));
        }
    };
    fill(red, look.grey ? 1.25 : look.red); // without its filter the sensor sees more of the red end
    fill(green, 1);
    fill(blue, look.grey ? 0.9 : look.blue);
}

void Tone::set_chroma(const Look &look)
{
    const auto level = [&](std::size_t colour) { return look.colours[colour].level / 50.0; };
    const auto turn = [&](std::size_t colour) { return (look.colours[colour].hue - 50) * 0.6; }; // degrees
    for (int row = 0; row < kSide; ++row) {
        for (int column = 0; column < kSide; ++column) {
            const double cb = 2 * row + 1 - 128;
            const double cr = 2 * column + 1 - 128;
            const double angle = std::atan2(cr, cb) / kDegree;
            double factor = look.grey ? 0 : look.chroma * level(0);
            double turned = turn(0);
            for (std::size_t colour = 1; colour < kColourings; ++colour) {
                const double share = share_of(colour, angle);
                factor *= 1 + share * (level(colour) - 1);
                turned += share * turn(colour);
            }
            const double radius = std::hypot(cb, cr) * factor;
            const auto byte = [radius](double direction) {
                return static_cast<std::uint8_t>(std::clamp(std::lround(128 + radius * direction), 0L, 255L));
            };
            chroma_[pixel_at(row, kSide, column)] = {byte(std::cos((angle + turned) * kDegree)),
                                                     byte(std::sin((angle + turned) * kDegree))};
        }
    }
}

} // namespace sim::view
