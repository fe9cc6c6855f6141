// What the camera block does with the records it is sent.
#include "sim/camera.h"

#include <algorithm>
#include <array>

namespace sim {
namespace {

constexpr std::int64_t kCaptureChangeUs = 1'000'000;
constexpr double kFocusFar = 1144;
constexpr double kFocusNear = 2048;
constexpr double kInFocus = 1400; // where auto focus finds its picture

// Seconds through the whole optical range, and through the whole focus range, by speed code.
constexpr std::array<double, 8> kZoomSeconds{16, 12, 8, 6, 5, 4, 3, 2};
constexpr std::array<double, 8> kFocusSeconds{8, 6, 5, 4, 3, 2.5, 1.5, 1};

double zoom_speed(std::int32_t code)
{
    return Camera::kZoomOptical / kZoomSeconds[static_cast<std::size_t>(code)];
}

double focus_speed(std::int32_t code)
{
    return (kFocusNear - kFocusFar) / kFocusSeconds[static_cast<std::size_t>(code)];
}

} // namespace

double Camera::magnification(std::int64_t now) const
{
    const double position = zoom.at(now);
    const double optical = std::min(position, kZoomOptical);
    return (optical / 256 + 1) * ((position - optical) / 256 + 1);
}

void Camera::place_magnification(double magnification, std::int64_t now)
{
    const double most = kZoomOptical / 256 + 1;
    if (magnification <= most)
        zoom.place((magnification - 1) * 256, now);
    else
        zoom.place(kZoomOptical + (magnification / most - 1) * 256, now);
}

std::uint32_t Camera::capture_mode_state(std::int64_t now) const
{
    if (capture_set_at_ == kNever)
        return 0;
    return now >= capture_set_at_ + kCaptureChangeUs ? 2 : 1;
}

void Camera::carry_out(const Record &record, std::int64_t now)
{
    const Rec id = record.row->id;
    settings_[static_cast<std::size_t>(id)] = record.values;
    expose(id, now);
    if (carry_out_motion(id, record.values, now))
        return;
    if (id == Rec::colour_level || id == Rec::colour_hue) {
        Colouring &colour = colours_[static_cast<std::size_t>(record.values[0])];
        (id == Rec::colour_level ? colour.level : colour.hue) = record.values[1];
    } else if (id == Rec::sensor_capture_mode) {
        wanted_capture_frequency_ = static_cast<std::uint32_t>(record.values[0]);
        capture_set_at_ = now;
    } else if (id == Rec::system && record.values[0] == 0) {
        halt(now);
        begin_boot(now);
    } else if (id == Rec::system) {
        sensor_halted_ = record.values[0] == 1;
    }
}

bool Camera::carry_out_motion(Rec id, const Values &values, std::int64_t now)
{
    const auto speed = [this](Rec which) { return static_cast<double>(setting(which)[0]); };
    switch (id) {
    case Rec::pan_speed:
        pan.set_speed(values[0], now);
        return true;
    case Rec::tilt_speed:
        tilt.set_speed(values[0], now);
        return true;
    case Rec::pan_position:
        pan.move(values[0], speed(Rec::pan_speed), now);
        return true;
    case Rec::tilt_position:
        tilt.move(values[0], speed(Rec::tilt_speed), now);
        return true;
    case Rec::pan_tilt_position:
        pan.move(values[0], speed(Rec::pan_speed), now);
        tilt.move(values[1], speed(Rec::tilt_speed), now);
        return true;
    case Rec::pan_tilt_stop:
        (values[0] == 1 ? pan : tilt).stop(now);
        return true;
    case Rec::zoom_stop:
        zoom.stop(now);
        return true;
    case Rec::zoom_speed:
        zoom.set_speed(zoom_speed(values[0]), now);
        return true;
    case Rec::zoom_magnification:
        zoom.move(values[0], zoom_speed(setting(Rec::zoom_speed)[0]), now);
        return true;
    case Rec::zoom_optical:
        zoom.move(values[0] * kZoomOptical / 2440, zoom_speed(setting(Rec::zoom_speed)[0]), now);
        return true;
    case Rec::zoom_digital:
        zoom.move(kZoomOptical + values[0], zoom_speed(setting(Rec::zoom_speed)[0]), now);
        return true;
    case Rec::focus_position:
        focus.move(values[0], focus_speed(7), now);
        return true;
    case Rec::focus_speed:
        focus.set_speed(focus_speed(values[0]), now);
        return true;
    case Rec::focus_mode:
        focus_mode(values[0], now);
        return true;
    default:
        return false;
    }
}

void Camera::set_scene_light(double stops, std::int64_t now)
{
    scene_light_ = stops;
    expose(Rec::exposure_mode, now);
}

// A record of the exposure group came in. What it sets is there at once, also where the automatic then moves it on.
void Camera::expose(Rec id, std::int64_t now)
{
    if (row(id).cls != 0x00 || row(id).group != 0x03)
        return;
    ExposureCodes codes = exposure_.at(now);
    const auto value = [this](Rec which) { return setting(which)[0]; };
    if (id == Rec::iris_a)
        codes.iris = value(id);
    else if (id == Rec::shutter)
        codes.shutter = value(id);
    else if (id == Rec::gain)
        codes.gain = value(id);
    exposure_.place(codes, now);
    const Values &limits = setting(Rec::shutter_limits);
    exposure_.aim({value(Rec::exposure_mode),
                   value(Rec::brightness),
                   value(Rec::ae_response),
                   limits[0],
                   limits[1],
                   4 * value(Rec::max_gain),
                   {value(Rec::iris_a), value(Rec::shutter), value(Rec::gain)}},
                  scene_light_, now);
}

void Camera::focus_mode(std::int32_t mode, std::int64_t now)
{
    const double speed = focus_speed(setting(Rec::focus_speed)[0]);
    switch (mode) {
    case 1:
        focus.stop(now);
        break;
    case 2:
    case 4:
        focus.move(kFocusFar, speed, now);
        break;
    case 3:
        focus.move(kFocusNear, speed, now);
        break;
    default:
        focus.move(kInFocus, speed, now);
    }
}

} // namespace sim
