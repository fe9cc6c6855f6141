// Zoom movement. Positions are 1..9999 optical, 10000..19999 digital; raw values are 16.16.
#pragma once

#include "core/instance.h"

#include <cstddef>
#include <cstdint>

// Absolute: to the position; relative: from the present position, 0 stops; continuous: to the limit on the side of the
// sign, at the magnitude in percent, 0 stops. `zoom_moving` stays 1 when sending failed.
void ptz_driver_canon_cmd_move_zoom(PTZDriverCanon *self, int move_type, std::int32_t value);

// To `target`, limited by the zoom limits, at full speed.
gboolean ptz_driver_canon_cmd_zoom_absolute(PTZDriverCanon *self, int target);

void ptz_driver_canon_cmd_zoom_continuous(PTZDriverCanon *self, std::int32_t value);

// Sends a zoom payload, refreshes the status and publishes; with `record` it also takes the magnification and the
// position from that status.
gboolean ptz_driver_canon_cmd_zoom_execute(PTZDriverCanon *self, const std::uint8_t *payload, std::size_t size,
                                           gboolean record);
