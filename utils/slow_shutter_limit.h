// Reads the exposure-time limit that a parameter holds.
#pragma once

#include <glib-object.h>

// Stores in *limit what `value` holds, a text that begins with a number or an integer: microseconds, or minus a number
// of frames. 1, or 0 and nothing stored for no value or one of another type, and with an error logged for a text
// without a number. A number that an int cannot hold becomes the nearest one.
gboolean ptz_driver_canon_utils_parse_slow_shutter_limit(const GValue *value, int *limit);
