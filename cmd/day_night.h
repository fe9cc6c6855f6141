// Switching between day and night: the IR-cut filter, and when it goes in and out by itself. All as described in
// send.h; levels are 0..100, a negative one counts as too large.
#pragma once

#include "core/instance.h"

enum IrCutMode { IR_CUT_DAY = 1, IR_CUT_NIGHT = 2, IR_CUT_AUTOMATIC = 3 };

// IR_CUT_DAY puts the filter in place, IR_CUT_NIGHT removes it; anything else but IR_CUT_AUTOMATIC counts as day.
gboolean ptz_driver_canon_cmd_ircut(PTZDriverCanon *self, int mode);

// Automatic switching: the light at which it happens, by how much the light must change back, and for how long.
gboolean ptz_driver_canon_cmd_ircut_thresholds(PTZDriverCanon *self, unsigned level);
gboolean ptz_driver_canon_cmd_auto_ircut_filter_hysteresis(PTZDriverCanon *self, unsigned level);
gboolean ptz_driver_canon_cmd_auto_ircut_filter_wait_time(PTZDriverCanon *self, unsigned level);

// Corrects the focus for infrared light at the model's frequency, unless the text is "off".
gboolean ptz_driver_canon_cmd_ir_correction(PTZDriverCanon *self, const char *enabled);
