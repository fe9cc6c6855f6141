#include "cmd/brightness.h"

#include "cmd/iris_mode.h"
#include "cmd/setting.h"
#include "core/fixed_point.h"
#include "core/log.h"
#include "core/value_map.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/backlight.h"
#include "vcc/convert.h"

namespace {

constexpr int BACKLIGHT_ON = 1;
constexpr int BACKLIGHT_OFF = 2;

// The last step, with or without the lift as backlight compensation now is.
void add_brightness(CommandBuffer *commands, const PTZDriverCanon *self)
{
    const auto step = static_cast<gint8>(self->current.brightness_level);
    commands->add(kBrightnessLevel, int{ptz_driver_canon_utils_shift_brightness_if_backlight_on(self, step)});
}

int position_of_level(unsigned level)
{
    return truncate_to_int(
        linear_map(static_cast<float>(level), 0.0f, 100.0f, real(ZENTA_RANGE_MIN), real(ZENTA_RANGE_MAX)));
}

} // namespace

gboolean ptz_driver_canon_cmd_brightness(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(brightness_range, level);
    self->current.brightness_level =
        vccif_percent_to_vcc_range(self->cam_model->brightness_range, static_cast<int>(level));
    self->target.brightness_zenta = self->current.brightness_zenta = position_of_level(level);
    CommandBuffer commands;
    add_brightness(&commands, self);
    if (!ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send brightness setup command"))
        return FALSE;
    ptz_driver_canon_cmd_update_status(self);
    return TRUE;
}

gboolean ptz_driver_canon_cmd_backlight_compensation(PTZDriverCanon *self, int mode)
{
    GUARD(self, FALSE);
    const gboolean on = mode == BACKLIGHT_ON;
    // Only on or off is compared: any other mode counts as off here.
    if (!self->current.backlight_on == !on && self->driver_initialized)
        return TRUE;
    if (mode != BACKLIGHT_ON && mode != BACKLIGHT_OFF) {
        log_error("Unsupported backlight compensation mode");
        return FALSE;
    }
    self->current.backlight_on = on;
    CommandBuffer commands;
    add_brightness(&commands, self);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send backlight compensation setup command");
}

gboolean ptz_driver_canon_cmd_move_brightness(PTZDriverCanon *self, int move_type, int value)
{
    GUARD(self, FALSE);
    GUARD(self->cam_model->brightness_range, FALSE);
    CameraState &now = self->current;
    now.brightness_moving = 1;
    ptz_driver_canon_utils_publish_status(self);
    int position = value;
    if (move_type == PTZ_MOVE_RELATIVE) {
        position = zenta_moved(now.brightness_zenta, value);
    } else if (move_type != PTZ_MOVE_ABSOLUTE) {
        log_error("Unsupported PTZ move type");
        return FALSE;
    }
    const int percent = ptz_driver_canon_zenta_to_percent(real(position));
    now.brightness_level = static_cast<gint8>(vccif_percent_to_vcc_range(self->cam_model->brightness_range, percent));
    CommandBuffer commands;
    add_brightness(&commands, self);
    if (!now.auto_iris)
        ptz_driver_canon_set_iris_mode(self, IRIS_MODE_AUTO);
    const gboolean sent = ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to execute brightness command");
    if (sent) {
        now.brightness_zenta = self->target.brightness_zenta;
        ptz_driver_canon_cmd_update_status(self);
    }
    now.brightness_moving = 0;
    ptz_driver_canon_utils_publish_status(self);
    return sent;
}
