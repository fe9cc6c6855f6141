#include "ptzorvel/ptzd/move_request.h"

#include "glib_owned.h"
#include "ptzorvel/common/quote.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace {

constexpr double kFullSpeed = 100; // percent
constexpr guint32 kHighestId = G_MAXINT32;

constexpr const char *kTypes[] = {"none", "absolute", "relative", "continuous"}; // by PTZ_MOVE_*

CallError invalid(std::string text)
{
    return {ErrorKind::invalid_argument, std::move(text)};
}

std::optional<CallError> parse_axis(const char *axis, const char *type, double value, MoveRequest &request)
{
    const auto index = find_axis(axis);
    if (!index)
        return no_axis(axis);
    const AxisRow &row = kAxes[*index];
    int move_type = PTZ_MOVE_CONTINUOUS;
    while (move_type > PTZ_MOVE_NONE && std::string_view(type) != kTypes[move_type])
        move_type--;
    if (move_type == PTZ_MOVE_NONE)
        return invalid(std::string(row.name) + ": there is no move type " + quoted(type) +
                       "; there are absolute, relative and continuous.");
    PTZMotion &motion = request.axes[*index];
    if (motion.type != PTZ_MOVE_NONE)
        return invalid(std::string(row.name) + " is asked for twice; name each axis once.");
    const bool speed = move_type == PTZ_MOVE_CONTINUOUS;
    if (auto error = speed ? check_number(row.name, value, -kFullSpeed, kFullSpeed, " percent")
                           : check_place(row, value, move_type == PTZ_MOVE_RELATIVE ? row.relative : row.absolute))
        return error;
    motion.value = to_fixed(value);
    motion.type = move_type;
    return std::nullopt;
}

std::optional<CallError> parse_options(GVariant *options, MoveRequest &request)
{
    GVariantIter iter;
    g_variant_iter_init(&iter, options);
    const char *key = nullptr;
    GVariant *next = nullptr;
    while (g_variant_iter_next(&iter, "{&sv}", &key, &next)) {
        const GVariantOwned value(next);
        const auto is = [&](const char *name, const GVariantType *type) {
            return std::string_view(key) == name && g_variant_is_of_type(value.get(), type);
        };
        if (is("preset", G_VARIANT_TYPE_BOOLEAN))
            request.preset = g_variant_get_boolean(value.get()) != FALSE;
        else if (is("id", G_VARIANT_TYPE_UINT32))
            request.id = g_variant_get_uint32(value.get());
        else
            return invalid("There is no move option " + quoted(key) +
                           " of that type; there are \"preset\", true or false, and \"id\", a number of type u.");
    }
    return request.id ? check_number("id", *request.id, 1, kHighestId, "") : std::nullopt;
}

} // namespace

AxisMask MoveRequest::running() const
{
    AxisMask mask = 0;
    for (std::size_t i = 0; i < axes.size(); i++)
        if (axes[i].type == PTZ_MOVE_CONTINUOUS && axes[i].value != 0)
            mask |= 1u << i;
    return mask;
}

AxisMask MoveRequest::requested() const
{
    AxisMask mask = 0;
    for (std::size_t i = 0; i < axes.size(); i++)
        if (axes[i].type != PTZ_MOVE_NONE)
            mask |= 1u << i;
    return mask;
}

gint32 to_fixed(double value)
{
    return static_cast<gint32>(std::lround(value * 65536.0));
}

double from_fixed(gint32 value)
{
    return static_cast<double>(value) / 65536.0;
}

std::string plain_number(double value)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

CallError no_axis(std::string_view name)
{
    return invalid("There is no axis " + quoted(name) + "; there are pan, tilt, zoom, iris, focus and brightness.");
}

std::optional<CallError> check_place(const AxisRow &row, double value, const AxisRange &range)
{
    if (auto error = check_number(row.name, value, range.low, range.high, row.unit))
        return error;
    if (row.whole && value != std::floor(value))
        return invalid(std::string(row.name) + ": positions are whole numbers, not " + plain_number(value) + ".");
    return std::nullopt;
}

std::optional<CallError> check_number(std::string_view what, double value, double low, double high, const char *unit)
{
    const std::string name(what);
    if (!std::isfinite(value))
        return invalid(name + ": " + plain_number(value) + " is not a number that can be used.");
    if (value < low || value > high)
        return CallError{ErrorKind::out_of_range, name + ": " + plain_number(value) + " is outside " +
                                                      plain_number(low) + ".." + plain_number(high) + unit + "."};
    return std::nullopt;
}

std::optional<CallError> parse_move(GVariant *parameters, MoveRequest &request)
{
    GVariantIter *axes = nullptr;
    double speed = 0.0;
    GVariant *options = nullptr;
    g_variant_get(parameters, "(a(ssd)d@a{sv})", &axes, &speed, &options);
    const GOwned<GVariantIter, g_variant_iter_free> axes_owned(axes);
    const GVariantOwned options_owned(options);
    std::optional<CallError> error;
    const char *axis = nullptr;
    const char *type = nullptr;
    double value = 0.0;
    while (!error && g_variant_iter_next(axes, "(&s&sd)", &axis, &type, &value))
        error = parse_axis(axis, type, value, request);
    if (!error && request.requested() == 0)
        error = invalid("The move names no axis; name at least one.");
    if (!error)
        error = check_number("speed", speed, 0.0, 100.0, " percent");
    if (!error && speed > 0.0)
        request.speed = PTZSpeed{to_fixed(speed), {}};
    if (!error)
        error = parse_options(options, request);
    return error;
}
