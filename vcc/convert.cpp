#include "vcc/convert.h"

#include "core/fixed_point.h"
#include "core/instance.h"
#include "core/log.h"
#include "core/value_map.h"
#include "core/zenta.h"
#include "vcc/status.h"

#include <algorithm>

namespace {

// One of the framework's scales: where it begins and ends.
struct Scale {
    float first, last;
};
constexpr Scale PAN_DEGREES{-170.0f, 170.0f};
constexpr Scale TILT_DEGREES{-20.0f, 90.0f};
constexpr Scale PERCENT{0.0f, 100.0f};
constexpr Scale POSITION{real(ZENTA_RANGE_MIN), real(ZENTA_RANGE_MAX)}; // optical zoom, focus
constexpr Scale DIGITAL_ZOOM{real(ZENTA_DIGITAL_ZOOM_MIN), real(ZENTA_ZOOM_MAX)};
constexpr float MAGNIFICATION_STEPS = 256.0f; // per unit of magnification, in the camera's commands

float to_vcc(const MinMax &range, const Scale &scale, float value)
{
    return linear_map(value, scale.first, scale.last, real(range.min), real(range.max));
}

float from_vcc(const MinMax &range, const Scale &scale, int value)
{
    return linear_map(real(value), real(range.min), real(range.max), scale.first, scale.last);
}

// What the status gives as mantissa / 2^exponent.
float from_mantissa(unsigned mantissa, unsigned exponent)
{
    return static_cast<float>(mantissa) / static_cast<float>(1u << exponent);
}

int percent_to_speed(const SpeedRow *table, const MinMax &range, float percent)
{
    if (table != nullptr)
        return static_cast<int>(vccif_interpolate_speed(table, percent));
    return truncate_to_int(to_vcc(range, PERCENT, percent));
}

} // namespace

int vccif_degree_to_vcc_pan(const CameraModel *model, float degree)
{
    return truncate_to_int(to_vcc(model->pan_vcc_range, PAN_DEGREES, degree));
}

float vccif_vcc_to_degree_pan(const CameraModel *model, int position)
{
    return from_vcc(model->pan_vcc_range, PAN_DEGREES, position);
}

int vccif_degree_to_vcc_tilt(const CameraModel *model, float degree)
{
    return truncate_to_int(to_vcc(model->tilt_vcc_range, TILT_DEGREES, degree));
}

float vccif_vcc_to_degree_tilt(const CameraModel *model, int position)
{
    return from_vcc(model->tilt_vcc_range, TILT_DEGREES, position);
}

int vccif_percent_to_vcc_pan_speed(const PTZDriverCanon *self, float percent)
{
    return percent_to_speed(self->cam_model->pan_tilt_speed_tbl, self->cam_model->pan_speed_vcc_range, percent);
}

int vccif_percent_to_vcc_tilt_speed(const PTZDriverCanon *self, float percent)
{
    return percent_to_speed(self->cam_model->pan_tilt_speed_tbl, self->cam_model->tilt_speed_vcc_range, percent);
}

unsigned vccif_interpolate_speed(const SpeedRow *table, float percent)
{
    for (const SpeedRow *row = table; row != nullptr && row[0].percent != -1 && row[1].percent != -1; row++) {
        const float low = real(row[0].percent), high = real(row[1].percent);
        if (low <= percent && percent <= high)
            return truncate_to_unsigned(linear_map(percent, low, high, real(row[0].speed), real(row[1].speed)));
    }
    log_warning("The pan tilt speed is not supported.");
    return 0;
}

unsigned vccif_zenta_to_vcc_zoom(const CameraModel *model, int zoom)
{
    return truncate_to_unsigned(to_vcc(model->optical_zoom_vcc_range, POSITION, real(zoom)));
}

// A magnification is computed before its distance from 1: "+ 1 - 1" is not idle in single precision.
unsigned vccif_zenta_to_vcc_optical_magnification(const CameraModel *model, int zoom)
{
    const float magnification =
        linear_map(real(zoom), POSITION.first, POSITION.last, 1.0f, model->max_optical_magnification);
    return truncate_to_unsigned((magnification - 1.0f) * MAGNIFICATION_STEPS);
}

unsigned vccif_zenta_to_vcc_digital_zoom(const CameraModel *model, int digital_zoom)
{
    const float factor = linear_map(real(digital_zoom), 0.0f, DIGITAL_ZOOM.last - DIGITAL_ZOOM.first, 1.0f,
                                    model->max_digital_magnification);
    return truncate_to_unsigned((factor - 1.0f) * MAGNIFICATION_STEPS);
}

int vccif_percent_to_vcc_zoom_speed(const CameraModel *model, float percent)
{
    return truncate_to_int(to_vcc(model->zoom_speed_range, PERCENT, percent));
}

float vccif_get_zoom_magnification()
{
    const float optical = from_mantissa(vccif_get_zoom_mag_mantissa(), vccif_get_zoom_mag_exponent());
    return optical * (static_cast<float>(vccif_get_digital_zoom_position()) * 0.00390625f + 1.0f);
}

float vccif_get_hfov()
{
    return from_mantissa(vccif_get_hfov_mantissa(), vccif_get_fov_exponent());
}

float vccif_get_vfov()
{
    return from_mantissa(vccif_get_vfov_mantissa(), vccif_get_fov_exponent());
}

int vccif_magnification_to_zenta_zoom(const CameraModel *model, float magnification)
{
    const float optical = model->max_optical_magnification;
    if (optical >= magnification)
        return truncate_to_int(linear_map(magnification, 1.0f, optical, POSITION.first, POSITION.last));
    const float largest = optical * model->max_digital_magnification;
    return truncate_to_int(linear_map(magnification, optical, largest, DIGITAL_ZOOM.first, DIGITAL_ZOOM.last));
}

int vccif_zenta_to_vcc_focus(const CameraModel *model, int focus)
{
    return truncate_to_int(to_vcc(model->focus_vcc_range, POSITION, real(focus)));
}

int vccif_vcc_to_zenta_focus(const CameraModel *model, int position)
{
    return std::min(truncate_to_int(from_vcc(model->focus_vcc_range, POSITION, position)), ZENTA_RANGE_MAX);
}

int vccif_percent_to_vcc_focus_speed(const CameraModel *model, int percent)
{
    return truncate_to_int(to_vcc(model->focus_speed_range, PERCENT, real(percent)));
}

int vccif_percent_to_vcc_range(const Range *range, int level)
{
    return ptz_driver_canon_map2(real(level), 0.0f, 50.0f, 100.0f, real(range->min), real(range->mid),
                                 real(range->max));
}
