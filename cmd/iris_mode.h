// Automatic and manual exposure as a whole.
#pragma once

#include "core/instance.h"

// Automatic: sets the exposure mode and priority that the parameters of the "ImageSource" group ask for, then those of
// shutter, gain and iris that the priority leaves to the user. `auto_iris` and the framework's `iris_mode` change first
// and stay. FALSE when a parameter is missing or a command fails.
// Manual: the exposure stays where it is, `iris_zenta` tells where. TRUE.
gboolean ptz_driver_canon_set_iris_mode(PTZDriverCanon *self, int iris_mode);
