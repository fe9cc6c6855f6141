// What stands and goes in the square: trees, lamps, cars and people.
#include "sim/view/scene.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace sim::view {
namespace {

void paint_tree(Painter &painter, double azimuth, double metres_away, std::uint32_t number)
{
    const double foot = foot_of(metres_away);
    const double top = seen_at(4 + 3 * chance(number, 71), metres_away);
    const double tall = top - foot;
    if (!painter.sees({azimuth - tall, foot, azimuth + tall, top + tall * 0.2}))
        return;
    painter.polygon({{azimuth - tall * 0.035, foot},
                     {azimuth + tall * 0.035, foot},
                     {azimuth + tall * 0.02, foot + tall * 0.6},
                     {azimuth - tall * 0.02, foot + tall * 0.6}},
                    painter.lit(rgb(0x5A4633), metres_away));
    const Colour leaves = painter.lit(mix(rgb(0x3F6B35), rgb(0x7E8F3A), chance(number, 72)), metres_away);
    const int puffs = painter.shows(tall * 0.05) ? 90 : 24;
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(puffs); ++i) {
        const double angle = 2 * kPi * chance(number * 128 + i, 73);
        const double out = std::sqrt(chance(number * 128 + i, 74)) * 0.3 * tall;
        const Point puff{azimuth + out * std::cos(angle), foot + tall * 0.68 + out * std::sin(angle)};
        const double shade = 0.72 + 0.38 * (puff.y - foot) / tall + 0.12 * chance(number * 128 + i, 75) - 0.2;
        painter.disc(puff, tall * (puffs == 90 ? 0.055 : 0.1), leaves * std::clamp(shade, 0.4, 1.15));
    }
}

void paint_lamp(Painter &painter, double azimuth, double metres_away)
{
    const double foot = foot_of(metres_away);
    const double top = seen_at(5, metres_away);
    const double thick = (top - foot) * 0.014;
    const Colour iron = painter.lit(rgb(0x2F3538), metres_away);
    painter.box({azimuth - thick, foot, azimuth + thick, top}, iron);
    painter.box({azimuth - 3 * thick, foot, azimuth + 3 * thick, foot + 8 * thick}, iron);
    const double lamps = painter.light().lamps;
    const Point globe{azimuth, top + 5 * thick};
    if (lamps > 0.1)
        painter.glow(globe, 4.5, 4, rgb(0xFFD48A), 0.55 * lamps);
    painter.disc(globe, 7 * thick, mix(painter.lit(rgb(0xE8EAE6), metres_away), rgb(0xFFF0C4), lamps));
}

void paint_car(Painter &painter, double azimuth, double metres_away, unsigned colour, const char *plate)
{
    const double unit = 1.0 / metres_away / kDegree; // a metre
    const double foot = foot_of(metres_away);
    const auto [x, y] = Point{azimuth, foot};
    if (!painter.sees({x - 3 * unit, y, x + 3 * unit, y + 2 * unit}))
        return;
    const Colour paint = painter.lit(rgb(colour), metres_away);
    const Colour dark = painter.lit(rgb(0x23272B), metres_away);
    painter.ellipse({x, y + 0.05 * unit}, 2.4 * unit, 0.16 * unit, dark);
    painter.polygon({{x - 1.3 * unit, y + 0.9 * unit},
                     {x - 0.8 * unit, y + 1.45 * unit},
                     {x + 0.9 * unit, y + 1.45 * unit},
                     {x + 1.5 * unit, y + 0.9 * unit}},
                    paint * 0.92);
    painter.polygon({{x - 1.1 * unit, y + 0.92 * unit},
                     {x - 0.7 * unit, y + 1.36 * unit},
                     {x + 0.8 * unit, y + 1.36 * unit},
                     {x + 1.25 * unit, y + 0.92 * unit}},
                    mix(painter.light().middle, dark, 0.6));
    painter.box({x - 2.1 * unit, y + 0.32 * unit, x + 2.1 * unit, y + 0.92 * unit}, paint);
    for (const double wheel : {-1.3, 1.3}) {
        painter.disc({x + wheel * unit, y + 0.32 * unit}, 0.34 * unit, dark);
        painter.disc({x + wheel * unit, y + 0.32 * unit}, 0.17 * unit, painter.lit(rgb(0xB9BDC1), metres_away));
    }
    painter.box({x + 1.95 * unit, y + 0.65 * unit, x + 2.1 * unit, y + 0.8 * unit}, rgb(0xFFF3C9));
    painter.box({x - 0.35 * unit, y + 0.45 * unit, x + 0.35 * unit, y + 0.62 * unit},
                painter.lit(rgb(0xF6F6F0), metres_away));
    painter.text({x, y + 0.49 * unit}, 0.09 * unit, plate, dark);
}

