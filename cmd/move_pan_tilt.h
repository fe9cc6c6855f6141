// Pan and tilt movement, and the curve that shapes continuous speeds.
#pragma once

#include "core/instance.h"

// Moves the axes whose type is not 0; both must then be of one type. Absolute and relative values are degrees, the
// speed percent (0: as fast as it goes) is looked up in the speed curve. A continuous value is the speed in percent and
// its sign the direction: the drive travels to the end on that side until a stop; 0 stops. Targets and move modes are
// kept after a successful send only; the status is published in the end, sent or not.
gboolean ptz_driver_canon_cmd_move_pan_tilt(PTZDriverCanon *self, const PTZMotion *pan, const PTZMotion *tilt,
                                            const PTZSpeed *speed, int unused);

// Shapes a speed in percent: factor 1 leaves it, a smaller one makes slow speeds slower; 1 and 100 stay what they are.
// A factor outside 0..1 or a negative speed is reported and the speed returned as it is.
float ptz_driver_canon_apply_responsiveness(float speed, float factor);
