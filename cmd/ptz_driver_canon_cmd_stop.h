// Ends what moves, and switches between day and night.
#pragma once

#include "core/ptz_driver_canon.h"

// The axes as the pan/tilt stop command names them.
enum PanTiltStop { PAN_TILT_STOP_PAN = 1, PAN_TILT_STOP_TILT = 2 };

// Stops zoom, pan and tilt with one packet; focus goes on. The zoom and focus targets become the present positions,
// sent or not.
gboolean ptz_driver_canon_cmd_stop(PTZDriverCanon *self);

enum IrCutMode { IR_CUT_DAY = 1, IR_CUT_NIGHT = 2, IR_CUT_AUTOMATIC = 3 };

// IR_CUT_DAY puts the filter in place, IR_CUT_NIGHT removes it; anything else but IR_CUT_AUTOMATIC counts as day.
gboolean ptz_driver_canon_cmd_ircut(PTZDriverCanon *self, int mode);
