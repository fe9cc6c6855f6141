// Ends what moves.
#pragma once

#include "core/instance.h"

// The axes as the pan/tilt stop command names them.
enum PanTiltStop { PAN_TILT_STOP_PAN = 1, PAN_TILT_STOP_TILT = 2 };

// Stops zoom, pan and tilt with one packet; focus goes on. The zoom and focus targets become the present positions,
// sent or not. FALSE, without a message of its own, when the camera block did not take it: it then goes on moving.
gboolean ptz_driver_canon_cmd_stop(PTZDriverCanon *self);
