// The command records the camera block understands: one row each, with the size, range and meaning of its parameters.
#pragma once

#include "sim/units.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace sim {

// In the order of the table.
enum class Rec : std::uint8_t {
    focus_mode,
    focus_position,
    focus_speed,
    ir_correction,
    af_sensitivity,
    af_mode,
    af_interval,
    af_activity,
    af_near_limit,
    zoom_stop,
    zoom_optical,
    zoom_digital,
    zoom_speed,
    zoom_magnification,
    exposure_mode,
    brightness,
    iris_a,
    shutter,
    gain,
    exposure_window,
    max_gain,
    shutter_limits,
    ae_response,
    spot_position,
    iris_b,
    wb_mode,
    wb_red,
    wb_blue,
    wb_red_set,
    wb_blue_set,
    wb_one_push,
    colour_level,
    colour_hue,
    chroma,
    day_night_mode,
    ir_cut,
    day_night_threshold,
    day_night_hysteresis,
    day_night_wait,
    stabilization,
    distortion,
    sharpness,
    noise_reduction,
    defog,
    defog_effect,
    wdr,
    gamma,
    system,
    pan_speed,
    tilt_speed,
    pan_tilt_position,
    pan_tilt_stop,
    pan_position,
    tilt_position,
    rotation,
    video_mode,
    video_output,
    scan_mode,
    frame_rate,
    sdi_mapping,
    sensor_capture_mode,
    count
};
inline constexpr std::size_t kRecCount = static_cast<std::size_t>(Rec::count);

struct Choice {
    std::int32_t value;
    const char *text;
};

struct Param {
    std::uint8_t width = 0; // bytes, most significant first
    std::int32_t low = 0;   // a negative low bound makes it signed
    std::int32_t high = 0;
    std::span<const Choice> choices{}; // when given: the only values, and their words
    Unit unit = Unit::none;            // puts the number into words; of shutter codes only those with words exist
};

using Params = std::array<Param, 4>; // those in use have a width

struct RecordRow {
    constexpr RecordRow(const char *row_name, Rec row_id, std::uint8_t row_class, std::uint8_t row_group,
                        std::uint8_t row_item, const Params &row_params = {}, Rec row_follows = Rec::count)
        : name(row_name), params(row_params), id(row_id), cls(row_class), group(row_group), item(row_item),
          follows(row_follows)
    {
    }

    const char *name;
    Params params;
    Rec id;
    std::uint8_t cls;
    std::uint8_t group;
    std::uint8_t item;
    Rec follows; // the record that must stand right before this one, its last value the same; count: none
};

const RecordRow &row(Rec id);

using Values = std::array<std::int32_t, 4>;

// One record of a payload. Without a row it is unknown; `problem` names the offence, null when there is none.
// `values` are limited to the row's ranges; `usable` tells whether they can be carried out all the same.
struct Record {
    std::span<const std::uint8_t> bytes;
    const RecordRow *row = nullptr;
    Values values{};
    const char *problem = nullptr;
    bool usable = false;
};

// Takes a payload apart. A record that does not fit ends the list.
std::vector<Record> parse_records(std::span<const std::uint8_t> payload);

// One line, such as "Zoom magnification 7424 (x30.00)".
std::string describe(const Record &record);

} // namespace sim
