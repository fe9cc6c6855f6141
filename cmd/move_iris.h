// Iris movement, which is movement of the whole manual exposure: one position, 1..9999, drives first the exposure time
// up to one frame, then the iris, then the gain, then the exposure time up to the slowest shutter.
#pragma once

#include "core/instance.h"

// To the position, or by it from where the exposure now is; only a relative move is kept in 1..9999. TRUE, with
// `iris_zenta` at the position and `iris_moving` 0, whatever came of it; a continuous move, or any other type, is
// refused with an error and `iris_moving` left at 1.
gboolean ptz_driver_canon_cmd_move_iris(PTZDriverCanon *self, int move_type, int value);

// Sets shutter, iris and gain for that position, 1..9999, and, when a priority other than manual is in force, the
// exposure mode to manual. Once the position is good, `auto_iris` is off, the framework's `iris_mode` manual,
// `target.iris_zenta` the position and brightness not known, and they stay so on failure; `iris_moving` is then left at
// 1. TRUE when the camera block has taken the three, whatever became of the mode; FALSE with a message otherwise.
gboolean ptz_driver_canon_cmd_full_manual_exposure(PTZDriverCanon *self, int iris_zenta);

// Refreshes the status and stores in *position what shutter, iris and gain there amount to, by the scale above; values
// that do not lie on the scale give a position that may leave 1..9999. FALSE with an error, and nothing stored, when
// the capture mode has no exposure times.
gboolean ptz_driver_canon_get_exposure_position(PTZDriverCanon *self, int *position);
