// The six axes of a move: what they are called, how far they go and how exactly they come to a place.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include <gio/gio.h>

enum Axis { AXIS_PAN, AXIS_TILT, AXIS_ZOOM, AXIS_IRIS, AXIS_FOCUS, AXIS_BRIGHTNESS, AXIS_COUNT };

// A set of axes: bit 1 << axis.
using AxisMask = unsigned;

constexpr AxisMask axis_bit(std::size_t axis)
{
    return 1u << axis;
}

// What a stop stops; focus goes on when it moves by itself.
inline constexpr AxisMask kStoppedAxes = 1u << AXIS_PAN | 1u << AXIS_TILT | 1u << AXIS_ZOOM;

struct AxisRange {
    double low, high;
};

struct AxisRow {
    const char *name;
    AxisRange absolute, relative; // relative: from one end to the other and back
    double tolerance;             // how far from its target it may stand and have reached it
    bool whole;                   // positions are whole numbers, angles need not be
    const char *unit;
    const char *min_limit, *max_limit; // parameters of the group "Limit"
    const char *published;             // its key in the status cache
};

// Zoom positions lie up to two of the block's digital steps apart from what was asked, focus positions one step.
inline constexpr AxisRow kAxes[AXIS_COUNT] = {
    {"pan", {-170, 170}, {-340, 340}, 0.05, false, " degrees", "MinPan", "MaxPan", "PAN_DEG"},
    {"tilt", {-20, 90}, {-110, 110}, 0.05, false, " degrees", "MinTilt", "MaxTilt", "TILT_DEG"},
    {"zoom", {1, 19999}, {-19998, 19998}, 8, true, "", "MinZoom", "MaxZoom", "ZOOM_ZENTA"},
    {"iris", {1, 9999}, {-9998, 9998}, 1, true, "", "MinIris", "MaxIris", "IRIS_ZENTA"},
    {"focus", {1, 9999}, {-9998, 9998}, 12, true, "", "MinFocus", "MaxFocus", "FOCUS_ZENTA"},
    {"brightness", {1, 9999}, {-9998, 9998}, 1, true, "", "MinBrightness", "MaxBrightness", "BRIGHTNESS_ZENTA"},
};

// The axis of that name.
std::optional<std::size_t> find_axis(std::string_view name);

// Where the axes are, in degrees and positions; none where the driver does not know or has published nothing.
using AxisPositions = std::array<std::optional<double>, AXIS_COUNT>;

// What the driver has published last, in the 1/65536 of all its numbers; and fields of view in degrees, below 0 as long
// as they are not known. Any thread.
struct PublishedView {
    AxisPositions positions;
    double horizontal = -1, vertical = -1;
    bool operator==(const PublishedView &) const = default;
};
PublishedView published_view();
AxisPositions published_positions();

// {sd}, a{sd} and "as" of the axes in the mask, floating. Positions are told thirty times a second: reading formats
// would take as long as all the rest.
GVariant *number_entry(const char *name, double number);
GVariant *axis_positions_variant(const AxisPositions &positions);
GVariant *axis_names_variant(AxisMask axes);
