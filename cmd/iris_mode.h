// Automatic and manual exposure as a whole.
#pragma once

#include "core/instance.h"

// iris_mode: PTZ_IRIS_*. `auto_iris` and the framework's `iris_mode` change first and stay, whatever comes of the rest.
//
// Automatic: sets the exposure mode and priority that the parameters of the "ImageSource" group ask for, then those of
// shutter, gain and iris that the priority leaves to the user. FALSE when a parameter is missing or a command fails;
// what was sent before stays in force.
// Manual: `iris_zenta` becomes the exposure position (1..9999) of the last status, if there is one to be had, and the
// exposure is set to it. TRUE whatever the camera block said.
// Any other mode: FALSE with an error, and nothing changes.
gboolean ptz_driver_canon_set_iris_mode(PTZDriverCanon *self, int iris_mode);
