// The houses around the square.
#include "sim/view/scene.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace sim::view {
namespace {

enum class Roof : unsigned char { flat, gable, hip };

struct House {
    double left; // degrees
    double right;
    double metres_away;
    double metres_high;
    int floors;
    int columns; // of windows
    Roof roof;
    unsigned wall;
    unsigned trim;
    const char *sign;
    const char *notice; // beside the door, small
};
constexpr House kHouses[] = {
    {-41, -26, 70, 21, 5, 8, Roof::flat, 0xD9B38C, 0x8A4B32, "HOTEL AURORA", "RECEPTION OPEN DAY AND NIGHT"},
    {-25.4, -16, 66, 14, 3, 5, Roof::gable, 0xE7D7B1, 0x7A5230, "BAKERY", "FRESH BREAD FROM 6:30"},
    {-15.6, -8, 66, 17, 4, 4, Roof::gable, 0xB5654A, 0xF0E4D0, "BOOKS", "OLD AND NEW - PLEASE RING TWICE"},
    {-7.6, -1.4, 68, 15, 3, 3, Roof::hip, 0xC9CFC4, 0x46606B, "TEA ROOM", "47 KINDS OF TEA"},
    {29, 46, 74, 15, 3, 10, Roof::hip, 0xCBB79A, 0x5E4A3A, "CENTRAL STATION", "TRAINS TO THE LAKE: PLATFORM 3"},
    {58, 75, 78, 17, 3, 9, Roof::flat, 0xDAD5C8, 0x3E5C76, "LIBRARY", "QUIET PLEASE - 120 000 BOOKS"},
    {76, 86, 92, 46, 12, 7, Roof::flat, 0x9FB4C3, 0x2F4858, "MERCURY HOUSE", "FLOOR 12: RADIO ROOM"},
    {124, 140, 72, 16, 3, 8, Roof::hip, 0xD8A48F, 0x6D2E46, "THEATRE", "TONIGHT: THE TEMPEST, 19:30"},
    {141, 157, 68, 11, 2, 9, Roof::gable, 0xE3CFA4, 0x4F772D, "MARKET HALL", "FISH, FRUIT AND FLOWERS"},
    {158, 174, 76, 18, 3, 7, Roof::flat, 0x70757F, 0xE4B363, "CINEMA", "SCREEN 1: THE LONG ZOOM"},
    {-176, -160, 74, 16, 4, 9, Roof::hip, 0xC98B6B, 0xF1E3D3, "SCHOOL", "SUMMER TERM ENDS ON FRIDAY"},
    {-158, -143, 70, 12, 2, 6, Roof::flat, 0xB23A36, 0xF4EFE6, "FIRE STATION", "KEEP THIS EXIT CLEAR"},
    {-119, -101, 78, 19, 3, 10, Roof::hip, 0xDCD6C4, 0x6C6A5C, "MUSEUM", "HALL 7: CLOCKS AND LENSES"},
    {-99.6, -88, 66, 14, 3, 5, Roof::gable, 0xAFC2A5, 0x33543C, "PHARMACY", "NIGHT BELL ON THE LEFT"},
    {-87.6, -74, 68, 18, 4, 6, Roof::flat, 0xBFB7A8, 0x49413A, "SAVINGS BANK", "COUNTER OPENS AT 9:00"},
    {-73.6, -58, 70, 17, 3, 8, Roof::hip, 0xE6DCC3, 0x8C4A3C, "TOWN HALL", "CITIZENS' OFFICE - ROOM 14"},
    {-57.4, -42, 68, 16, 4, 7, Roof::gable, 0xC7A27C, 0x57402C, "GRAND CAFE", "SOUP OF THE DAY: TOMATO"}};

void paint_roof(Painter &painter, const House &house, double top)
{
    const Colour tiles = painter.lit(rgb(house.roof == Roof::gable ? 0x8D4A36 : 0x5C5F68), house.metres_away);
    const double rise = std::min(2.6, (house.right - house.left) * 0.22);
    const double over = 0.25;
    const double middle = (house.left + house.right) / 2;
    switch (house.roof) {
    case Roof::flat:
        painter.box({house.left - over, top - 0.1, house.right + over, top + 0.35},
                    painter.lit(rgb(house.trim), house.metres_away));
        break;
    case Roof::gable:
        painter.polygon({{house.left - over, top}, {house.right + over, top}, {middle, top + rise}}, tiles);
        painter.disc({middle, top + rise * 0.4}, 0.4, painter.lit(rgb(house.wall), house.metres_away));
        break;
    case Roof::hip:
        painter.polygon({{house.left - over, top},
                         {house.right + over, top},
                         {house.right - 1.6, top + rise * 0.75},
                         {house.left + 1.6, top + rise * 0.75}},
                        tiles);
        painter.box({house.left + 3, top + rise * 0.5, house.left + 3.5, top + rise * 1.05}, tiles * 0.8);
        break;
    }
}

void paint_window(Painter &painter, const House &house, const Area &frame, std::uint32_t number)
{
    if (!painter.sees(frame))
        return;
    const double width = frame.right - frame.left;
    const double height = frame.top - frame.bottom;
    const bool lamp = chance(number, 61) < 0.62 * painter.light().lamps;
    const Colour glass = lamp ? mix(rgb(0xFFC766), rgb(0xFFE9B8), chance(number, 62))
                              : mix(painter.lit(rgb(0x3B4A57), house.metres_away), painter.light().middle,
                                    0.15 + 0.35 * chance(number, 63));
    painter.box(frame, painter.lit(rgb(0xF4EFE6), house.metres_away));
    const double rim = 0.09 * width;
    painter.box({frame.left + rim, frame.bottom + rim, frame.right - rim, frame.top - rim}, glass);
    if (!painter.shows(rim * 1.5))
        return;
    const Colour bar = painter.lit(rgb(0xE7DFD2), house.metres_away);
    painter.box({frame.left + width * 0.47, frame.bottom, frame.left + width * 0.53, frame.top}, bar);
    painter.box({frame.left, frame.bottom + height * 0.62, frame.right, frame.bottom + height * 0.66}, bar);
    painter.box({frame.left - rim, frame.bottom - 0.06 * height, frame.right + rim, frame.bottom},
                painter.lit(rgb(house.trim), house.metres_away));
    if (chance(number, 64) < 0.3) // a flower box
        for (std::uint32_t i = 0; i < 7; ++i)
            painter.disc({frame.left + width * (0.08 + 0.14 * i), frame.bottom + 0.04 * height}, 0.07 * width,
                         painter.lit(rgb(i % 3 ? 0x4E7A3A : 0xD1495B), house.metres_away));
}

void paint_door(Painter &painter, const House &house, double foot, double floor)
{
    const double middle = (house.left + house.right) / 2;
    const double half = std::min(0.8, (house.right - house.left) * 0.07);
    const Area door{middle - half, foot, middle + half, foot + floor * 0.78};
    painter.box({door.left - 0.12, door.bottom, door.right + 0.12, door.top + 0.12},
                painter.lit(rgb(0xEDE6D8), house.metres_away));
    painter.box(door, painter.lit(rgb(house.trim), house.metres_away) * 0.85);
    painter.box({middle - 0.02, foot, middle + 0.02, door.top}, painter.lit(rgb(0x1E1A17), house.metres_away));
    // The notice: readable with the lens drawn out.
    const double letters = 0.052;
    const double wide = static_cast<double>(std::char_traits<char>::length(house.notice)) * letters * 0.92 + 0.16;
    const Area board{door.right + 0.25, foot + floor * 0.3, door.right + 0.25 + wide, foot + floor * 0.3 + 0.34};
    painter.box(board, painter.lit(rgb(0xFBFAF4), house.metres_away));
    const Colour ink = painter.lit(rgb(0x23262B), house.metres_away);
    const double centre = (board.left + board.right) / 2;
    painter.text({centre, board.bottom + 0.2}, letters, house.notice, ink);
    painter.text({centre, board.bottom + 0.1}, 0.026, "IF YOU CAN READ THIS THE LENS IS DRAWN OUT", ink);
    painter.text({centre, board.bottom + 0.05}, 0.013, "AND THIS NEEDS ALL OF IT, AND A STEADY HAND", ink);
    const auto number = std::to_string(1 + (&house - kHouses) * 2);
    painter.text({middle, door.top + 0.16}, 0.18, number, ink);
}

void paint_house(Painter &painter, const House &house, std::uint32_t index)
{
    const double foot = foot_of(house.metres_away);
    const double top = seen_at(house.metres_high, house.metres_away);
    if (!painter.sees({house.left - 0.5, foot, house.right + 3, top + 3.2}))
        return;
    const Colour wall = painter.lit(rgb(house.wall), house.metres_away);
    painter.box({house.left, foot, house.right, top}, wall);
    painter.box({house.left, foot, house.left + 0.5, top}, wall * 0.9); // its corner
    painter.box({house.left, foot, house.right, foot + 0.35}, wall * 0.78);
    paint_roof(painter, house, top);
    const double floor = (top - foot) / house.floors;
    const double column = (house.right - house.left) / house.columns;
    for (int y = 1; y < house.floors; ++y) {
        painter.box({house.left, foot + floor * y - 0.05, house.right, foot + floor * y + 0.05},
                    painter.lit(rgb(house.trim), house.metres_away));
        for (int x = 0; x < house.columns; ++x) {
            const double left = house.left + column * (x + 0.25);
            const double bottom = foot + floor * (y + 0.2);
            paint_window(painter, house, {left, bottom, left + column * 0.5, bottom + floor * 0.58},
                         index * 1024 + static_cast<std::uint32_t>(y * 32 + x));
        }
    }
    // Shop windows below, on both sides of the door.
    const double width = house.right - house.left;
    for (const double at : {0.04, 0.25, 0.6, 0.8}) {
        const double left = house.left + width * at;
        paint_window(painter, house, {left, foot + floor * 0.18, left + width * 0.15, foot + floor * 0.72},
                     index * 1024 + static_cast<std::uint32_t>(at * 100));
    }
    const double letters =
        std::min(floor * 0.3, width / (static_cast<double>(std::char_traits<char>::length(house.sign)) + 2));
    const double centre = (house.left + house.right) / 2;
    const double half = letters * 0.5 * static_cast<double>(std::char_traits<char>::length(house.sign));
    painter.box({centre - half - letters * 0.4, foot + floor * 0.85 - letters * 0.25, centre + half + letters * 0.4,
                 foot + floor * 0.85 + letters * 1.3},
                painter.lit(rgb(house.trim), house.metres_away));
    const Colour trim = rgb(house.trim);
    const bool dark = trim.red + trim.green + trim.blue < 1.6;
    const Colour letter = !dark                         ? painter.lit(rgb(0x3A2E26), house.metres_away)
                          : painter.light().lamps > 0.5 ? rgb(0xFFE2A0)
                                                        : painter.lit(rgb(0xF8EFD9), house.metres_away);
    painter.text({centre, foot + floor * 0.85}, letters, house.sign, letter);
    paint_door(painter, house, foot, floor);
}

void paint_clock_tower(Painter &painter)
{
    constexpr double kAway = 140;
    constexpr double kMiddle = 4.2;
    const double foot = foot_of(kAway);
    if (!painter.sees({kMiddle - 3, foot, kMiddle + 3, 16}))
        return;
    const Colour stone = painter.lit(rgb(0xC9B79C), kAway);
    painter.box({kMiddle - 1.6, foot, kMiddle + 1.6, 9.4}, stone);
    painter.box({kMiddle - 1.6, foot, kMiddle - 1.1, 9.4}, stone * 0.88);
    painter.box({kMiddle - 1.9, 9.2, kMiddle + 1.9, 9.6}, stone * 0.8);
    painter.polygon({{kMiddle - 1.8, 9.6}, {kMiddle + 1.8, 9.6}, {kMiddle, 14}}, painter.lit(rgb(0x4F7B6E), kAway));
    painter.line({kMiddle, 14}, {kMiddle, 15}, 0.08, painter.lit(rgb(0x55493A), kAway));
    const Point face{kMiddle, 7.4};
    painter.disc(face, 1.25, painter.lit(rgb(0x3F3A33), kAway));
    painter.disc(face, 1.12, mix(painter.lit(rgb(0xF8F4E8), kAway), rgb(0xFFF2C8), painter.light().lamps * 0.8));
    const Colour ink = painter.lit(rgb(0x26231F), kAway);
    for (int hour = 1; hour <= 12; ++hour) {
        const double angle = hour * 30 * kDegree;
        painter.text({face.x + 0.88 * std::sin(angle), face.y + 0.88 * std::cos(angle) - 0.08}, 0.16,
                     std::to_string(hour), ink);
    }
    painter.line(face, {face.x - 0.44, face.y + 0.26}, 0.09, ink);
    painter.line(face, {face.x + 0.42, face.y + 0.72}, 0.06, ink);
    for (int i = 0; i < 3; ++i)
        painter.box({kMiddle - 0.25, -0.2 + 1.8 * i, kMiddle + 0.25, 0.9 + 1.8 * i}, stone * 0.55);
}

} // namespace

void paint_town(Painter &painter)
{
    paint_clock_tower(painter);
    std::uint32_t index = 0;
    for (const House &house : kHouses)
        paint_house(painter, house, index++);
}

} // namespace sim::view
