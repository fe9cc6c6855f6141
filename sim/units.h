// What the block's codes stand for, in a person's units.
#pragma once

#include <cstdint>
#include <string>

namespace sim {

enum class Unit : std::uint8_t {
    none,
    magnification, // 1/256 above x1
    degrees,       // 1/1000 degree
    degrees_per_second,
    f_number, // iris code
    shutter,  // shutter code
    gain,     // gain code, about 1.5 dB each
    max_gain, // 6 dB each
    near_distance,
    frame_rate,
    sensor_rate,
};

// " (F4.76)" for iris code 18; empty without a unit, and for a code that does not exist.
std::string in_words(Unit unit, std::int32_t value);

// Whether the block knows the shutter code, and the next slower one that it knows. Codes are 0 (1 s) to 54 (1/11000 s).
bool shutter_exists(std::int32_t code);
std::int32_t shutter_at_most(std::int32_t code);

} // namespace sim
