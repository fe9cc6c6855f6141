// Firmware image files: which version they hold, and their way into the camera block.
#pragma once

#include <glib.h>
#include <string>

// The version in the header of the image file at `path`; 0, with a warning, when it cannot be opened, is shorter than
// its header or is something else than an image.
guint32 ptz_driver_canon_fw_file_version(const char *path);

// What tells the image file at `path`, whose version is `version`, from others: the version, its size in bytes and the
// beginning of its SHA-256. Of more than FW_IMAGE_MAX bytes the rest is left out. Empty when it cannot be opened.
std::string ptz_driver_canon_fw_file_id(const char *path, guint32 version);

// Reads the image file at `path` into memory and transfers it (ptz_driver_canon_fw_upgrade()). False without a message
// when it cannot be read whole.
bool ptz_driver_canon_fw_upgrade_file(const char *path);
