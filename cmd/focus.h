// Auto focus, its modes, times and near limit. All as described in send.h.
#pragma once

#include "core/instance.h"

// Switches auto focus on or off, to `focus_manual_mode` (`mode`: PTZ_FOCUS_*). TRUE and nothing sent when it is that
// way already, any mode but auto counting as manual there; TRUE with a warning before start-up is complete. Taken,
// `auto_focus` and the framework's `focus_mode` change and there is no focus target (-1). Taken or not, `focus_moving`
// is then unknown (-1) and the status published.
gboolean ptz_driver_canon_cmd_auto_focus(PTZDriverCanon *self, int mode);

// focus_limit: nearest focus position, 1..9999; the camera block gets the code of the model's last limit at or below
// it.
gboolean ptz_driver_canon_cmd_auto_focus_limit(PTZDriverCanon *self, int focus_limit);

// The mode of auto focus: "auto", "zoom" or "interval". Here and below texts are matched in any letter case.
gboolean ptz_driver_canon_cmd_focus_auto_mode(PTZDriverCanon *self, const char *mode);

// "manual", "inf" (infinity) or "push" (one-push); kept in `focus_manual_mode` for the next time auto focus is switched
// off, also when sending failed. While auto focus is on a known text does nothing and returns TRUE.
gboolean ptz_driver_canon_cmd_focus_manual_mode(PTZDriverCanon *self, const char *mode);

// How sensitive auto focus is: "normal" or "low".
gboolean ptz_driver_canon_cmd_auto_focus_sensitivity(PTZDriverCanon *self, const char *mode);

// The activity and the interval time of auto focus, in camera units: 0..255.
gboolean ptz_driver_canon_cmd_focus_active_time(PTZDriverCanon *self, unsigned time);
gboolean ptz_driver_canon_cmd_focus_interval_time(PTZDriverCanon *self, unsigned time);
