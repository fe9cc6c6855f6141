// Brightness movement. Positions are 1..9999.
#pragma once

#include "core/instance.h"

// To the position, or by it from the present one; only a relative move is kept in 1..9999. Manual exposure goes back to
// automatic first. TRUE when the camera block has taken it: `brightness_zenta` is then the target's. FALSE with a
// message otherwise; `brightness_level`, set before sending, stays. Either way `brightness_moving` is 0 in the end.
// A continuous move, or any other type, is refused with `brightness_moving` left at 1.
gboolean ptz_driver_canon_cmd_move_brightness(PTZDriverCanon *self, int move_type, int value);
