// Value scales of the framework.
#pragma once

#include <algorithm>
#include <cstdint>

inline constexpr unsigned ZENTA_PARAMETER_RANGE_MIN = 0; // parameter levels
inline constexpr unsigned ZENTA_PARAMETER_RANGE_MAX = 100;
inline constexpr int ZENTA_RANGE_MIN = 1; // focus, iris and brightness positions
inline constexpr int ZENTA_RANGE_MAX = 9999;
inline constexpr int ZENTA_DIGITAL_ZOOM_MIN = 10000; // zoom positions: 1..9999 optical, 10000..19999 digital
inline constexpr int ZENTA_ZOOM_MAX = 19999;

// A focus, iris or brightness position moved on by `by`, kept in 1..9999 whatever the two are.
constexpr int zenta_moved(int position, int by)
{
    const std::int64_t sum = std::int64_t{position} + by;
    return static_cast<int>(std::clamp<std::int64_t>(sum, ZENTA_RANGE_MIN, ZENTA_RANGE_MAX));
}
