// Following the image pipeline's capture mode.
#pragma once

#include "core/instance.h"

// Asks for the capture mode and gives it to the camera block; the arguments are those of
// ptz_driver_canon_cmd_capture_mode(). FALSE, with a message, when the mode is not to be had or was not taken.
gboolean ptz_driver_canon_take_capture_mode(PTZDriverCanon *self, gboolean blank, gboolean restart,
                                            gboolean *restart_required);

// Asks for the capture mode and switches the camera block over, with the video off meanwhile; where that takes a
// restart, resets the driver. FALSE, with a message, when the mode is not to be had or was not taken; how a reset went
// shows in "state".
gboolean ptz_driver_canon_refresh_capture_mode(PTZDriverCanon *self);

// For a start-up that is over: switches over to a capture mode that the image pipeline took while it went on.
void ptz_driver_canon_catch_up_capture_mode(PTZDriverCanon *self);

// Has the mode refreshed for every changed "CaptureFrequency" of the image pipeline. `parameters`: those of
// PropertiesChanged, "(sa{sv}as)". Only queues work, so that it may be called on any thread.
void ptz_driver_canon_utils_on_properties_changed(PTZDriverCanon *self, GVariant *parameters);
