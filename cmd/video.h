// Rotation, mode, scan and outputs of the video. All as described in send.h; texts are matched in any letter case.
// Nothing is kept of what is sent: what is to outlast a restart, the caller keeps.
#pragma once

#include "core/instance.h"

// Turns the picture: 0 or 180 degrees.
gboolean ptz_driver_canon_cmd_rotate(PTZDriverCanon *self, int degrees);

// Sets the video mode by its name in the model's table, e.g. "1080p60", with its scan: "progressive" or "interlaced".
// Interlaced exists at 1080p50 and 1080p60 alone; any other mode then gets the progressive scan. A null scan is refused
// like an unknown one.
gboolean ptz_driver_canon_cmd_video_mode(PTZDriverCanon *self, const char *mode, const char *scan);

// The connector that the video goes out by: "hdmi" or "sdi".
gboolean ptz_driver_canon_cmd_video_output(PTZDriverCanon *self, const char *mode);

// The mapping of the SDI output: "level_a" or "level_b".
gboolean ptz_driver_canon_cmd_sdi_mapping_mode(PTZDriverCanon *self, const char *mode);
