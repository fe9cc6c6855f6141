#include "sim/view/scene.h"

#include <algorithm>
#include <cmath>

namespace sim::view {
namespace {

void paint_air(Painter &painter)
{
    const Area &area = painter.area();
    const Light &light = painter.light();
    cairo_pattern_t *air = cairo_pattern_create_linear(0, -2, 0, 75);
    const auto stop = [air](double at, const Colour &colour) {
        cairo_pattern_add_color_stop_rgb(air, at, colour.red, colour.green, colour.blue);
    };
    stop(0, light.horizon);
    stop(0.28, light.middle);
    stop(1, light.zenith);
    cairo_set_source(painter.cairo(), air);
    cairo_rectangle(painter.cairo(), area.left, area.bottom, area.right - area.left, area.top - area.bottom);
    cairo_fill(painter.cairo());
    cairo_pattern_destroy(air);
}

void paint_stars(Painter &painter)
{
    if (painter.light().stars <= 0)
        return;
    for (std::uint32_t i = 0; i < 1400; ++i) {
        const Point star{chance(i, 1) * 360 - 180, 4 + 84 * std::pow(chance(i, 2), 0.8)};
        const double radius = std::max(0.02, 0.6 * painter.pixel()) * (0.5 + chance(i, 3));
        const double bright = painter.light().stars * (0.35 + 0.65 * chance(i, 4));
        painter.ellipse(star, radius / std::cos(star.y * kDegree), radius,
                        mix(painter.light().middle, rgb(0xFFF6E0), bright));
    }
}

// The sun by day, the moon when the stars are out: where, how large.
void paint_sun(Painter &painter)
{
    constexpr Point kSun{-62, 24};
    constexpr Point kMoon{33, 21};
    const Light &light = painter.light();
    if (light.stops > 4) {
        painter.glow(kSun, 16, 14, rgb(0xFFF3D8), 0.75);
        painter.disc(kSun, 0.9, rgb(0xFFFCF0));
    } else {
        painter.glow(kMoon, 7, 6, rgb(0xB9C6E8), 0.3);
        painter.disc(kMoon, 0.8, rgb(0xE8E6DA));
        for (std::uint32_t i = 0; i < 9; ++i) // its seas
            painter.ellipse({kMoon.x - 0.45 + 0.9 * chance(i, 31), kMoon.y - 0.4 + 0.8 * chance(i, 32)},
                            0.05 + 0.13 * chance(i, 33), 0.05 + 0.1 * chance(i, 34), rgb(0xCBC8BC));
    }
}

void paint_cloud(Painter &painter, std::uint32_t number)
{
    const double length = 7 + 12 * chance(number, 11);
    const Point middle{chance(number, 12) * 320 - 160, 9 + 34 * chance(number, 13)};
    if (!painter.sees({middle.x - length, middle.y - 4, middle.x + length, middle.y + 5}))
        return;
    const Colour below = mix(painter.light().cloud, painter.light().middle, 0.45);
    for (std::uint32_t i = 0; i < 22; ++i) {
        const double along = chance(number * 64 + i, 14) * 2 - 1;
        const double size = (1.1 + 2.6 * chance(number * 64 + i, 15)) * (1.15 - along * along);
        const Point puff{middle.x + along * length * 0.8, middle.y + chance(number * 64 + i, 16) * 1.6};
        painter.glow({puff.x, puff.y - 0.25 * size}, size * 1.9, size * 0.75, below, 0.55);
        painter.glow(puff, size * 1.7, size * 0.7, painter.light().cloud, 0.75);
    }
}

struct Balloon {
    Point middle;
    double radius;
    unsigned colour;
    unsigned stripe;
    const char *words;
};
constexpr Balloon kBalloons[] = {
    {{-13, 14.5}, 1.5, 0xC8402F, 0xF3E3C3, "UP"}, {{37, 12}, 1.0, 0x2F6F8F, 0xF2C14E, "SLOW"},
    {{104, 17}, 1.7, 0x3C8D5A, 0xF4F1E8, "LAKE"}, {{-126, 22}, 1.3, 0x7A4E9E, 0xF6D55C, "WEST"},
    {{-90, 56}, 2.4, 0xD9822B, 0xFFF3DC, "HIGH"}, {{25, 72}, 3.0, 0x2B5FA8, 0xF4F4F4, "TOP"}};

void paint_balloon(Painter &painter, const Balloon &balloon)
{
    const auto [x, y] = balloon.middle;
    const double r = balloon.radius;
    const double wide = r / std::cos(y * kDegree); // degrees of azimuth are narrow up there
    if (!painter.sees({x - wide, y - 2.3 * r, x + wide, y + 1.2 * r}))
        return;
    const auto colour = [&](unsigned value) { return painter.lit(rgb(value), 300); };
    for (const double side : {-1.0, 1.0})
        painter.line({x + side * wide * 0.45, y - r * 0.85}, {x + side * wide * 0.12, y - 1.75 * r}, 0.02 * r,
                     colour(0x4A3A2C));
    painter.polygon({{x - wide * 0.8, y - r * 0.55},
                     {x + wide * 0.8, y - r * 0.55},
                     {x + wide * 0.22, y - r * 1.4},
                     {x - wide * 0.22, y - r * 1.4}},
                    colour(balloon.colour));
    painter.ellipse(balloon.middle, wide, r, colour(balloon.colour));
    for (const double share : {0.72, 0.34}) {
        painter.ellipse(balloon.middle, wide * share, r, colour(balloon.stripe));
        painter.ellipse(balloon.middle, wide * (share - 0.17), r, colour(balloon.colour));
    }
    painter.box({x - wide * 0.93, y - r * 0.28, x + wide * 0.93, y + r * 0.28}, colour(balloon.stripe));
    painter.text({x, y - r * 0.17}, r * 0.36, balloon.words, colour(balloon.colour) * 0.8);
    painter.box({x - wide * 0.17, y - r * 2.1, x + wide * 0.17, y - r * 1.72}, colour(0x7B5636));
}

} // namespace

void paint_sky(Painter &painter)
{
    if (painter.area().top < -2)
        return;
    paint_air(painter);
    paint_stars(painter);
    paint_sun(painter);
    for (std::uint32_t i = 0; i < 17; ++i)
        paint_cloud(painter, i);
    for (const Balloon &balloon : kBalloons)
        paint_balloon(painter, balloon);
}

} // namespace sim::view
