// Movement, positions and fields of view.
#include "driver/operations.h"

#include "cmd/brightness.h"
#include "cmd/focus.h"
#include "cmd/iris_mode.h"
#include "cmd/move_brightness.h"
#include "cmd/move_focus.h"
#include "cmd/move_iris.h"
#include "cmd/move_pan_tilt.h"
#include "cmd/move_zoom.h"
#include "cmd/stop.h"
#include "core/fixed_point.h"
#include "core/zenta.h"
#include "driver/device_status.h"
#include "utils/picture.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/model.h"
#include "vcc/zoom_scale.h"

#include <cmath>

namespace {

constexpr float RADIANS_PER_DEGREE = 0.017453292f;
constexpr float TWICE_DEGREES_PER_RADIAN = 114.59155f;

// Targets pile up without a limit of their own, so a sum may leave what an int holds.
int add_wrapping(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

void set_zoom_target(PTZDriverCanon *self, const PTZMotion &zoom)
{
    const int value = fixed_integer_part(zoom.value);
    if (zoom.type == PTZ_MOVE_ABSOLUTE)
        self->target.zoom_zenta = value;
    else if (zoom.type == PTZ_MOVE_RELATIVE)
        self->target.zoom_zenta = add_wrapping(self->target.zoom_zenta, value);
    else if (zoom.type == PTZ_MOVE_CONTINUOUS && value == 0)
        self->target.zoom_zenta = self->current.zoom_zenta;
    else
        return;
    self->target.zoom_magnification = ptz_driver_canon_zoom_zenta_to_mag(self, self->target.zoom_zenta);
}

// Iris and brightness: a relative target stays within 1..9999.
void set_position_target(int *target, const PTZMotion &motion)
{
    const int value = fixed_integer_part(motion.value);
    if (motion.type == PTZ_MOVE_ABSOLUTE)
        *target = value;
    else if (motion.type == PTZ_MOVE_RELATIVE)
        *target = zenta_moved(*target, value);
}

// Iris, focus and brightness, as far as they are asked for. A brightness move takes back what the iris move has set.
void move_lens(PTZDriverCanon *self, const PTZMotion &iris, const PTZMotion &focus, const PTZMotion &brightness)
{
    if (iris.type != PTZ_MOVE_NONE)
        ptz_driver_canon_cmd_move_iris(self, iris.type, fixed_integer_part(iris.value));
    if (focus.type != PTZ_MOVE_NONE &&
        ptz_driver_canon_cmd_move_focus(self, focus.type, fixed_integer_part(focus.value)))
        self->parent_instance.focus_mode = PTZ_FOCUS_MANUAL;
    if (brightness.type != PTZ_MOVE_NONE)
        ptz_driver_canon_cmd_move_brightness(self, brightness.type, fixed_integer_part(brightness.value));
}

float half_width(const PTZDriverCanon *self)
{
    return std::tan(self->cam_model->wide_hfov / 2.0f * RADIANS_PER_DEGREE);
}

} // namespace

gboolean ptz_driver_canon_op_move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                                  const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness,
                                  const PTZSpeed *speed)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (pan->type != PTZ_MOVE_NONE)
        self->pan_move_requested = TRUE;
    if (tilt->type != PTZ_MOVE_NONE)
        self->tilt_move_requested = TRUE;
    if (!self->driver_initialized)
        return TRUE;

    ptz_driver_canon_cmd_update_status(self);
    ptz_driver_canon_cmd_auto_focus(self, driver->focus_mode);
    PTZ_DRIVER_GET_CLASS(driver)->prepare_move(driver);
    ptz_driver_canon_hold_off_idle(self);
    ptz_driver_canon_utils_publish_status(self);
    if (!self->current.image_frozen && self->current.image_freeze_mode == IMAGE_FREEZE_ON)
        ptz_driver_canon_utils_set_image_freeze(self, TRUE);

    set_zoom_target(self, *zoom);
    set_position_target(&self->target.iris_zenta, *iris);
    set_position_target(&self->target.brightness_zenta, *brightness);
    if (driver->zoom_requested)
        ptz_driver_canon_cmd_move_zoom(self, zoom->type, zoom->value);
    move_lens(self, *iris, *focus, *brightness);
    ptz_driver_canon_cmd_move_pan_tilt(self, pan, tilt, speed, 0);

    self->pan_move_requested = self->tilt_move_requested = FALSE;
    return TRUE;
}

gboolean ptz_driver_canon_op_stop(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_cmd_stop(self) : TRUE;
}

gboolean ptz_driver_canon_op_get_position(PTZDriver *driver, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris,
                                          gint32 *focus, gint32 *brightness)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (!self->driver_initialized)
        return TRUE;
    ptz_driver_canon_utils_publish_status(self);
    const CameraState &now = self->current;
    *pan = fixed_from_real(now.pan_degree);
    *tilt = fixed_from_real(now.tilt_degree);
    *zoom = fixed_from_integer(now.zoom_zenta);
    *iris = fixed_from_integer(now.iris_zenta);
    *focus = fixed_from_integer(now.focus_zenta);
    *brightness = fixed_from_integer(now.brightness_zenta);
    return TRUE;
}

gboolean ptz_driver_canon_op_get_field_of_view(PTZDriver *driver, gint32 /*unused*/, gint32 *angle, gint32 *widest,
                                               gint32 *hfov, gint32 *vfov)
{
    const PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (!self->driver_initialized)
        return TRUE;
    const float now = std::atan(half_width(self) / self->current.zoom_magnification) * TWICE_DEGREES_PER_RADIAN;
    *angle = fixed_from_real(now);
    *widest = fixed_from_real(self->cam_model->wide_hfov);
    *hfov = fixed_from_real(self->current.hfov);
    *vfov = fixed_from_real(self->current.vfov);
    return FALSE;
}

gboolean ptz_driver_canon_op_angle_to_zoom(PTZDriver *driver, gint32 angle, gint32 scale_percent, gint32 *zoom)
{
    const PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (!self->driver_initialized)
        return TRUE;
    const float degrees = static_cast<float>(angle) / FIXED_ONE / (static_cast<float>(scale_percent) / 100.0f);
    const float magnification = half_width(self) / std::tan(degrees / 2.0f * RADIANS_PER_DEGREE);
    *zoom = fixed_from_real(ptz_driver_canon_zoom_mag_to_zenta(self, magnification));
    return TRUE;
}

gboolean ptz_driver_canon_op_focus_mode_changed(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_cmd_auto_focus(self, driver->focus_mode) : TRUE;
}

gboolean ptz_driver_canon_op_iris_mode_changed(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_set_iris_mode(self, driver->iris_mode) : TRUE;
}

gboolean ptz_driver_canon_op_backlight_changed(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_cmd_backlight_compensation(self, driver->backlight_mode) : TRUE;
}

gboolean ptz_driver_canon_op_speed_factor_changed(PTZDriver *driver)
{
    ptz_driver_canon_of(driver)->fov_speed_factor = driver->speed_factor;
    return TRUE;
}
