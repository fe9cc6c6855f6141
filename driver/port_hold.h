// What start-up holds of the port: one open of it, and the reference that goes with that.
#pragma once

#include "core/instance.h"

// Opens the port afresh; however often that is done, one open and one reference are held. FALSE when it cannot be
// opened: then nothing is held.
gboolean ptz_driver_canon_hold_port(PTZDriverCanon *self);

// Closes the port and gives up the reference, if they are held.
void ptz_driver_canon_release_port(PTZDriverCanon *self);
