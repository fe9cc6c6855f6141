#include "tests/golden/conversions.h"

#include "cmd/brightness.h"
#include "cmd/exposure.h"
#include "cmd/move_iris.h"
#include "cmd/move_pan_tilt.h"
#include "core/fixed_point.h"
#include "core/value_map.h"
#include "driver/operations.h"
#include "tests/support/made_up_model.h"
#include "utils/status.h"
#include "vcc/convert.h"
#include "vcc/zoom_scale.h"

#include <cmath>

namespace {

void choose_model(GoldenBench &bench, double number)
{
    bench.model = number == 1 ? *made_up_model() : *vccif_model_krx131();
    bench.driver->max_digital_zoom = number == 1 ? 3.0f : 12.0f;
}

// A conversion by a number alone, by the camera model, and by the driver record.
template <auto function, typename Value>
double plain(GoldenBench & /*unused*/, double x, double /*unused*/)
{
    return function(static_cast<Value>(x));
}
template <auto function, typename Value>
double by_model(GoldenBench &bench, double x, double number)
{
    choose_model(bench, number);
    return function(&bench.model, static_cast<Value>(x));
}
template <auto function, typename Value>
double by_driver(GoldenBench &bench, double x, double number)
{
    choose_model(bench, number);
    return function(bench.driver, static_cast<Value>(x));
}

double level(GoldenBench &bench, double x, double range)
{
    const Range *const ranges[] = {bench.model.brightness_range, bench.model.sharpness_range, bench.model.wb_gain_range,
                                   bench.model.hue_range, made_up_model()->brightness_range};
    return vccif_percent_to_vcc_range(ranges[static_cast<int>(range)], static_cast<int>(x));
}

// What the command that has just been sent has behind the head of its first record; forgets it.
double sent(GoldenBench &bench, std::size_t bytes)
{
    std::string hex;
    for (const std::string &payload : bench.port.take_payloads())
        hex = payload.substr(3 * 4, 3 * bytes);
    std::erase(hex, ' ');
    return hex.empty() ? NAN : static_cast<double>(std::stoull(hex, nullptr, 16));
}

// At x percent of the drive's speed by the response profile, or of the field of view.
double continuous_speed(GoldenBench &bench, double x, double hfov)
{
    choose_model(bench, 0);
    bench.driver->parent_instance.proportional_speed = hfov > 0;
    bench.driver->fov_speed_factor = 77;
    bench.now().hfov = static_cast<float>(hfov);
    const PTZMotion pan = motion(3, x), none{};
    const PTZSpeed speed{};
    ptz_driver_canon_cmd_move_pan_tilt(bench.driver, &pan, &none, &speed, 0);
    return sent(bench, 4);
}

double responsiveness(GoldenBench & /*unused*/, double x, double factor)
{
    return ptz_driver_canon_apply_responsiveness(static_cast<float>(x), static_cast<float>(factor));
}

double spot(GoldenBench &bench, double x, double /*unused*/)
{
    ptz_driver_canon_cmd_spot_exposure_position(bench.driver, static_cast<unsigned>(x), static_cast<unsigned>(x));
    return sent(bench, 4);
}

double brightness(GoldenBench &bench, double x, double /*unused*/)
{
    ptz_driver_canon_cmd_brightness(bench.driver, static_cast<unsigned>(x));
    return bench.now().brightness_zenta;
}

// The shutter's code, and the position back from it.
double exposure(GoldenBench &bench, double x, double rate)
{
    bench.set_capture_mode(rate == 60 ? "1080p60" : "1080p25");
    ptz_driver_canon_cmd_full_manual_exposure(bench.driver, static_cast<int>(x));
    return sent(bench, 1);
}
double exposure_back(GoldenBench &bench, double x, double rate)
{
    bench.set_capture_mode(rate == 60 ? "1080p60" : "1080p25");
    StatusRun run;
    bench.port.status = run.set(0xF8, 103, 1, 32).set(0xF8, 104, 1, static_cast<int>(x)).bytes();
    int position = -5;
    ptz_driver_canon_get_exposure_position(bench.driver, &position);
    return position;
}

// What the driver derives from a zoom status: optical mantissa, digital position.
template <auto field>
double status(GoldenBench &bench, double mantissa, double digital)
{
    choose_model(bench, 0);
    StatusRun run;
    run.set(0xF8, 79, 1, 0xA8).set(0xF8, 88, 2, static_cast<int>(mantissa)).set(0xF8, 80, 2, static_cast<int>(digital));
    bench.port.status = run.set(0xF8, 92, 2, 16001).set(0xF8, 94, 2, 9001).bytes();
    ptz_driver_canon_cmd_update_status(bench.driver);
    return bench.now().*field;
}

double angle_of_view(GoldenBench &bench, double magnification, double number)
{
    choose_model(bench, number);
    bench.now().zoom_magnification = static_cast<float>(magnification);
    int angle = 0, rest = 0;
    ptz_driver_canon_op_get_field_of_view(&bench.driver->parent_instance, 0, &angle, &rest, &rest, &rest);
    return fixed_to_real(angle);
}
double angle_to_zoom(GoldenBench &bench, double degrees, double picture_percent)
{
    choose_model(bench, 0);
    int zoom = 0;
    ptz_driver_canon_op_angle_to_zoom(&bench.driver->parent_instance, static_cast<int>(degrees * 65536),
                                      static_cast<int>(picture_percent), &zoom);
    return fixed_to_real(zoom);
}

// The machine's tangent may be off by one unit of its last place, which are up to two of a position's.
constexpr int EXACT = 0, LIBM = 1, SCALED_LIBM = 2;

} // namespace

