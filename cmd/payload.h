// Parts of a payload that several operations share: the last brightness, and iris and gain.
#pragma once

#include "core/instance.h"
#include "vcc/command.h"

// Adds the brightness step in `brightness_level`, lifted while backlight compensation is on.
void payload_add_brightness(CommandBuffer &commands, const PTZDriverCanon *self);

// Adds the iris code: it goes out twice, the second record directly after the first.
void payload_add_iris(CommandBuffer &commands, int code);

// The code of a percent 0..100 of the iris' opening, or of the gain. Below 0, with an error logged, when the model has
// none; nothing is sent then. `shown` is the number that the iris' error names: the one that the caller was given.
int payload_iris_code(const PTZDriverCanon *self, int percent, int shown);
int payload_gain_code(const PTZDriverCanon *self, int percent);
