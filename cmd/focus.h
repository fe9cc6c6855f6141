// Auto focus, its modes, times and near limit. All as described in send.h.
#pragma once

#include "core/instance.h"

// mode PTZ_FOCUS_AUTO or PTZ_FOCUS_MANUAL (to `focus_manual_mode`). Nothing is sent when it is that way already.
// Refused with a warning, but TRUE, before start-up is complete. Afterwards `focus_moving` is unknown (-1), sent or
// not.
gboolean ptz_driver_canon_cmd_auto_focus(PTZDriverCanon *self, int mode);

// focus_limit: nearest focus position, 1..9999; the camera block gets the step at or below it.
gboolean ptz_driver_canon_cmd_auto_focus_limit(PTZDriverCanon *self, int focus_limit);

// "auto", "zoom" or "interval".
gboolean ptz_driver_canon_cmd_focus_auto_mode(PTZDriverCanon *self, const char *mode);

// "manual", "inf" or "push"; kept for the next time auto focus is switched off, also when sending failed. While auto
// focus is on it does nothing and returns TRUE.
gboolean ptz_driver_canon_cmd_focus_manual_mode(PTZDriverCanon *self, const char *mode);

// "normal" or "low".
gboolean ptz_driver_canon_cmd_auto_focus_sensitivity(PTZDriverCanon *self, const char *mode);

// Camera units, 0..255.
gboolean ptz_driver_canon_cmd_focus_active_time(PTZDriverCanon *self, unsigned time);
gboolean ptz_driver_canon_cmd_focus_interval_time(PTZDriverCanon *self, unsigned time);
