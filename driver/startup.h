// The camera block's life: from power-off to running, out of service, and again from the start.
#pragma once

#include "core/instance.h"
#include "hw/life_door.h"

// Full restart, whatever the state: stops the camera, forgets what it reported and starts up again. How that went shows
// in "state" and `driver_initialized`. A closed driver stays as it is.
void ptz_driver_canon_reset(PTZDriverCanon *self);

// Ends what `close` began: tasks and callbacks count again, and the driver holds the picture. Nothing is started.
void ptz_driver_canon_back_in_service(PTZDriverCanon *self);

// Gets hold of the picture, or says that it could not.
void ptz_driver_canon_take_image_source_control(PTZDriverCanon *self);

// ptz_driver_canon_startup as the framework's start routine. One that the framework gets round to only after the driver
// was closed does nothing.
gboolean ptz_driver_canon_start_routine(PTZDriver *driver);
