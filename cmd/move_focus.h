// Focus movement. Positions are 1 (near) to 9999 (far).
#pragma once

#include "core/instance.h"

#include <cstddef>
#include <cstdint>

// By move type (PTZ_MOVE_*), `value` being the integer part of a 16.16 value. Absolute: to the position, not kept in
// range; relative: by it from the present position, kept in 1..9999, 0 stops; continuous: far when it is positive, near
// when negative, at its magnitude in percent, 0 stops. Auto focus is switched off before.
// TRUE when the camera block has taken it: `focus_moving` is then 0. FALSE with a message otherwise, and for any other
// type; `focus_moving` is left at 1, or unknown (-1) when auto focus was switched off.
gboolean ptz_driver_canon_cmd_move_focus(PTZDriverCanon *self, int move_type, int value);

// Switches auto focus off if it is on, sends a focus payload of `size` bytes and refreshes the status; then `target`
// becomes the focus target: a position, 0 or -1 when there is none. TRUE when the camera block has taken the payload;
// FALSE with a message, and the target as it was, otherwise.
gboolean ptz_driver_canon_cmd_focus_execute(PTZDriverCanon *self, const std::uint8_t *payload, std::size_t size,
                                            int target);