// clang-format off: a row is a line
const std::vector<Conversion> CONVERSIONS = {
    {"pan to camera", EXACT, {-171, 171, 19.37}, {0, 1}, by_model<vccif_degree_to_vcc_pan, float>},
    {"pan from camera", EXACT, {-170000, 170000, 19997}, {0, 1}, by_model<vccif_vcc_to_degree_pan, int>},
    {"tilt to camera", EXACT, {-21, 91, 6.71}, {0, 1}, by_model<vccif_degree_to_vcc_tilt, float>},
    {"tilt from camera", EXACT, {-20000, 90000, 6997}, {0, 1}, by_model<vccif_vcc_to_degree_tilt, int>},
    {"pan speed", EXACT, {0, 101, 5.05}, {0, 1}, by_driver<vccif_percent_to_vcc_pan_speed, float>},
    {"tilt speed", EXACT, {0, 101, 5.05}, {0, 1}, by_driver<vccif_percent_to_vcc_tilt_speed, float>},
    {"continuous speed", EXACT, {0.1, 100, 3.93}, {0, 2.3, 61.7}, continuous_speed},
    {"responsiveness", EXACT, {0, 101, 3.93}, {0.3, 0.5, 0.8}, responsiveness},
    {"zoom to camera", EXACT, {-1, 10000, 833}, {0, 1}, by_model<vccif_zenta_to_vcc_zoom, int>},
    {"zoom to magnification", EXACT, {-1, 10000, 833}, {0, 1}, by_model<vccif_zenta_to_vcc_optical_magnification, int>},
    {"digital zoom", EXACT, {-1, 10000, 833}, {0, 1}, by_model<vccif_zenta_to_vcc_digital_zoom, int>},
    {"zoom speed", EXACT, {0, 100, 7.1}, {0, 1}, by_model<vccif_percent_to_vcc_zoom_speed, float>},
    {"magnification to zoom", EXACT, {0, 365, 17.3}, {0, 1}, by_model<vccif_magnification_to_zenta_zoom, float>},
    {"zoom scale", EXACT, {0, 365, 17.3}, {0, 1}, by_driver<ptz_driver_canon_zoom_mag_to_zenta, float>},
    {"zoom scale back", EXACT, {0, 20000, 1111}, {0, 1}, by_driver<ptz_driver_canon_zoom_zenta_to_mag, int>},
    {"focus to camera", EXACT, {0, 10000, 833}, {0, 1}, by_model<vccif_zenta_to_vcc_focus, int>},
    {"focus from camera", EXACT, {1000, 2100, 83}, {0, 1}, by_model<vccif_vcc_to_zenta_focus, int>},
    {"focus speed", EXACT, {0, 100, 7}, {0, 1}, by_model<vccif_percent_to_vcc_focus_speed, int>},
    {"level", EXACT, {0, 100, 7}, {0, 1, 2, 3, 4}, level},
    {"spot", EXACT, {0, 100, 7}, {0}, spot},
    {"brightness", EXACT, {0, 100, 7}, {0}, brightness},
    {"exposure", EXACT, {1, 9999, 277}, {25, 60}, exposure},
    {"exposure back", EXACT, {0, 60, 2}, {25, 60}, exposure_back},
    {"real to 16.16", EXACT, {-32767, 32767, 2048.37}, {0}, plain<fixed_from_real, float>},
    {"16.16 to real", EXACT, {-2147483648.0, 2147483647, 134217727}, {0}, plain<fixed_to_real, int>},
    {"position to percent", EXACT, {0, 10000, 377.3}, {0}, plain<ptz_driver_canon_zenta_to_percent, float>},
    {"zoom factor of a status",
     EXACT,
     {0, 65535, 3277},
     {0, 251, 1407, 2816},
     status<&CameraState::zoom_magnification>},
    {"zoom of a status", EXACT, {0, 65535, 3277}, {0, 251, 1407, 2816}, status<&CameraState::zoom_zenta>},
    {"width of a status", LIBM, {1024, 65535, 4337}, {0, 251, 1407, 2816}, status<&CameraState::hfov>},
    {"height of a status", LIBM, {1024, 65535, 4337}, {0, 251, 1407, 2816}, status<&CameraState::vfov>},
    {"angle of view", LIBM, {1, 360, 9.71}, {0, 1}, angle_of_view},
    {"angle to zoom", SCALED_LIBM, {0.1, 90, 2.37}, {50, 100, 173}, angle_to_zoom},
};
