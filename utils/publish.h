// Publishes where the camera looks and what is moving: to the status cache, and to the framework's data caches when
// they are in use.
#pragma once

#include "core/instance.h"

// One publication of the driver's current values. Takes `status_lock`: the caller must not hold it.
void ptz_driver_canon_utils_publish_status(PTZDriverCanon *self);

// One publication, then the publishing job, which repeats it every 33 ms, unless that job is queued already. It reads
// nothing from the camera block: that is the status poll (driver/device_status.h), which happens to have the same rate.
void ptz_driver_canon_utils_start_publishing(PTZDriverCanon *self);

// One run of the publishing job: publishes, and freezes the picture while the camera moves where that is wanted. 1 to
// go on, 0 when the temperature left the operating range or the driver was closed.
gboolean ptz_driver_canon_utils_status_job(PTZDriverCanon *self);

// The published records point into one driver; makes them forget `self`, which is about to go.
void ptz_driver_canon_utils_forget_records(const PTZDriverCanon *self);
