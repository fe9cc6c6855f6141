// The video as the rest of the camera sees it: blanked or shown, frozen or live.
#pragma once

#include "core/instance.h"

// Shows the video (on) or blanks it. 1, or 0 with a message.
gboolean ptz_driver_canon_set_video_output(PTZDriverCanon *self, gboolean on);

// Freezes the picture (on) or lets it live, and records that in `image_frozen`. 1, or 0 with a message and nothing
// recorded.
gboolean ptz_driver_canon_utils_set_image_freeze(PTZDriverCanon *self, gboolean on);
