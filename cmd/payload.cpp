#include "cmd/payload.h"

#include "core/log.h"
#include "vcc/backlight.h"
#include "vcc/lookup.h"
#include "vcc/rows.h"

#include <cstdint>

void payload_add_brightness(CommandBuffer &commands, const PTZDriverCanon *self)
{
    const auto step = static_cast<std::int8_t>(self->current.brightness_level);
    commands.add(ROW_BRIGHTNESS_LEVEL, int{ptz_driver_canon_utils_shift_brightness_if_backlight_on(self, step)});
}

void payload_add_iris(CommandBuffer &commands, int code)
{
    commands.add(ROW_IRIS_LEVEL_A, code);
    commands.add(ROW_IRIS_LEVEL_B, code);
}

int payload_iris_code(const PTZDriverCanon *self, int percent, int shown)
{
    const int code = vccif_percent_to_vcc_iris(self, percent);
    if (code < 0)
        log_error("Unsupported iris value: %d", shown);
    return code;
}

int payload_gain_code(const PTZDriverCanon *self, int percent)
{
    // Gain codes are signed bytes.
    const auto code = static_cast<std::int8_t>(vccif_percent_to_vcc_gain(self, percent));
    if (code < 0)
        log_error("Unsupported gain: %d", percent);
    return code;
}
