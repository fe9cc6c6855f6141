// The "Limit" parameters: how far the axes may go.
#pragma once

#include "core/ptz_driver_canon.h"

// Declares the group to the framework, with the model's own values filled in.
void ptz_driver_canon_install_limits(PTZDriverCanon *self);

// Reads every limit that has an integer value into the driver; start-up does so.
void ptz_driver_canon_read_limits(PTZDriverCanon *self);
