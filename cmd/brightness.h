// Brightness: as a parameter, as a movement, and lifted while backlight compensation is on. All as described in
// send.h.
#pragma once

#include "core/instance.h"

// level: 0..100, a negative one counts as too large. `brightness_level` (before the lift) and both brightness positions
// are set before sending and stay when that fails.
gboolean ptz_driver_canon_cmd_brightness(PTZDriverCanon *self, unsigned level);

// mode 1 switches backlight compensation on, 2 off, and sends the last brightness with or without the lift. Nothing is
// sent when it is that way already (once start-up is complete). `backlight_on` stays changed when sending fails.
gboolean ptz_driver_canon_cmd_backlight_compensation(PTZDriverCanon *self, int mode);
