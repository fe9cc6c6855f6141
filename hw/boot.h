// Boot: from power-off to a camera block that answers.
#pragma once

#include "core/instance.h"

// Powers the camera block up until it answers as a known model, whose code and descriptor the driver takes. FALSE, with
// a message, when it does not.
gboolean ptz_driver_canon_boot(PTZDriverCanon *self);
