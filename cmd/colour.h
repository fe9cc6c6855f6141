// Colour and white balance. All as described in send.h; levels and gains are 0..100, a negative one counts as too
// large; texts are matched in any letter case.
#pragma once

#include "core/instance.h"

// Of all colours together.
gboolean ptz_driver_canon_cmd_color_level(PTZDriverCanon *self, unsigned level);

// Of the colour whose parameter is named: "ColorLevelRed", "ColorHueRed" ...; "ColorHueMaster" and "ColorHue" mean all.
gboolean ptz_driver_canon_cmd_color_level_by_color(PTZDriverCanon *self, const char *color, unsigned level);
gboolean ptz_driver_canon_cmd_color_hue(PTZDriverCanon *self, const char *color, unsigned level);

// How strongly colour is suppressed: 0 (not at all) to 3.
gboolean ptz_driver_canon_cmd_chroma_suppress(PTZDriverCanon *self, unsigned level);

// A name of the model's table.
gboolean ptz_driver_canon_cmd_white_balance(PTZDriverCanon *self, const char *mode);

// The gains of manual white balance.
gboolean ptz_driver_canon_cmd_white_balance_manual_gain_r(PTZDriverCanon *self, unsigned gain);
gboolean ptz_driver_canon_cmd_white_balance_manual_gain_b(PTZDriverCanon *self, unsigned gain);

// Balances white once, for what the camera sees now.
gboolean ptz_driver_canon_cmd_white_balance_onepush(PTZDriverCanon *self);
