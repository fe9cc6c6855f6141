// What is far away, and the ground: ranges of hills, a lake, a town on its other side; paving, lawns and a road.
#include "sim/view/scene.h"

#include <algorithm>
#include <cmath>

namespace sim::view {
namespace {

// A range of hills; its heights repeat every 360 degrees, so that it closes.
struct Range {
    unsigned colour;
    double metres_away;
    double height; // degrees: of its middle, and how far it rises above and falls below
    double rise;
    double waves; // around the horizon
    double snow;  // above so many degrees
};
constexpr Range kRanges[] = {
    {0x5D6F86, 4200, 3.4, 2.3, 5, 4.6}, {0x4C6A5B, 2200, 2.0, 1.2, 8, 90}, {0x4A6B3C, 1100, 0.9, 0.55, 13, 90}};

double crest(const Range &range, double azimuth)
{
    const double a = azimuth * kDegree;
    const double rough = std::sin(a * range.waves * 7 + 1.3) * 0.22 + std::sin(a * range.waves * 19) * 0.09 +
                         std::sin(a * range.waves * 61 + 0.4) * 0.03;
    return range.height + range.rise * (std::sin(a * range.waves + range.waves) * 0.6 +
                                        std::sin(a * (range.waves * 2 + 1)) * 0.3 + rough);
}

void paint_range(Painter &painter, const Range &range)
{
    const Area &area = painter.area();
    if (area.bottom > range.height + 1.4 * range.rise || area.top < -0.7)
        return;
    cairo_t *cairo = painter.cairo();
    const double step = std::max(3 * painter.pixel(), 0.01);
    cairo_move_to(cairo, area.left, -1);
    const int steps = static_cast<int>((area.right - area.left) / step) + 2;
    for (int i = 0; i < steps; ++i)
        cairo_line_to(cairo, area.left + i * step, crest(range, area.left + i * step));
    cairo_line_to(cairo, area.left + steps * step, -1);
    const Colour colour = painter.lit(rgb(range.colour), range.metres_away * 0.35);
    cairo_pattern_t *slope = cairo_pattern_create_linear(0, -0.5, 0, range.height + 1.4 * range.rise);
    const Colour low = mix(colour, painter.light().horizon, 0.45);
    cairo_pattern_add_color_stop_rgb(slope, 0, low.red, low.green, low.blue);
    cairo_pattern_add_color_stop_rgb(slope, 0.75, colour.red, colour.green, colour.blue);
    if (range.snow < 90) {
        const Colour snow = painter.lit(rgb(0xE9EEF4), range.metres_away * 0.35);
        cairo_pattern_add_color_stop_rgb(slope, 1, snow.red, snow.green, snow.blue);
    }
    cairo_set_source(cairo, slope);
    cairo_fill(cairo);
    cairo_pattern_destroy(slope);
}

// Houses on the far shore, as outlines with a few lights.
void paint_far_town(Painter &painter)
{
    for (std::uint32_t i = 0; i < 150; ++i) {
        const double left = -178 + 356 * i / 150.0;
        const double width = 0.8 + 1.7 * chance(i, 41);
        const double tall = -0.3 + 2.2 * chance(i, 42) * chance(i, 43) + 0.9 * chance(i, 44);
        const Area house{left, -0.7, left + width, tall};
        if (!painter.sees({left, -1, left + width, tall + 0.4}))
            continue;
        const Colour wall = painter.lit(mix(rgb(0x8E97A6), rgb(0xB79F8C), chance(i, 45)), 900);
        painter.box(house, wall);
        if (chance(i, 46) > 0.55)
            painter.polygon({{left, tall}, {left + width, tall}, {left + width / 2, tall + 0.35}}, wall * 0.86);
        if (!painter.shows(0.05))
            continue;
        for (std::uint32_t window = 0; window < 24; ++window) {
            const double x = left + width * (0.12 + 0.14 * (window % 6));
            const std::uint32_t floor = window / 6;
            const double y = tall - 0.2 - 0.22 * floor;
            const bool lamp = chance(i * 32 + window, 47) < 0.6 * painter.light().lamps;
            if (y > -0.6)
                painter.box({x, y, x + 0.07 * width, y + 0.1}, lamp ? rgb(0xFFD98A) : wall * 0.72);
        }
    }
}

void paint_lake(Painter &painter)
{
    constexpr Area kLake{88, -2.6, 122, -0.35};
    if (!painter.sees({85, -3, 125, 3}))
        return;
    painter.box(kLake, mix(painter.light().middle, painter.lit(rgb(0x2F5873), 200), 0.45));
    for (std::uint32_t i = 0; i < 120; ++i) {
        const double y = kLake.bottom + (kLake.top - kLake.bottom) * chance(i, 51);
        const double x = kLake.left + 33 * chance(i, 52);
        painter.box({x, y, x + 0.3 + 0.9 * chance(i, 53), y + 0.02}, mix(painter.light().horizon, rgb(0xFFFFFF), 0.3));
    }
    for (std::uint32_t i = 0; i < 5; ++i) {
        const double x = 91 + 6.3 * i;
        const double y = -0.8 - 1.1 * chance(i, 54);
        const double size = 0.7 + 0.5 * chance(i, 55);
        painter.polygon({{x + 0.05, y + 0.1}, {x + 0.05, y + 1.6 * size}, {x + 0.62 * size, y + 0.15}},
                        painter.lit(rgb(0xFBFBF6), 200));
        painter.polygon({{x - 0.02, y + 0.1}, {x - 0.02, y + 1.3 * size}, {x - 0.45 * size, y + 0.15}},
                        painter.lit(rgb(i % 2 ? 0xD9534F : 0x4F86C6), 200));
        painter.polygon({{x - 0.5 * size, y + 0.1},
                         {x + 0.65 * size, y + 0.1},
                         {x + 0.45 * size, y - 0.1},
                         {x - 0.35 * size, y - 0.1}},
                        painter.lit(rgb(0x6B3E2E), 200));
    }
}

// A ring of the ground, from one distance to a farther one.
void paint_ring(Painter &painter, double near_metres, double far_metres, unsigned colour)
{
    const double near_edge = near_metres <= 0 ? -90 : foot_of(near_metres);
    const Area &area = painter.area();
    painter.box({area.left, near_edge, area.right, foot_of(far_metres)},
                painter.lit(rgb(colour), near_metres + (far_metres - near_metres) / 3));
}

// Joints of the paving: rings, and lines that run away from the camera, fewer the nearer.
void paint_paving(Painter &painter)
{
    const Area &area = painter.area();
    const Colour joint = painter.lit(rgb(0x8F8A80), 10);
    for (int metres = 2; metres < 30; ++metres) {
        const double y = foot_of(metres);
        painter.box({area.left, y, area.right, y + 0.06}, joint);
        const int lines = metres < 4 ? 45 : metres < 9 ? 90 : 180;
        const double apart = 360.0 / lines;
        const double shift = metres % 2 ? apart / 2 : 0;
        if (y > area.top || foot_of(metres + 1) < area.bottom)
            continue;
        const int first = static_cast<int>(std::floor(area.left / apart));
        for (int i = first; i * apart < area.right + apart; ++i)
            painter.box({i * apart + shift, y, i * apart + shift + 0.07, foot_of(metres + 1)}, joint);
    }
}

} // namespace

void paint_land(Painter &painter)
{
    for (const Range &range : kRanges)
        paint_range(painter, range);
    paint_far_town(painter);
}

void paint_ground(Painter &painter)
{
    if (painter.area().bottom > 0)
        return;
    paint_ring(painter, 150, 3000, 0x6F8A58);
    paint_lake(painter);
    paint_ring(painter, 64, 150, 0x7C9A5C);
    paint_ring(painter, 57, 64, 0xA9A49A);
    paint_ring(painter, 44, 57, 0x5B5D62); // the road
    paint_ring(painter, 41, 44, 0xB5AFA3);
    paint_ring(painter, 0, 41, 0xC2BBAD);
    const double middle = foot_of(50);
    for (int x = -180; x < 180; x += 6)
        painter.box({x + 0.0, middle - 0.05, x + 3.0, middle + 0.06}, painter.lit(rgb(0xE9E6DC), 50));
    for (const double crossing : {-20.0, 10.0, 62.0, 128.0, -98.0, -150.0}) {
        for (int i = 0; i < 5; ++i)
            painter.box({crossing + i, foot_of(45), crossing + i + 0.5, foot_of(56)}, painter.lit(rgb(0xE9E6DC), 50));
    }
    paint_paving(painter);
}

} // namespace sim::view
