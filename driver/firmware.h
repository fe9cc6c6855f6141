// Start-up's step that brings the camera block's firmware up to date.
#pragma once

#include "core/instance.h"

#include <string>

// The path of the file that holds the image.
std::string ptz_driver_canon_firmware_file();

// Brings the camera block to the version of the firmware file, if there is one and it is another. Whatever the transfer
// reports, the block decides: FALSE when it does not come back from it. A host is told what becomes of the image, and
// may hold it back.
gboolean ptz_driver_canon_upgrade_firmware(PTZDriverCanon *self);

// A camera block's firmware revision for people, 8 hexadecimal digits; "unknown" for the one that stands for none.
std::string ptz_driver_canon_firmware_text(guint32 revision);
