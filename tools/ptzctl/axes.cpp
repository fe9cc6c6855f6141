#include "axes.h"

#include "failure.h"
#include "numbers.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array kAxes{"pan", "tilt", "zoom", "iris", "focus", "brightness"};
constexpr std::array kTypes{"absolute", "relative", "continuous"};
constexpr std::array kShortTypes{"abs", "rel", "cont"};

std::string full_type(const std::string &word, const std::string &term)
{
    for (size_t i = 0; i < kTypes.size(); i++) {
        if (word == kTypes[i] || word == kShortTypes[i])
            return kTypes[i];
    }
    throw usage_failure("'" + printable(term) + "': no move type '" + printable(word) + "'; there are abs, rel, cont");
}

AxisMove parse_axis(const std::string &term, const std::string &default_type)
{
    const size_t equals = term.find('=');
    if (equals == std::string::npos)
        throw usage_failure("'" + printable(term) + "' names no value; write AXIS=VALUE, for example pan=10");

    AxisMove move{term.substr(0, equals), default_type, 0};
    if (std::find(kAxes.begin(), kAxes.end(), move.axis) == kAxes.end())
        throw usage_failure("no axis '" + printable(move.axis) +
                            "'; there are pan, tilt, zoom, iris, focus, brightness");

    std::string value = term.substr(equals + 1);
    if (const size_t colon = value.find(':'); colon != std::string::npos) {
        move.type = full_type(value.substr(0, colon), term);
        value.erase(0, colon + 1);
    }
    move.value = parse_number(value, move.axis);
    return move;
}

} // namespace

std::span<const char *const> axis_names()
{
    return kAxes;
}

std::vector<AxisMove> parse_axes(const std::vector<std::string> &terms, const std::string &default_type)
{
    std::vector<AxisMove> moves;
    for (const std::string &term : terms) {
        AxisMove move = parse_axis(term, default_type);
        const auto same_axis = [&](const AxisMove &other) { return other.axis == move.axis; };
        if (std::any_of(moves.begin(), moves.end(), same_axis))
            throw usage_failure("axis " + move.axis + " is named twice; name it once");
        moves.push_back(std::move(move));
    }
    return moves;
}
