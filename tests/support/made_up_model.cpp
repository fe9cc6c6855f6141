#include "tests/support/made_up_model.h"

namespace {

constexpr Range BRIGHTNESS{-5, 0, 3};
constexpr IrisRow IRIS[] = {{0, 11.0f, 32}, {50, 4.0f, 16}, {100, 2.0f, 4}, {-1, -1.0f, -1}};
constexpr GainRow GAIN[] = {{0, 0.0f, 0}, {100, 24.0f, 16}, {-1, -1.0f, -1}};

CameraModel describe()
{
    CameraModel model = *vccif_model_krx131();
    model.model_number = 2;
    model.capabilities[0] = 0x40000001;
    model.capabilities[1] = 0x80000000;
    model.field_angle_limits = {50, 500};
    model.optical_zoom_vcc_range = {100, 2100};
    model.max_optical_magnification = 21.0f;
    model.max_digital_magnification = 4.0f;
    model.zoom_speed_range = {1, 5};
    model.wide_hfov = 50.0f;
    model.focus_vcc_range = {1200, 2000};
    model.focus_speed_range = {2, 6};
    model.pan_vcc_range = {-85000, 85000};
    model.tilt_vcc_range = {-10000, 45000};
    model.pan_speed_vcc_range = {200, 10200};
    model.tilt_speed_vcc_range = {300, 20300};
    model.pan_tilt_speed_tbl = nullptr;
    model.speed_skip_ranges = nullptr;
    model.brightness_range = &BRIGHTNESS;
    model.iris_tbl = IRIS;
    model.gain_tbl = GAIN;
    model.near_focus_limit_supported = FALSE;
    model.wb_onepush_supported = FALSE;
    model.capture_modes_integer = FALSE;
    model.video_output_selectable = FALSE;
    model.halt_sensor_on_power_off = TRUE;
    model.zoom_by_magnification = FALSE;
    model.image_freeze_supported = FALSE;
    model.response_profile_supported = FALSE;
    return model;
}

constexpr KnownModel MODELS[] = {{"KRX131", vccif_model_krx131}, {"MADEUP", made_up_model}};

} // namespace

const CameraModel *made_up_model()
{
    static const CameraModel model = describe();
    return &model;
}

constinit const std::span<const KnownModel> CAMERA_MODELS{MODELS};
