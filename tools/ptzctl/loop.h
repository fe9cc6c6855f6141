// Waiting: the one place where ptzctl lets time pass and reads the clock.
#pragma once

#include <glib.h>

#include <functional>

// Microseconds of a steady clock.
gint64 steady_now();

// The same clock as fast as the camera's, which PTZ_TIME_SCALE speeds up on a PC: for how long something lasts there.
gint64 camera_now();

enum class LoopEnd { Finished, Interrupted };

// Calls `tick` at once and then every `interval_ms` until it returns false (Finished) or SIGINT or SIGTERM comes
// (Interrupted); what arrives on the bus meanwhile is delivered. A Failure thrown by `tick` comes out of run_loop().
LoopEnd run_loop(unsigned interval_ms, const std::function<bool()> &tick);
