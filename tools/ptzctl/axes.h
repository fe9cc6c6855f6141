// The axes of a move as people type them: "pan=10", "zoom=rel:-200".
#pragma once

#include <span>
#include <string>
#include <vector>

// All there are.
std::span<const char *const> axis_names();

struct AxisMove {
    std::string axis; // "pan", "tilt", "zoom", "iris", "focus", "brightness"
    std::string type; // "absolute", "relative", "continuous"
    double value;     // degrees, position or percent; the service checks its range
};

// Reads the terms, each AXIS=VALUE or AXIS=TYPE:VALUE with TYPE abs, rel or cont (or written out).
// `default_type` is the type of a term without one. Throws Failure (EXIT_USAGE) for an unknown axis or type, a value
// that is no number, an axis named twice.
std::vector<AxisMove> parse_axes(const std::vector<std::string> &terms, const std::string &default_type);
