// Value scales of the framework.
#pragma once

inline constexpr unsigned ZENTA_PARAMETER_RANGE_MIN = 0; // parameter levels
inline constexpr unsigned ZENTA_PARAMETER_RANGE_MAX = 100;
inline constexpr int ZENTA_RANGE_MIN = 1; // focus, iris and brightness positions
inline constexpr int ZENTA_RANGE_MAX = 9999;
inline constexpr int ZENTA_DIGITAL_ZOOM_MIN = 10000; // zoom positions: 1..9999 optical, 10000..19999 digital
inline constexpr int ZENTA_ZOOM_MAX = 19999;
