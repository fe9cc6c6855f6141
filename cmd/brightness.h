// Brightness as a parameter, and its lift while backlight compensation is on. All as described in send.h.
#pragma once

#include "core/instance.h"

// level: 0..100, a negative one counts as too large. `brightness_level` (camera steps, before the lift) and both
// brightness positions (1..9999, `current` and `target`) are set before sending and stay when that fails.
gboolean ptz_driver_canon_cmd_brightness(PTZDriverCanon *self, unsigned level);

// Switches backlight compensation on or off (`mode`: PTZ_BACKLIGHT_*) and sends the last brightness with or without the
// lift. TRUE and nothing sent when it is that way already, once start-up is complete; any mode but on counts as off
// there. `backlight_on` stays changed when sending fails.
gboolean ptz_driver_canon_cmd_backlight_compensation(PTZDriverCanon *self, int mode);
