#include "sim/view/lettering.h"

#include <array>

namespace sim::view {
namespace {

// Strokes on a grid of 5 by 7 points, 0 to 4 and 0 (foot) to 6: two digits a point, a blank between strokes.
struct Glyph {
    char letter;
    const char *strokes;
};
constexpr Glyph kGlyphs[] = {
    {'A', "002640 1232"},
    {'B', "00063645443303 3342413000"},
    {'C', "4536160501103041"},
    {'D', "0006264542200000"},
    {'E', "46060040 0333"},
    {'F', "460600 0333"},
    {'G', "453616050110304143 4323"},
    {'H', "0006 4046 0343"},
    {'I', "2026"},
    {'J', "4641301001"},
    {'K', "0006 4602 1340"},
    {'L', "060040"},
    {'M', "0006234640"},
    {'N', "00064046"},
    {'O', "163645413010010516"},
    {'P', "000636454433 3303"},
    {'Q', "163645413010010516 2240"},
    {'R', "000636454433 3303 2340"},
    {'S', "453616050413334241301001"},
    {'T', "2026 0646"},
    {'U', "060110304146"},
    {'V', "062046"},
    {'W', "0610233046"},
    {'X', "0046 0640"},
    {'Y', "062346 2320"},
    {'Z', "06460040"},
    {'0', "163645413010010516 0145"},
    {'1', "052620 0040"},
    {'2', "05163645440040"},
    {'3', "051636454433 13334241301001"},
    {'4', "36021242 3630"},
    {'5', "460604344341301001"},
    {'6', "4536160501103041423303"},
    {'7', "064610"},
    {'8', "13040516364544331302011030414233"},
    {'9', "011030414536160504134343"},
    {'-', "1333"},
    {'+', "1333 2224"},
    {'.', "2021"},
    {':', "2122 2425"},
    {'/', "0046"},
    {'\'', "2625"},
    {'&', "4004051626250201102042"},
    {'!', "2021 2326"},
    {',', "2110"},
};
constexpr double kAdvance = 0.92; // from letter to letter, in heights
constexpr double kGrid = 1.0 / 6;

struct Table {
    std::array<const char *, 128> strokes{};
};

const char *strokes_of(char letter)
{
    static const Table table = [] {
        Table made;
        for (const Glyph &glyph : kGlyphs)
            made.strokes[static_cast<std::size_t>(glyph.letter)] = glyph.strokes;
        return made;
    }();
    const auto index = static_cast<unsigned char>(letter);
    return index < table.strokes.size() && table.strokes[index] ? table.strokes[index] : "";
}

} // namespace

double lettering_width(std::string_view words)
{
    return words.empty() ? 0 : static_cast<double>(words.size()) * kAdvance - (kAdvance - 4 * kGrid);
}

void trace_lettering(cairo_t *cairo, std::string_view words)
{
    double left = 0;
    for (const char letter : words) {
        bool begin = true;
        for (const char *at = strokes_of(letter); *at; at += begin ? 1 : 2) {
            const bool blank = *at == ' ';
            if (!blank) {
                const double x = left + (at[0] - '0') * kGrid;
                const double y = (at[1] - '0') * kGrid;
                if (begin)
                    cairo_move_to(cairo, x, y);
                else
                    cairo_line_to(cairo, x, y);
            }
            begin = blank;
        }
        left += kAdvance;
    }
}

} // namespace sim::view
