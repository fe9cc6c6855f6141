// The camera-model descriptor: everything in which one camera-block model differs from another.
//
// Descriptors and their tables are constant and shared. Any pointer may be null: the model lacks what it stands for.
// Some fields describe the camera block although no operation reads them; they are marked "not read".
// "Camera units" and "code" are the camera block's own numbers; levels and percents are the framework's 0..100.
#pragma once

#include <glib.h>

#include <cstddef>

struct MinMax {
    int min, max;
};

// Camera values at level 0, 50 and 100; may run downwards.
struct Range {
    int min, mid, max;
};

// Ends at a row without a name. Names are matched without regard to ASCII case.
struct ModeRow {
    const char *name;
    int code;
};

// Percents rise; ends at percent -1, F-number -1.0, code -1. Codes fall.
struct IrisRow {
    int percent;
    float f_number;
    int code;
};

// Percents rise; ends at percent -1, -1.0 dB, code -1. Codes rise.
struct GainRow {
    int percent;
    float gain_db;
    int code;
};

// Positions rise; ends at -1, -1, 255.
struct NearFocusLimit {
    int position; // 1..9999
    int distance_cm;
    int code; // sent as a signed byte
};

// Percents rise, speeds do not fall; ends at -1, -1.
struct SpeedRow {
    int percent;
    int speed; // camera units
};

// Camera speeds between low and high, both excluded, that movement replaces by the low one; ends at low -1.
struct SpeedSkipRange {
    int low, high;
};

// Ends at a row without a name, with -1 in the numbers.
struct CaptureGeometryRow {
    const char *name;
    int width_px, height_px;
    int frames_per_second;
};

// Ends at a row without a name.
struct CaptureModeRow {
    const char *name;
    int always_one;
    int frame_rate_code;   // for the Capture frame rate command
    int capture_frequency; // for the Sensor capture mode command, and as the status reports it
};

// Percents and times rise, codes fall; ends at -1, -1, -1.
struct ShutterRow {
    int percent;
    int exposure_us;
    int code;
};

// Limits are minus a number of frames and fall; ends at limit 0, with -1 in the others.
struct SlowShutterRow {
    int limit;
    int exposure_us;
    int code;
};

// Tables by capture mode; both end at a row without a name.
struct ShutterTable {
    const char *capture_mode;
    const ShutterRow *rows;
};
struct SlowShutterTable {
    const char *capture_mode;
    const SlowShutterRow *rows;
};

// The camera range of a spot position, and the limits of the spot's place and size.
struct SpotExposureArea {
    guint8 coordinate_min, coordinate_max;
    guint8 position_min, position_max;
    guint8 size_min, size_max;
    guint8 window_width, window_height;
};

struct CameraModel {
    int model_number; // as the camera block reports it

    // From `capabilities` to `aux_limits` the framework reads the record by address: order and widths are fixed. The
    // driver itself reads the capabilities and the field angles.
    guint32 capabilities[2];
    MinMax zoom_limits;        // 1..9999 optical, 10000..19999 digital
    MinMax focus_limits;       // 1..9999
    MinMax iris_limits;        // 1..9999
    MinMax field_angle_limits; // tenths of a degree
    MinMax aux_limits[3];

    // Lens
    MinMax optical_zoom_vcc_range;
    MinMax zoom_vcc_range;         // not read
    MinMax digital_zoom_vcc_range; // not read
    float max_optical_magnification;
    // What the block's digital zoom goes up to: the scale of its commands and of its status. How much of it the driver
    // offers is `max_digital_zoom` of the driver record, from the configuration's MaxDigitalZoom.
    float max_digital_magnification;
    MinMax zoom_speed_range;
    float wide_hfov; // degrees
    float tele_hfov; // degrees; not read
    const NearFocusLimit *near_focus_limits;
    int near_focus_limit_default;
    int near_focus_limit_count; // rows of near_focus_limits, its end not counted
    MinMax focus_vcc_range;     // at focus 1 and 9999; may run downwards
    MinMax focus_speed_range;
    MinMax focus_active_time_range;
    MinMax focus_interval_time_range;

    // Pan and tilt
    MinMax pan_vcc_range; // at -170 and 170 degrees
    MinMax pan_speed_vcc_range;
    int pan_speed_percent_max; // not read
    MinMax tilt_vcc_range;     // at -20 and 90 degrees
    MinMax tilt_speed_vcc_range;
    int tilt_speed_percent_max; // not read
    const SpeedRow *pan_tilt_speed_tbl;
    const float *response_profile_factors; // by response profile: stage, sport
    const SpeedSkipRange *speed_skip_ranges;

    // Video and image
    const CaptureGeometryRow *capture_mode_geometry_tbl; // not read
    const CaptureModeRow *capture_mode_tbls[2];          // broadcast frame rates, integer frame rates
    const ModeRow *video_mode_tbl;
    const Range *brightness_range;
    const Range *sharpness_range;
    const Range *level_range; // not read
    const Range *nr_range;
    const ModeRow *wdr_tbl;
    const ModeRow *gamma_tbl;

    // Exposure
    const ModeRow *exposure_mode_tbl;
    const ModeRow *exposure_priority_tbl;
    const ModeRow *exposure_window_tbl;
    SpotExposureArea spot_exposure_area;
    const Range *ae_response_range;
    const ShutterTable *shutter_tbls;
    const SlowShutterTable *slow_shutter_tbls;
    const GainRow *gain_tbl;
    const GainRow *max_gain_tbl;
    const GainRow *max_gain_high_sensitivity_tbl;
    const IrisRow *iris_tbl;
    int reserved_levels[3]; // not read

    // Colour, day and night
    const ModeRow *white_balance_tbl;
    const Range *wb_gain_range;
    const Range *color_gain_range;
    const Range *hue_range;
    const Range *defog_effect_range;
    const ModeRow *image_stabilizer_tbl;
    const ModeRow *distortion_correction_tbl;
    const Range *ircf_threshold_range;
    const Range *ircf_hysteresis_range;
    const Range *ircf_waittime_range;
    int ir_correction_frequency;

    // Features
    gboolean near_focus_limit_supported;
    gboolean exposure_auto_manual_modes;
    gboolean exposure_priority_supported;
    gboolean reserved_flag_exposure; // not read
    gboolean wb_onepush_supported;
    gboolean reserved_flags[6]; // not read
    gboolean camera_mode_check; // not read
    gboolean video_mode_supported;
    gboolean capture_modes_broadcast;
    gboolean capture_modes_integer;
    gboolean video_output_selectable;
    gboolean halt_sensor_on_power_off;
    gboolean sw_reset_supported;
    gboolean zoom_by_magnification;
    gboolean image_freeze_supported;
    gboolean response_profile_supported;
    gboolean reserved_flag_last; // not read
};

static_assert(offsetof(CameraModel, zoom_limits) == offsetof(CameraModel, capabilities) + 8);
static_assert(offsetof(CameraModel, focus_limits) == offsetof(CameraModel, capabilities) + 16);
static_assert(offsetof(CameraModel, iris_limits) == offsetof(CameraModel, capabilities) + 24);
static_assert(offsetof(CameraModel, field_angle_limits) == offsetof(CameraModel, capabilities) + 32);
static_assert(offsetof(CameraModel, aux_limits) == offsetof(CameraModel, capabilities) + 40);
static_assert(sizeof(CameraModel::aux_limits) == 24);

// KRX131, model number 1. The list of all models is in vcc/models.h.
const CameraModel *vccif_model_krx131();
