// Every conversion over any number: defined everywhere, and within the camera's range for what is within the user's.
#include "core/fixed_point.h"
#include "core/instance.h"
#include "core/value_map.h"
#include "fuzz/target.h"
#include "vcc/convert.h"
#include "vcc/lookup.h"
#include "vcc/model.h"
#include "vcc/shutter.h"
#include "vcc/zoom_scale.h"

#include <cmath>

namespace {

template <typename Value>
bool within(Value value, Value low, Value high)
{
    return value >= low && value <= high;
}

void convert_real(const PTZDriverCanon *self, float x)
{
    const CameraModel *model = self->cam_model;
    const int pan = vccif_degree_to_vcc_pan(model, x), tilt = vccif_degree_to_vcc_tilt(model, x);
    HOLDS(!within(x, -170.0f, 170.0f) || within(pan, -170000, 170000));
    HOLDS(!within(x, -20.0f, 90.0f) || within(tilt, -20000, 90000));
    const int speed = vccif_percent_to_vcc_pan_speed(self, x);
    HOLDS(within(x, 1.0f, 100.0f) ? within(speed, 200, 100000) : speed == 0);
    HOLDS(vccif_percent_to_vcc_tilt_speed(self, x) == speed);
    HOLDS(!within(x, 0.0f, 100.0f) || within(vccif_percent_to_vcc_zoom_speed(model, x), 0, 7));
    HOLDS(!within(x, 1.0f, 360.0f) || within(vccif_magnification_to_zenta_zoom(model, x), 1, 19999));
    const float zoom = ptz_driver_canon_zoom_mag_to_zenta(self, x);
    HOLDS(self->max_digital_zoom != 12.0f || std::isnan(x) || within(zoom, 1.0f, 19999.0f));
    HOLDS(!within(x, 1.0f, 9999.0f) || within(ptz_driver_canon_zenta_to_percent(x), 0, 100));
    HOLDS(!within(x, 0.0f, 100.0f) || within(ptz_driver_canon_mirror(x, 0.0f, 100.0f), 0, 100));
    HOLDS(!within(x, -32767.0f, 32767.0f) || std::fabs(fixed_to_real(fixed_from_real(x)) - x) <= 1.0f / 256);
}

void convert_integer(const PTZDriverCanon *self, int i)
{
    const CameraModel *model = self->cam_model;
    HOLDS(std::isfinite(vccif_vcc_to_degree_pan(model, i)) && std::isfinite(vccif_vcc_to_degree_tilt(model, i)));
    HOLDS(!within(i, 1, 9999) || within(vccif_zenta_to_vcc_zoom(model, i), 0u, 2440u));
    HOLDS(!within(i, 1, 9999) || within(vccif_zenta_to_vcc_optical_magnification(model, i), 0u, 7424u));
    HOLDS(!within(i, 0, 9999) || within(vccif_zenta_to_vcc_digital_zoom(model, i), 0u, 2816u));
    HOLDS(!within(i, 1, 9999) || within(vccif_zenta_to_vcc_focus(model, i), 1144, 2048));
    HOLDS(vccif_vcc_to_zenta_focus(model, i) <= 9999 && (i > 2048 || vccif_vcc_to_zenta_focus(model, i) >= 1));
    HOLDS(!within(i, 0, 100) || within(vccif_percent_to_vcc_focus_speed(model, i), 0, 7));
    for (const Range *range : {model->brightness_range, model->wb_gain_range, model->ircf_threshold_range})
        HOLDS(!within(i, 0, 100) || within(vccif_percent_to_vcc_range(range, i), std::min(range->min, range->max),
                                           std::max(range->min, range->max)));
    const float factor = ptz_driver_canon_zoom_zenta_to_mag(self, i);
    HOLDS(self->max_digital_zoom != 12.0f || within(factor, 1.0f, 360.0f));
    HOLDS(within(vccif_percent_to_vcc_iris(self, i), -1, 32) && within(vccif_percent_to_vcc_gain(self, i), -1, 32));
    HOLDS(within(vccif_vcc_to_percent_iris(self, i), -1, 100) && within(vccif_vcc_to_percent_gain(self, i), -1, 100));
    HOLDS(within(vccif_vcc_to_fno_iris(self, i), -1.0f, 16.0f) && within(vccif_vcc_to_db_gain(self, i), -1.0f, 48.16f));
    HOLDS(within(vccif_percent_to_vcc_max_gain(model->max_gain_tbl, i), -1, 8));
    HOLDS(within(vccif_percent_to_vcc_shutter(self, i), -1, 54));
    HOLDS(within(vccif_exposure_time_to_vcc_shutter(self, i), -1, 54));
    HOLDS(vccif_vcc_to_exposure_time_shutter(self, i) >= -1'000'000);
    HOLDS(fixed_from_integer(fixed_integer_part(i)) == (i & ~0xFFFF));
}

} // namespace

FUZZ_TARGET(conversions)
{
    fuzz::Reader reader(input);
    PTZDriverCanon driver{};
    char capture_mode[] = "1080p60";
    driver.current.capture_mode = capture_mode;
    driver.cam_model = vccif_model_krx131();
    driver.max_digital_zoom = 12.0f;
    convert_real(&driver, reader.take<float>());
    convert_integer(&driver, reader.take<std::int32_t>());
    // Where a model has no table, and the configuration offers any digital zoom at all.
    CameraModel plain = *driver.cam_model;
    plain.pan_tilt_speed_tbl = nullptr;
    driver.max_digital_zoom = reader.take<float>();
    const auto x = reader.take<float>();
    (void)ptz_driver_canon_zoom_mag_to_zenta(&driver, x);
    (void)ptz_driver_canon_zoom_zenta_to_mag(&driver, reader.take<std::int32_t>());
    driver.cam_model = &plain;
    HOLDS(!within(x, 0.0f, 100.0f) || within(vccif_percent_to_vcc_pan_speed(&driver, x), 200, 100000));
}
