// How far an axis may go: to its ends, and no farther than the "Limit" parameters that the user has set.
#pragma once

#include "ptzorvel/common/param_store.h"
#include "ptzorvel/ptzd/axes.h"
#include "ptzorvel/ptzd/move_request.h"

#include <array>
#include <optional>

// One axis' way. A limit is the user's when it differs from its default: the zoom's default ends where the digital zoom
// begins, and refuses nothing.
struct AxisWay {
    double low, high; // where its moves end
    bool low_is_set = false, high_is_set = false;

    // The nearest place on the way that a user's limit leaves; the place itself where there is none.
    double cut(double place) const;
};
using AxisWays = std::array<AxisWay, AXIS_COUNT>;

// By the parameters' present values; null: there are none. Any thread.
AxisWays axis_ways(ParamStore *params);

// OutOfRange, naming the parameter, when an absolute move leads beyond a limit that was set.
std::optional<CallError> check_limits(const AxisWays &ways, const MoveRequest &request);

// The same request with relative moves that lead beyond a limit that was set ending there. What stays inside keeps its
// type; pan and tilt, where one is cut, both become absolute, as they need the same type.
MoveRequest within_limits(const AxisWays &ways, const AxisPositions &from, const MoveRequest &request);
