// Rotation, mode, scan and outputs of the video.
#pragma once

#include "core/instance.h"

// 0 or 180 degrees.
gboolean ptz_driver_canon_cmd_rotate(PTZDriverCanon *self, int degrees);

// Sets the video mode by its name, e.g. "1080p60" (any letter case), with its scan: "progressive" or "interlaced", of
// which interlaced exists at 1080p50 and 1080p60 alone.
gboolean ptz_driver_canon_cmd_video_mode(PTZDriverCanon *self, const char *mode, const char *scan);

// "hdmi" or "sdi".
gboolean ptz_driver_canon_cmd_video_output(PTZDriverCanon *self, const char *mode);

// "level_a" or "level_b".
gboolean ptz_driver_canon_cmd_sdi_mapping_mode(PTZDriverCanon *self, const char *mode);
