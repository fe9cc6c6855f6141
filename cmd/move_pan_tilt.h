// Pan and tilt movement, and the curve that shapes continuous speeds.
#pragma once

#include "core/instance.h"

// Moves the axes whose type (PTZ_MOVE_*) is not 0; both must then be of one type. Values and speed are 16.16.
//
// Absolute and relative values are degrees, -170..170 for pan and -20..90 for tilt, not kept in range here; a relative
// 0 stops the axis. `speed`, percent of the drive's speed, 0: as fast as it goes, is looked up in the model's curve. A
// continuous value is the speed in percent and its sign the direction: the drive travels to the end on that side, as
// the limits allow, until a stop or another move; 0 stops it.
//
// TRUE when the camera block has taken the move. FALSE with a message when it has not, or when the types differ; FALSE
// alone when no axis is asked for. The targets and move modes are kept after a success only. `pan_speed` and
// `tilt_speed` are kept before sending and stay after a failure: of an absolute or relative move the magnitudes of both
// values, of a continuous one the speeds of the axes that move. But for a difference of types, the status is published
// in the end.
gboolean ptz_driver_canon_cmd_move_pan_tilt(PTZDriverCanon *self, const PTZMotion *pan, const PTZMotion *tilt,
                                            const PTZSpeed *speed, int unused);

// Shapes a speed in percent by a curve through 1 and 100: the larger the factor, 0..1, the slower slow speeds become; 0
// bends nothing, and exactly 1 means no curve. A speed below 1 or above 100 is returned as it is; so is one that is
// negative, or comes with a factor outside of 0..1, with an error logged.
float ptz_driver_canon_apply_responsiveness(float speed, float factor);
