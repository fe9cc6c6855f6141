// Firmware image files: which version they hold, and their way into the camera block.
#pragma once

#include <glib.h>

// The version in the header of the image file at `path`; 0, with a warning, when it cannot be opened, is shorter than
// its header or is something else than an image.
guint32 ptz_driver_canon_fw_file_version(const char *path);

// Reads the image file at `path` into memory and transfers it (ptz_driver_canon_fw_upgrade()). False without a message
// when it cannot be read whole.
bool ptz_driver_canon_fw_upgrade_file(const char *path);
