#include "cmd/brightness.h"

#include "cmd/payload.h"
#include "cmd/setting.h"
#include "core/fixed_point.h"
#include "core/log.h"
#include "core/value_map.h"
#include "utils/status.h"

namespace {

constexpr ModelRange RANGE{MODEL_RANGE(brightness_range)};

int position_of_level(unsigned level)
{
    return truncate_to_int(
        linear_map(static_cast<float>(level), 0.0f, 100.0f, real(ZENTA_RANGE_MIN), real(ZENTA_RANGE_MAX)));
}

} // namespace

gboolean ptz_driver_canon_cmd_brightness(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(RANGE, level);
    self->current.brightness_level = ptz_driver_canon_cmd_scaled(self, RANGE, level);
    self->target.brightness_zenta = self->current.brightness_zenta = position_of_level(level);
    CommandBuffer commands;
    payload_add_brightness(commands, self);
    if (!ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send brightness setup command"))
        return FALSE;
    ptz_driver_canon_cmd_update_status(self);
    return TRUE;
}

gboolean ptz_driver_canon_cmd_backlight_compensation(PTZDriverCanon *self, int mode)
{
    GUARD(self, FALSE);
    const gboolean on = mode == PTZ_BACKLIGHT_ON;
    // Only on or off is compared: any other mode counts as off here.
    if (!self->current.backlight_on == !on && self->driver_initialized)
        return TRUE;
    if (mode != PTZ_BACKLIGHT_ON && mode != PTZ_BACKLIGHT_OFF) {
        log_error("Unsupported backlight compensation mode");
        return FALSE;
    }
    self->current.backlight_on = on;
    CommandBuffer commands;
    payload_add_brightness(commands, self);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send backlight compensation setup command");
}
