// Zoom movement. Positions are 1..9999 optical, 10000..19999 digital; raw values are 16.16.
//
// `zoom_moving` becomes 1 before a move is sent and 0 once the camera block has taken it: it tells that a command is
// under way, not that the lens moves, which the next status tells. When sending failed it stays 1 until that status.
#pragma once

#include "core/instance.h"

#include <cstddef>
#include <cstdint>

// By move type (PTZ_MOVE_*). Absolute: to the position in the integer part of `value`; relative: by it from the present
// position, 0 stops; continuous: as ptz_driver_canon_cmd_zoom_continuous(). Type 0 does nothing, an unknown one is
// reported. How it went shows in the log and in `zoom_moving` alone.
void ptz_driver_canon_cmd_move_zoom(PTZDriverCanon *self, int move_type, std::int32_t value);

// Stops the zoom, then sends it to `target` at full speed. A target beyond the zoom limits (`limit_min_zoom`,
// `limit_max_zoom`) becomes that limit. TRUE when the camera block has taken it; FALSE with a message otherwise.
// Magnification and position are then what the status has them to be.
gboolean ptz_driver_canon_cmd_zoom_absolute(PTZDriverCanon *self, int target);

// Sends the zoom to the limit on the side of the sign of `value`, where it arrives unless it is stopped. Its speed is
// the magnitude of `value` in whole percent, at least 1; 100 while `adjustable_zoom_speed` is off. A raw 0 stops it.
void ptz_driver_canon_cmd_zoom_continuous(PTZDriverCanon *self, std::int32_t value);

// Sends a zoom payload of `size` bytes, refreshes the status and publishes. With `record`, `zoom_magnification` is then
// what that status says and `zoom_zenta` follows from it by the driver's zoom scale (vcc/zoom_scale.h) instead of the
// model's. TRUE when the camera block has taken the payload; FALSE with a message, and nothing recorded or published,
// otherwise.
gboolean ptz_driver_canon_cmd_zoom_execute(PTZDriverCanon *self, const std::uint8_t *payload, std::size_t size,
                                           gboolean record);