void paint_person(Painter &painter, double azimuth, double metres_away, std::uint32_t number)
{
    constexpr unsigned kClothes[] = {0xC0392B, 0x2E86AB, 0xE1A730, 0x4B7F52, 0x7D5BA6, 0xE7E2D6, 0x34495E, 0xD8709A};
    constexpr unsigned kSkins[] = {0xF1C9A5, 0xD9A066, 0xA66A3F, 0x6F4427};
    const auto pick = [number](auto &from, std::uint32_t which) {
        return from[static_cast<std::size_t>(chance(number, which) * static_cast<double>(std::size(from)))];
    };
    const double foot = foot_of(metres_away);
    const double unit = (seen_at(1.55 + 0.35 * chance(number, 81), metres_away) - foot) / 8; // eight heads
    if (!painter.sees({azimuth - 3 * unit, foot, azimuth + 3 * unit, foot + 8.5 * unit}))
        return;
    const auto lit = [&](unsigned colour) { return painter.lit(rgb(colour), metres_away); };
    const Colour coat = lit(pick(kClothes, 82));
    const Colour trousers = lit(pick(kClothes, 83)) * 0.55;
    const Colour skin = lit(pick(kSkins, 84));
    const auto at = [&](double x, double y) { return Point{azimuth + x * unit, foot + y * unit}; };
    const double stride = 0.3 + 0.7 * chance(number, 85);
    painter.ellipse(at(0, 0.05), 1.3 * unit, 0.18 * unit, lit(0x6F6A60));
    cairo_set_line_cap(painter.cairo(), CAIRO_LINE_CAP_ROUND);
    for (const double side : {-1.0, 1.0}) {
        painter.line(at(side * 0.25, 3.9), at(side * stride, 0.3), 0.62 * unit, trousers);
        painter.line(at(side * stride, 0.15), at(side * stride + 0.35, 0.15), 0.32 * unit, lit(0x2A2624));
        painter.line(at(side * 0.75, 6.2), at(side * (0.95 + 0.3 * stride), 4.1), 0.4 * unit, coat * 0.88);
        painter.disc(at(side * (0.95 + 0.3 * stride), 3.9), 0.24 * unit, skin);
    }
    cairo_set_line_cap(painter.cairo(), CAIRO_LINE_CAP_BUTT);
    painter.polygon({at(-0.62, 3.6), at(0.62, 3.6), at(0.85, 6.55), at(-0.85, 6.55)}, coat);
    painter.line(at(0, 6.4), at(0, 7), 0.4 * unit, skin);
    painter.ellipse(at(0, 7.35), 0.5 * unit, 0.62 * unit, skin);
    painter.ellipse(at(0, 7.62), 0.53 * unit, 0.42 * unit, lit(chance(number, 86) < 0.5 ? 0x3A2A1E : 0x8A6A3A));
    if (!painter.shows(0.1 * unit))
        return;
    for (const double side : {-0.18, 0.18})
        painter.disc(at(side, 7.3), 0.055 * unit, lit(0x1A1A1A));
    painter.line(at(-0.15, 7.0), at(0.15, 7.0), 0.05 * unit, lit(0x8C3B34));
    painter.text(at(0, 5.4), 0.3 * unit, number % 3 ? "ZOOM" : "CREW", mix(coat, rgb(0xFFFFFF), 0.8));
}

// Where one house ends and the next begins, so that their signs stay in sight.
constexpr double kTrees[] = {-177.5, -142, -131, -120.5, -100, -88.2, -58,   -41.6, -26,
                             -0.5,   7.2,  28,   47.5,   57,   88,    123.5, 140.6, 157.8};
constexpr double kLamps[] = {-167, -150, -126, -109, -94, -81, -66, -49, -15.8, 1.6,
                             37,   53,   67,   81,   96,  113, 132, 149, 166};
constexpr unsigned kPaints[] = {0xB8332A, 0x2C5F8A, 0xE6E4DE, 0x2F3437, 0xC9A227, 0x5C7F67};
constexpr const char *kPlates[] = {"PAN 170", "TLT 90", "ZM 030", "FCS 1400", "IRS 8", "WB 256"};

} // namespace

void paint_street(Painter &painter)
{
    for (std::uint32_t i = 0; i < 18; ++i)
        paint_car(painter, -172 + 19.3 * i + 6 * chance(i, 91), i % 2 ? 47 : 53, kPaints[i % 6], kPlates[i % 6]);
    for (std::uint32_t i = 0; i < 26; ++i) // a park beyond the road, where no houses are
        paint_tree(painter, (i % 2 ? 47 : -142) + 0.85 * i, 66 + 30 * chance(i, 92), i);
    std::uint32_t number = 100;
    for (const double azimuth : kTrees)
        paint_tree(painter, azimuth, 40, number++);
    for (const double azimuth : kLamps)
        paint_lamp(painter, azimuth, 36);
    for (std::uint32_t i = 0; i < 46; ++i) {
        const double away = 15 + 17 * chance(i, 93);
        paint_person(painter, -176 + 7.7 * i + 4 * chance(i, 94), away, i);
    }
    for (std::uint32_t i = 0; i < 12; ++i)
        paint_person(painter, -170 + 29.5 * i, 42 + 2 * chance(i, 95), 200 + i);
}

} // namespace sim::view
