#include "sim/units.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <span>

namespace sim {
namespace {

struct Row {
    std::int32_t code;
    double value;
};

constexpr Row kFNumbers[] = {{4, 1.41},   {5, 1.54},   {6, 1.68},   {7, 1.83},   {8, 2},     {9, 2.18},
                             {10, 2.38},  {11, 2.59},  {12, 2.83},  {13, 3.08},  {14, 3.36}, {15, 3.67},
                             {16, 4},     {17, 4.36},  {18, 4.76},  {19, 5.19},  {20, 5.66}, {21, 6.17},
                             {22, 6.73},  {23, 7.34},  {24, 8},     {25, 8.72},  {26, 9.51}, {27, 10.37},
                             {28, 11.31}, {29, 12.34}, {30, 13.45}, {31, 14.67}, {32, 16}};

// Microseconds.
constexpr Row kShutters[] = {
    {0, 1'000'000}, {4, 500'000},  {7, 333'333}, {8, 250'000}, {10, 200'000}, {11, 166'667}, {12, 125'000},
    {13, 111'111},  {14, 100'000}, {15, 83'333}, {16, 66'667}, {17, 55'556},  {18, 50'000},  {19, 40'000},
    {20, 33'333},   {21, 27'778},  {22, 23'810}, {23, 20'000}, {24, 16'667},  {25, 14'085},  {26, 11'765},
    {27, 10'000},   {28, 8'333},   {29, 6'667},  {30, 5'556},  {31, 4'762},   {32, 4'000},   {33, 3'333},
    {34, 2'778},    {35, 2'381},   {36, 2'000},  {37, 1'667},  {38, 1'389},   {39, 1'190},   {40, 1'000},
    {41, 833},      {42, 714},     {43, 588},    {44, 500},    {45, 417},     {46, 357},     {47, 294},
    {48, 250},      {49, 208},     {50, 179},    {51, 156},    {52, 125},     {53, 111},     {54, 91}};

constexpr Row kGains[] = {{0, 0},      {1, 1.51},   {2, 3.01},   {3, 4.52},   {4, 6.02},   {5, 7.53},   {6, 9.03},
                          {7, 10.54},  {8, 12.04},  {9, 13.55},  {10, 15.05}, {11, 16.56}, {12, 18.06}, {13, 19.57},
                          {14, 21.07}, {15, 22.58}, {16, 24.08}, {17, 25.59}, {18, 27.09}, {19, 28.6},  {20, 30.1},
                          {21, 31.61}, {22, 33.11}, {23, 34.62}, {24, 36.12}, {25, 37.63}, {26, 39.13}, {27, 40.64},
                          {28, 42.14}, {29, 43.65}, {30, 45.15}, {31, 46.66}, {32, 48.16}};
constexpr Row kMaxGains[] = {{0, 0}, {1, 6}, {2, 12}, {3, 18}, {4, 24}, {5, 30}, {6, 36}, {7, 42}, {8, 48}};

// Centimetres.
constexpr Row kNearDistances[] = {{0, 30},  {1, 80},  {2, 120}, {3, 140}, {4, 170},   {5, 200},
                                  {6, 250}, {7, 310}, {8, 420}, {9, 600}, {10, 1000}, {11, 2000}};

// Pictures per second; the broadcast rates are 1000/1001 of the even ones.
constexpr Row kFrameRates[] = {{0, 59.94}, {1, 50}, {2, 29.97}, {3, 25}, {4, 60}, {5, 30}};
constexpr Row kSensorRates[] = {{0, 59.94}, {1, 50}, {2, 60}};

struct UnitRow {
    Unit unit;
    const char *format; // of one double
    std::span<const Row> codes;
};
constexpr UnitRow kUnits[] = {
    {Unit::f_number, " (F%.4g)", kFNumbers},      {Unit::gain, " (%.4g dB)", kGains},
    {Unit::max_gain, " (%.4g dB)", kMaxGains},    {Unit::near_distance, " (%g cm)", kNearDistances},
    {Unit::frame_rate, " (%g fps)", kFrameRates}, {Unit::sensor_rate, " (%g Hz)", kSensorRates},
    {Unit::shutter, " (1/%g s)", kShutters}};

// The usual names of shutter speeds have two digits that count: 91 us is 1/11000 s.
double speed_name(double exposure_us)
{
    const double speed = 1e6 / exposure_us;
    const double digits = std::pow(10, std::max(0.0, std::floor(std::log10(speed)) - 1));
    return std::round(speed / digits) * digits;
}

std::string format_number(const char *format, double value)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

} // namespace

std::string in_words(Unit unit, std::int32_t value)
{
    switch (unit) {
    case Unit::none:
        return {};
    case Unit::magnification:
        return format_number(" (x%.2f)", value / 256.0 + 1.0);
    case Unit::degrees:
        return format_number(" (%.3f deg)", value / 1000.0);
    case Unit::degrees_per_second:
        return format_number(" (%.3f deg/s)", value / 1000.0);
    default:
        break;
    }
    for (const UnitRow &row : kUnits) {
        if (row.unit != unit)
            continue;
        for (const Row &code : row.codes) {
            if (code.code == value)
                return format_number(row.format, unit == Unit::shutter ? speed_name(code.value) : code.value);
        }
    }
    return {};
}

std::int32_t shutter_at_most(std::int32_t code)
{
    std::int32_t best = kShutters[0].code;
    for (const Row &row : kShutters) {
        if (row.code <= code)
            best = row.code;
    }
    return best;
}

bool shutter_exists(std::int32_t code)
{
    return code == shutter_at_most(code);
}

} // namespace sim
