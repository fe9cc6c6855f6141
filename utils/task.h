// Work handed to the framework's command thread. A queued task keeps the driver alive until it has ended.
#pragma once

#include "core/instance.h"

using DriverTask = gboolean (*)(PTZDriverCanon *self);

// Runs the function of `job` again and again, every `interval_us`, until it returns 0; does nothing while that job is
// queued. A job that the queue does not take has ended.
void ptz_driver_canon_start_job(PTZDriverCanon *self, Job job, DriverTask function, gint64 interval_us);

// Runs `function` once, as soon as the command thread is free. It is not run when the driver has been closed meanwhile.
void ptz_driver_canon_queue_once(PTZDriverCanon *self, DriverTask function);
