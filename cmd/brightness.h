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

// To the position, 1..9999, or by it; nothing keeps an absolute one in range. Manual exposure goes back to automatic
// before. `brightness_zenta` becomes its target on success; `brightness_level` is set before sending and stays. A
// continuous move is refused, with `brightness_moving` left at 1.
gboolean ptz_driver_canon_cmd_move_brightness(PTZDriverCanon *self, int move_type, int value);
