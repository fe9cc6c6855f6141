// The door from the temperature controllers up to the driver's life cycle: defined in driver/.
#pragma once

#include "core/instance.h"

// Brings the camera block up, from power to "state" 1 (or 7); always 1.
gboolean ptz_driver_canon_startup(PTZDriverCanon *self);

// Takes the camera block out of service.
void ptz_driver_canon_stop_camera(PTZDriverCanon *self);
