#include "vcc/convert.h"

#include "core/fixed_point.h"
#include "core/instance.h"
#include "core/log.h"
#include "core/zenta.h"
#include "vcc/status.h"

#include <algorithm>

namespace {

constexpr float PAN_DEGREES = 340.0f, PAN_DEGREE_MIN = -170.0f;
constexpr float TILT_DEGREES = 110.0f, TILT_DEGREE_MIN = -20.0f;
constexpr float DIGITAL_ZOOM_SPAN = 9999.0f;
constexpr float MAGNIFICATION_STEPS = 256.0f;

constexpr float real(int value)
{
    return static_cast<float>(value);
}

constexpr float span(const MinMax &range)
{
    return real(range.max) - real(range.min);
}

float scale_percent(const MinMax &range, float percent)
{
    return span(range) * percent / 100.0f + real(range.min);
}

// Zoom and focus positions run over 1..9999.
float scale_position(const MinMax &range, int position)
{
    return span(range) * (real(position) - 1.0f) / 9998.0f + real(range.min);
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
    return truncate_to_int(scale_percent(range, percent));
}

} // namespace

int vccif_degree_to_vcc_pan(const CameraModel *model, float degree)
{
    const MinMax &range = model->pan_vcc_range;
    return truncate_to_int(span(range) * (degree - PAN_DEGREE_MIN) / PAN_DEGREES + real(range.min));
}

float vccif_vcc_to_degree_pan(const CameraModel *model, int position)
{
    const MinMax &range = model->pan_vcc_range;
    return (real(position) - real(range.min)) * PAN_DEGREES / span(range) + PAN_DEGREE_MIN;
}

int vccif_degree_to_vcc_tilt(const CameraModel *model, float degree)
{
    const MinMax &range = model->tilt_vcc_range;
    return truncate_to_int(span(range) * (degree - TILT_DEGREE_MIN) / TILT_DEGREES + real(range.min));
}

float vccif_vcc_to_degree_tilt(const CameraModel *model, int position)
{
    const MinMax &range = model->tilt_vcc_range;
    return (real(position) - real(range.min)) * TILT_DEGREES / span(range) + TILT_DEGREE_MIN;
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
        if (low <= percent && percent <= high) {
            const float speed = real(row[0].speed);
            return truncate_to_unsigned((percent - low) * (real(row[1].speed) - speed) / (high - low) + speed);
        }
    }
    log_warning("The pan tilt speed is not supported.");
    return 0;
}

unsigned vccif_zenta_to_vcc_zoom(const CameraModel *model, int zoom)
{
    return truncate_to_unsigned(scale_position(model->optical_zoom_vcc_range, zoom));
}

// A magnification is computed before its distance from 1: "+ 1 - 1" is not idle in single precision.
unsigned vccif_zenta_to_vcc_optical_magnification(const CameraModel *model, int zoom)
{
    const float magnification = (real(zoom) - 1.0f) * (model->max_optical_magnification - 1.0f) / 9998.0f + 1.0f;
    return truncate_to_unsigned((magnification - 1.0f) * MAGNIFICATION_STEPS);
}

unsigned vccif_zenta_to_vcc_digital_zoom(const CameraModel *model, int digital_zoom)
{
    const float factor = (model->max_digital_magnification - 1.0f) * real(digital_zoom) / DIGITAL_ZOOM_SPAN + 1.0f;
    return truncate_to_unsigned((factor - 1.0f) * MAGNIFICATION_STEPS);
}

int vccif_percent_to_vcc_zoom_speed(const CameraModel *model, float percent)
{
    return truncate_to_int(scale_percent(model->zoom_speed_range, percent));
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
        return truncate_to_int((magnification - 1.0f) * 9998.0f / (optical - 1.0f) + 1.0f);
    const float span_beyond = optical * model->max_digital_magnification - optical;
    return truncate_to_int((magnification - optical) * DIGITAL_ZOOM_SPAN / span_beyond + 10000.0f);
}

int vccif_zenta_to_vcc_focus(const CameraModel *model, int focus)
{
    return truncate_to_int(scale_position(model->focus_vcc_range, focus));
}

int vccif_vcc_to_zenta_focus(const CameraModel *model, int position)
{
    const MinMax &range = model->focus_vcc_range;
    const float focus = (real(position) - real(range.min)) * 9998.0f / span(range) + 1.0f;
    return std::min(truncate_to_int(focus), ZENTA_RANGE_MAX);
}

int vccif_percent_to_vcc_focus_speed(const CameraModel *model, int percent)
{
    return truncate_to_int(scale_percent(model->focus_speed_range, real(percent)));
}

int vccif_percent_to_vcc_range(const Range *range, int level)
{
    const float min = real(range->min), mid = real(range->mid), max = real(range->max);
    if (level > 50)
        return truncate_to_int((max - mid) * (real(level) - 50.0f) / 50.0f + mid);
    return truncate_to_int(real(level) * (mid - min) / 50.0f + min);
}
