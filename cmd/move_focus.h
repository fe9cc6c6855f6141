// Focus movement. Positions are 1..9999.
#pragma once

#include "core/instance.h"
#include "vcc/command.h"

// value: integer part of a 16.16 value. Absolute: to the position; relative: from the present position, kept in
// 1..9999, 0 stops; continuous: nearer or farther by its sign at its magnitude in percent, 0 stops. Switches auto focus
// off first. Failed, `focus_moving` stays as it then is.
gboolean ptz_driver_canon_cmd_move_focus(PTZDriverCanon *self, int move_type, int value);

// Sends a focus payload, refreshes the status and records the target: a position, 0 or -1 when there is none.
gboolean ptz_driver_canon_cmd_focus_execute(PTZDriverCanon *self, const guint8 *payload, std::size_t size, int target);
