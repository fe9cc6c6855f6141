#include "ptzorvel/ptzd/move_limits.h"

#include <algorithm>
#include <string>

namespace {

// Takes a limit over into an end of the way; true when it is the user's.
bool take_limit(const PTZDynamicalProperties *limits, const char *name, double &end)
{
    const auto info = limits != nullptr ? limits->find(name) : std::nullopt;
    const int *value = info ? std::get_if<int>(&info->value) : nullptr;
    if (value == nullptr)
        return false;
    end = *value;
    return param_value_to_text(info->value) != info->default_text;
}

} // namespace

double AxisWay::cut(double place) const
{
    if (high_is_set)
        place = std::min(place, high);
    return low_is_set ? std::max(place, low) : place;
}

AxisWays axis_ways(ParamStore *params)
{
    const PTZDynamicalProperties *limits = params != nullptr ? params->group("Limit") : nullptr;
    AxisWays ways;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        const AxisRow &row = kAxes[axis];
        AxisWay &way = ways[axis];
        way = {row.absolute.low, row.absolute.high};
        way.low_is_set = take_limit(limits, row.min_limit, way.low);
        way.high_is_set = take_limit(limits, row.max_limit, way.high);
    }
    return ways;
}

std::optional<CallError> check_limits(const AxisWays &ways, const MoveRequest &request)
{
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        const AxisRow &row = kAxes[axis];
        const double place = from_fixed(request.axes[axis].value);
        if (request.axes[axis].type != PTZ_MOVE_ABSOLUTE || ways[axis].cut(place) == place)
            continue;
        const bool high = ways[axis].high_is_set && place > ways[axis].high;
        return CallError{ErrorKind::out_of_range,
                         std::string(row.name) + ": " + plain_number(place) + " is beyond the limit " +
                             plain_number(high ? ways[axis].high : ways[axis].low) + row.unit +
                             ", which the parameter Limit." + (high ? row.max_limit : row.min_limit) + " sets."};
    }
    return std::nullopt;
}

MoveRequest within_limits(const AxisWays &ways, const AxisPositions &from, const MoveRequest &request)
{
    MoveRequest within = request;
    const auto is_relative = [&](std::size_t axis) {
        return within.axes[axis].type == PTZ_MOVE_RELATIVE && request.axes[axis].value != 0 && from[axis];
    };
    const auto end_of = [&](std::size_t axis) { return *from[axis] + from_fixed(request.axes[axis].value); };
    const auto make_absolute = [&](std::size_t axis) {
        const auto &[low, high] = kAxes[axis].absolute;
        within.axes[axis] = {to_fixed(std::clamp(ways[axis].cut(end_of(axis)), low, high)), {}, PTZ_MOVE_ABSOLUTE};
    };
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (is_relative(axis) && ways[axis].cut(end_of(axis)) != end_of(axis))
            make_absolute(axis);
    for (const auto &[one, other] : {std::pair(AXIS_PAN, AXIS_TILT), std::pair(AXIS_TILT, AXIS_PAN)})
        if (within.axes[one].type != request.axes[one].type && is_relative(other))
            make_absolute(other);
    return within;
}
