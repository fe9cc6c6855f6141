// Argument and precondition checks in the manner of GLib's g_return_val_if_fail(), naming the operation alone:
// "ptz_driver_canon_cmd_stop: assertion 'self' failed". (GLib's macro prints the whole C++ signature.)
//
// They are macros because they return from the function that they stand in, with its name and the text of the
// expression. A failed guard is a caller's mistake and goes to GLib's log, as a critical message; core/log.h and its
// sink, to which all other messages go, do not see it.
#pragma once

#include <glib.h>

// Returns `result` from the calling function, with a warning, unless `expression` holds.
#define GUARD(expression, result) GUARD_AS(expression, #expression, result)

// The same, with the text of the expression as it is to be reported.
#define GUARD_AS(expression, text, result)                                                                             \
    do {                                                                                                               \
        if (!(expression)) [[unlikely]] {                                                                              \
            g_return_if_fail_warning(G_LOG_DOMAIN, __func__, text);                                                    \
            return result;                                                                                             \
        }                                                                                                              \
    } while (false)
