// Brightness while backlight compensation is on.
#pragma once

#include <glib.h>

struct PTZDriverCanon;

// The brightness step to send for `step`: 6 steps brighter while backlight compensation is on, at most the largest step
// of the model. Kept in 8 bits. 0 without a driver.
gint8 ptz_driver_canon_utils_shift_brightness_if_backlight_on(const PTZDriverCanon *self, gint8 step);
