// When the picture freezes. The freezing itself is done while the camera moves (driver/move.cpp, utils/publish.h).
#pragma once

#include "core/instance.h"

// Freezes the picture during no moves ("off"), all moves ("on") or moves to presets ("auto"), in any letter case: keeps
// that in `image_freeze_mode`. Nothing is sent. FALSE without a message, and nothing kept, for any other text. A model
// without image freeze takes any text, TRUE, and keeps nothing.
gboolean ptz_driver_canon_cmd_image_freeze(PTZDriverCanon *self, const char *mode);
