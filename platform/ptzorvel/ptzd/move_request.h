// A move as a client asks for it, checked and in the driver's numbers.
#pragma once

#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptzd/axes.h"
#include "ptzorvel/ptzd/call.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct MoveRequest {
    std::array<PTZMotion, AXIS_COUNT> axes{};
    std::optional<PTZSpeed> speed; // none: the driver's default
    bool preset = false;
    std::optional<guint32> id; // by which the caller knows it

    AxisMask running() const;   // axes that are to move until they are stopped
    AxisMask requested() const; // axes that are asked for at all
};

// Signed 16.16 fixed point, to the nearest; the value must lie within -32768..32767.
gint32 to_fixed(double value);
double from_fixed(gint32 value);

// As people write it.
std::string plain_number(double value);

// Reads the arguments of Move: a(ssd) axes, d speed, a{sv} options. What was wrong, or nothing.
std::optional<CallError> parse_move(GVariant *parameters, MoveRequest &request);

// What is said to the name of no axis.
CallError no_axis(std::string_view name);
// Whether an axis can be told to go to that place, or by so much; if not, what is wrong with it.
std::optional<CallError> check_place(const AxisRow &row, double value, const AxisRange &range);

// Whether `value` is a number in low..high; if not, what is wrong with it. `what` names it: "zoom", `unit`: " degrees".
std::optional<CallError> check_number(std::string_view what, double value, double low, double high, const char *unit);
