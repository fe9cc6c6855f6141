// Sharpness, noise, contrast and what corrects the picture. All as described in send.h; levels are 0..100, a negative
// one counts as too large; texts are matched in any letter case.
#pragma once

#include "core/instance.h"

gboolean ptz_driver_canon_cmd_sharpness(PTZDriverCanon *self, unsigned level);

// "on" reduces noise by the level, "off" not at all; the level must be good for both.
gboolean ptz_driver_canon_cmd_noise_reduction(PTZDriverCanon *self, const char *mode, unsigned level);

// A name of the model's table: wide dynamic range, gamma curve, image stabilisation, correction of lens distortion.
gboolean ptz_driver_canon_cmd_wdr(PTZDriverCanon *self, const char *mode);
gboolean ptz_driver_canon_cmd_gamma(PTZDriverCanon *self, const char *mode);
gboolean ptz_driver_canon_cmd_image_stabilizer(PTZDriverCanon *self, const char *mode);
gboolean ptz_driver_canon_cmd_distortion_correction(PTZDriverCanon *self, const char *mode);

// "on" or "off", and how much fog is taken out while it is on.
gboolean ptz_driver_canon_cmd_defog(PTZDriverCanon *self, const char *mode);
gboolean ptz_driver_canon_cmd_defog_effect(PTZDriverCanon *self, unsigned level);
