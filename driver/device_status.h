// How the camera block is: error bits, model and version, and the jobs that keep them current or write them down.
#pragma once

#include "core/instance.h"

// Writes "DeviceModVer": model and firmware version while the camera block is in service, else no value. TRUE when the
// framework accepted it.
gboolean ptz_driver_canon_update_modver(PTZDriverCanon *self);

// Writes "CamDeviceStatus" from the error bits and "CamLastTestDate", and sends the camera-error event. TRUE when the
// framework accepted both values.
gboolean ptz_driver_canon_update_device_status(PTZDriverCanon *self, guint32 error_bits);

// Sends the camera-error event for `device_error`, and logs it when there is an error.
void ptz_driver_canon_emit_camera_error(PTZDriverCanon *self);

// Writes "StatusUpdate". TRUE when the framework accepted it.
gboolean ptz_driver_canon_set_status_update(PTZDriverCanon *self, gboolean value);

// Queues the status poll, every 33 ms, unless it is queued already: it reads the status while "StatusUpdate" is on and
// calls idle_poll while the camera is at rest. The regular publication is a job of its own (utils/publish.h).
void ptz_driver_canon_start_status_poll(PTZDriverCanon *self);

// Has the status poll call idle_poll no sooner than 165 ms from now: a move has been asked for.
void ptz_driver_canon_hold_off_idle(PTZDriverCanon *self);

// Queues the status dump, twice a second into /tmp/camsts.log for diagnosis, unless it is queued already. It ends when
// the file cannot be written.
void ptz_driver_canon_start_status_dump(PTZDriverCanon *self);
