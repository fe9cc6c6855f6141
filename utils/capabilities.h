// What the camera can do, as lists of "key=value" texts for the framework's clients.
#pragma once

#include "core/instance.h"
#include "vcc/zoom_scale.h"

// category: "focus", "speed", "zoom", or null or empty for all three in this order; any other gives an empty list.
// *list: new and null-terminated, at most ten texts, for the caller (g_strfreev). Always TRUE.
gboolean ptz_driver_canon_utils_get_capabilities(const PTZDriverCanon *self, const char *category, char ***list);

// Magnification to position on the framework's zoom scale, see ptz_driver_canon_zoom_mag_to_zenta().
inline float ptz_driver_canon_utils_magnification_to_zoom(const PTZDriverCanon *self, float magnification)
{
    return ptz_driver_canon_zoom_mag_to_zenta(self, magnification);
}
