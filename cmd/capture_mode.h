// Capture mode and software reset. All as described in send.h.
#pragma once

#include "core/instance.h"

struct CaptureModeRow;

// Switches the camera block over to the capture mode of that name: sensor, frame rate and, where the model wants it,
// video mode; on success `capture_mode` takes the name.
//
// Some changes of the sensor take effect only after a restart. With `restart` the camera block is restarted on the
// spot, and *restart_required becomes 0; without it the operation ends there, TRUE, with *restart_required 1. With
// `blank` the video is off meanwhile: it comes back at the end, but not after a failure nor when a restart is left to
// the caller. A failure, after any of the steps, leaves `capture_mode` as it was and what was sent in force.
gboolean ptz_driver_canon_cmd_capture_mode(PTZDriverCanon *self, const char *mode, gboolean blank, gboolean restart,
                                           gboolean *restart_required);

// The sensor's part. Nothing is sent, and no restart required, when it is in that capture frequency already; otherwise
// *restart_required becomes 1 and it takes one second, or eleven unless the last status has told of a completed change.
// FALSE, with *restart_required 0, when the camera block did not take it.
gboolean ptz_driver_canon_cmd_capture_mode_sensor(PTZDriverCanon *self, const CaptureModeRow *capture_mode,
                                                  gboolean *restart_required);

// The image processor's part: the frame rate.
gboolean ptz_driver_canon_cmd_capture_mode_isp(PTZDriverCanon *self, const CaptureModeRow *capture_mode);

// Restarts the camera block by command, where the model can.
gboolean ptz_driver_canon_cmd_sw_reset(PTZDriverCanon *self);
