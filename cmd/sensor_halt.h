// The image sensor's halt, before the camera block's power goes or it restarts.
#pragma once

#include "core/instance.h"

// Halts the image sensor, or with `halt` 0 lets it run. As described in send.h.
gboolean ptz_driver_canon_cmd_halt_sensor(PTZDriverCanon *self, gboolean halt);

// Halts the sensor between two refreshes of the status, the second tried up to `cmd_retries` times until all status
// blocks are there, and lets it settle for a second. What fails in between is logged and changes nothing else.
void ptz_driver_canon_utils_halt_sensor_and_settle(PTZDriverCanon *self);
