// Boot: from power-off to a camera block that answers.
#pragma once

#include "core/instance.h"

// Powers the camera block up until it answers as a known model, whose code and descriptor the driver takes. FALSE, with
// a message, when it does not; the driver then keeps the descriptor it had.
//
// From then on everything follows the model found, the capabilities that the framework sees among it. Only the
// parameters were declared before, once, for the model that was expected: which there are, the field angles and the
// default of MinFocus in the group "Limit".
gboolean ptz_driver_canon_boot(PTZDriverCanon *self);
