// Reads the exposure-time limit that a parameter holds.
#pragma once

#include <glib-object.h>

// Stores in *limit the number that `value` holds, an integer or a text that begins with one: microseconds, or minus a
// number of frames. A number in a text that an int cannot hold becomes the nearest one. 1; 0 and nothing stored for no
// value, one of another type and, with an error logged, a text without a number.
gboolean ptz_driver_canon_utils_parse_slow_shutter_limit(const GValue *value, int *limit);
