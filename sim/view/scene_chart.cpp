// The test chart on a hoarding, and the marks by which pan and tilt are read off a picture.
#include "sim/view/scene.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace sim::view {
namespace {

constexpr Area kChart{11, -4.4, 26, 5.4};
constexpr double kAway = 40; // metres
constexpr double kWallAway = 33;

void paint_star(Painter &painter, const Point &centre, double radius)
{
    constexpr int kRays = 36;
    painter.disc(centre, radius, painter.lit(rgb(0xFFFFFF), kAway));
    for (int i = 0; i < kRays; ++i) {
        const double a = 2 * kPi * i / kRays;
        const double b = a + kPi / kRays;
        painter.polygon({centre,
                         {centre.x + radius * std::cos(a), centre.y + radius * std::sin(a)},
                         {centre.x + radius * std::cos(b), centre.y + radius * std::sin(b)}},
                        painter.lit(rgb(0x0C0C0C), kAway));
    }
}

// Lines that come closer and closer.
void paint_wedge(Painter &painter, double left, double right, double bottom, double top)
{
    const Colour black = painter.lit(rgb(0x0C0C0C), kAway);
    double width = (right - left) / 26;
    while (left < right - width) {
        painter.box({left, bottom, left + width, top}, black);
        left += (1 + 0.955) * width;
        width *= 0.955;
    }
}

void paint_bars(Painter &painter)
{
    constexpr unsigned kColours[] = {0xF4F4F4, 0xF2E03A, 0x35C6D8, 0x3DB84A, 0xC43BBE, 0xD5322F, 0x2B43C8, 0x111111};
    for (int i = 0; i < 8; ++i)
        painter.box({kChart.left + 0.5 + 1.75 * i, 2.7, kChart.left + 2.25 + 1.75 * i, 4.4},
                    painter.lit(rgb(kColours[i]), kAway));
    for (int i = 0; i < 11; ++i) {
        const double grey = i / 10.0;
        painter.box({kChart.left + 0.5 + 14.0 / 11 * i, 1.7, kChart.left + 0.5 + 14.0 / 11 * (i + 1), 2.6},
                    painter.lit({grey, grey, grey}, kAway));
    }
}

void paint_chart_board(Painter &painter)
{
    if (!painter.sees({kChart.left - 0.5, foot_of(kAway), kChart.right + 0.5, kChart.top + 0.5}))
        return;
    for (const double x : {kChart.left + 1.5, kChart.right - 2.0})
        painter.box({x, foot_of(kAway), x + 0.5, kChart.bottom}, painter.lit(rgb(0x4B4F57), kAway));
    painter.box({kChart.left - 0.3, kChart.bottom - 0.3, kChart.right + 0.3, kChart.top + 0.3},
                painter.lit(rgb(0x2B2E34), kAway));
    painter.box(kChart, painter.lit(rgb(0xFAFAF7), kAway));
    const Colour ink = painter.lit(rgb(0x141414), kAway);
    const double middle = (kChart.left + kChart.right) / 2;
    painter.text({middle, 4.62}, 0.5, "TEST CHART 16:9", ink);
    paint_bars(painter);
    paint_star(painter, {kChart.left + 2.3, -0.6}, 1.7);
    paint_star(painter, {kChart.right - 2.3, -0.6}, 1.7);
    paint_star(painter, {middle, -0.2}, 0.6);
    paint_wedge(painter, middle - 2.8, middle - 0.8, -0.9, 1.3);
    paint_wedge(painter, middle + 0.8, middle + 2.8, -0.9, 1.3);
    painter.line({middle - 0.75, -0.2}, {middle + 0.75, -0.2}, 0.02, painter.lit(rgb(0xD5322F), kAway));
    painter.line({middle, -0.9}, {middle, 0.5}, 0.02, painter.lit(rgb(0xD5322F), kAway));
    struct Row {
        double foot;
        double height;
        const char *words;
    };
    constexpr Row kRows[] = {{-1.75, 0.46, "E F P T O Z"},
                             {-2.35, 0.3, "L P E D P E C F D"},
                             {-2.75, 0.18, "THE QUICK BROWN FOX 0123456789"},
                             {-3.05, 0.11, "JUMPS OVER THE LAZY DOG 0123456789"},
                             {-3.28, 0.065, "PACK MY BOX WITH FIVE DOZEN LIQUOR JUGS 0123456789"},
                             {-3.46, 0.04, "HOW VEXINGLY QUICK DAFT ZEBRAS JUMP 0123456789"},
                             {-3.6, 0.026, "SPHINX OF BLACK QUARTZ, JUDGE MY VOW 0123456789"},
                             {-3.72, 0.017, "THE FIVE BOXING WIZARDS JUMP QUICKLY 0123456789"}};
    for (const Row &row : kRows)
        painter.text({middle, row.foot}, row.height, row.words, ink);
    for (const double x : {kChart.left + 1.6, kChart.right - 1.6}) {
        constexpr double kRings[] = {0.75, 0.6, 0.45, 0.3, 0.15};
        for (int i = 0; i < 5; ++i)
            painter.disc({x, -3.35}, kRings[i], painter.lit(rgb(i % 2 ? 0xFAFAF7 : 0x141414), kAway));
    }
}

// The wall around the square: a tick each degree, a number every five.
void paint_pan_marks(Painter &painter)
{
    const Area &area = painter.area();
    const double foot = foot_of(kWallAway);
    const double top = seen_at(1.0, kWallAway);
    if (!painter.sees({area.left, foot, area.right, top + 0.2}))
        return;
    painter.box({area.left, foot, area.right, top}, painter.lit(rgb(0xA39A8B), kWallAway));
    painter.box({area.left, top - 0.12, area.right, top + 0.12}, painter.lit(rgb(0xD5CDBE), kWallAway));
    const Colour ink = painter.lit(rgb(0x2E2A26), kWallAway);
    for (int degree = static_cast<int>(std::floor(area.left)) - 2; degree <= area.right + 2; ++degree) {
        const double size = degree % 10 == 0 ? 0.5 : degree % 5 == 0 ? 0.36 : 0.18;
        painter.box({degree - 0.03, top - 0.12 - size, degree + 0.03, top - 0.12}, ink);
        if (degree % 5 != 0 || degree < -180 || degree > 180)
            continue;
        char words[16];
        std::snprintf(words, sizeof words, "%+d", degree);
        painter.text({static_cast<double>(degree), foot + 0.3}, degree % 10 == 0 ? 0.58 : 0.42,
                     degree == 0 ? "0" : words, ink);
    }
}

// A mast with a mark each degree of tilt.
void paint_tilt_marks(Painter &painter, double azimuth)
{
    const double foot = foot_of(kAway);
    if (!painter.sees({azimuth - 2, foot, azimuth + 2, 61}))
        return;
    const Colour steel = painter.lit(rgb(0xB9402F), kAway);
    const Colour white = painter.lit(rgb(0xF2EFE8), kAway);
    for (int degree = static_cast<int>(std::ceil(foot)); degree < 60; ++degree) {
        const double wide = 0.16 / std::cos(degree * kDegree);
        painter.box({azimuth - wide, degree + 0.0, azimuth + wide, degree + 1.0}, degree % 2 ? white : steel);
        if (degree % 5 != 0)
            continue;
        char words[16];
        std::snprintf(words, sizeof words, "%+d", degree);
        painter.box({azimuth + wide, degree - 0.03, azimuth + 2.2 * wide, degree + 0.03}, steel);
        painter.box({azimuth + 2.2 * wide, degree - 0.38, azimuth + 10 * wide, degree + 0.38}, white);
        painter.text({azimuth + 6.1 * wide, degree - 0.22}, 0.44, degree == 0 ? "0" : words,
                     painter.lit(rgb(0x2E2A26), kAway));
    }
    painter.disc({azimuth, 60.2}, 0.4, painter.light().lamps > 0.3 ? rgb(0xFF5A4A) : steel);
}

} // namespace

void paint_chart(Painter &painter)
{
    for (const double azimuth : {-150.0, -50.0, 51.0, 119.0})
        paint_tilt_marks(painter, azimuth);
    paint_chart_board(painter);
    paint_pan_marks(painter);
}

} // namespace sim::view
