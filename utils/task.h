// Work handed to the framework's command thread. A queued task keeps the driver alive until it has ended.
#pragma once

#include "core/instance.h"

using DriverTask = gboolean (*)(PTZDriverCanon *self);

// Runs `function` again and again, every `interval_us`, until it returns 0.
void ptz_driver_canon_queue_repeating(PTZDriverCanon *self, DriverTask function, gint64 interval_us);

// Runs `function` once, as soon as the command thread is free. It is not run when the driver has been closed meanwhile.
void ptz_driver_canon_queue_once(PTZDriverCanon *self, DriverTask function);
