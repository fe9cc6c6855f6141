// What the driver learns before it meets the camera block: its configuration file and the model it is meant for.
#pragma once

#include "core/instance.h"

// Reads the key file at `path` into the driver. TRUE when the whole file was good; otherwise the first fault has been
// logged, and fields read before it keep what was read.
gboolean ptz_driver_canon_load_config(PTZDriverCanon *self, const char *path);

// Takes the model and the default capture mode from the block defaults; without them the default descriptor.
void ptz_driver_canon_read_block_defaults(PTZDriverCanon *self);
