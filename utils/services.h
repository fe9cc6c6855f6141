// What other services of the camera decide and the camera block follows: the capture mode of the image pipeline and
// the rotation of the streaming service, both over the system bus.
//
// The readers block for up to ten seconds. All report failures themselves and return FALSE; nothing is tried twice.
#pragma once

#include "core/instance.h"

// Gets the system bus on first need; the driver keeps it.
gboolean ptz_driver_canon_utils_get_connection(PTZDriverCanon *self);

// The name of the image pipeline's capture mode, e.g. "1080p30": a new text for the caller (g_free).
gboolean ptz_driver_canon_utils_get_video_capture_mode(PTZDriverCanon *self, char **video_capture_mode_str);

// Degrees, as the streaming service gives them.
gboolean ptz_driver_canon_utils_get_rotation(PTZDriverCanon *self, int *rotation);

// Told of every change of the image pipeline's properties, with the arguments of PropertiesChanged, on the thread whose
// main context was the default one at subscribing. It is not called for a driver that is being finalized.
using CaptureListener = void (*)(PTZDriverCanon *self, GVariant *parameters);

// One subscription at a time: a further one replaces it. It holds no reference on the driver.
gboolean ptz_driver_canon_utils_subscribe_capture_changes(PTZDriverCanon *self, CaptureListener listener);

// Does nothing without a subscription.
void ptz_driver_canon_utils_unsubscribe_capture_changes(PTZDriverCanon *self);
