// 16.16 fixed point, and reals cut to integers the way the conversions want it: towards zero, never undefined.
#pragma once

#include <cstdint>
#include <limits>

// Truncates towards zero; what an int cannot hold becomes the nearest one, NaN becomes 0.
inline int truncate_to_int(float value)
{
    if (value >= 2147483648.0f)
        return std::numeric_limits<int>::max();
    if (value <= -2147483648.0f)
        return std::numeric_limits<int>::min();
    return value == value ? static_cast<int>(value) : 0;
}

// Truncates towards zero; a negative value becomes 0.
inline unsigned truncate_to_unsigned(float value)
{
    if (value >= 4294967296.0f)
        return std::numeric_limits<unsigned>::max();
    return value > 0.0f ? static_cast<unsigned>(value) : 0u;
}

inline constexpr float FIXED_ONE = 65536.0f;

// A real as 16.16, rounded half away from zero.
inline std::int32_t fixed_from_real(float value)
{
    const float scaled = value * FIXED_ONE;
    return truncate_to_int(value > 0.0f ? scaled + 0.5f : scaled - 0.5f);
}

inline float fixed_to_real(std::int32_t value)
{
    return static_cast<float>(value) * (1.0f / FIXED_ONE);
}

// The integer part, rounded down: -0.5 is -1.
inline std::int32_t fixed_integer_part(std::int32_t value)
{
    return value >> 16;
}

// A whole number as 16.16, with what does not fit cut off.
inline std::int32_t fixed_from_integer(std::int32_t value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) << 16);
}
