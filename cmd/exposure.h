// Exposure: mode and priority, metering window, shutter, gain, iris and their limits. All as described in send.h;
// levels and percents are 0..100, texts are matched in any letter case.
#pragma once

#include "core/instance.h"

// Sets the exposure to `priority`, or, when that is null, to `mode`; names of the model's tables. `mode` is not looked
// at beside a priority. On success `exposure_mode` becomes the priority as the table writes it, or none.
gboolean ptz_driver_canon_cmd_exposure_mode(PTZDriverCanon *self, const char *mode, const char *priority);

// How fast automatic exposure follows the light. A negative level counts as too large.
gboolean ptz_driver_canon_cmd_exposure_response(PTZDriverCanon *self, unsigned level);

// The part of the picture that is metered, a name of the model's table.
gboolean ptz_driver_canon_cmd_exposure_window(PTZDriverCanon *self, const char *window);

// Spot metering: `enabled` "off" meters `window`; any other text meters the spot area, whatever the window.
gboolean ptz_driver_canon_cmd_spot_exposure(PTZDriverCanon *self, const char *window, const char *enabled);

// Where the spot is, 0..100 from left and top. Negative positions count as too large.
gboolean ptz_driver_canon_cmd_spot_exposure_position(PTZDriverCanon *self, unsigned pos_x, unsigned pos_y);

// value: percent, 0 being the shortest exposure, or with `manual` an exposure time in microseconds; in both cases minus
// a number of frames when negative. The camera block gets the shortest of its exposures that is at least as long.
gboolean ptz_driver_canon_cmd_shutter(PTZDriverCanon *self, int value, gboolean manual);

// The longest exposure that automatic exposure may choose: with slow shutter `mode` "on" the limit, in microseconds or
// minus a number of frames; with "off" one frame.
gboolean ptz_driver_canon_cmd_max_exposure_time(PTZDriverCanon *self, const char *mode, int limit);

// The camera block gets its first gain of at least that percent.
gboolean ptz_driver_canon_cmd_gain(PTZDriverCanon *self, int percent);

// The largest gain that automatic exposure may choose, at high sensitivity (`mode` "on") or normal (any other text).
gboolean ptz_driver_canon_cmd_max_gain(PTZDriverCanon *self, const char *mode, int percent);

// value: percent of opening, or with `invert` of closing.
gboolean ptz_driver_canon_cmd_iris(PTZDriverCanon *self, int value, gboolean invert);

// Brightness by iris and gain alone: below 50 the iris opens towards 0, above 50 the gain rises. A negative level
// counts as too large.
gboolean ptz_driver_canon_cmd_manual_bright_level(PTZDriverCanon *self, unsigned level);
