// The driver object: a PTZDriver of the framework.
#pragma once

#include "core/instance.h"

GType ptz_driver_canon_get_type();

// A new driver of that video channel, for the caller. It has read its configuration and created its port and its
// temperature controller; the camera block is not touched before `open`.
PTZDriverCanon *ptz_driver_canon_new(int video_channel_nbr, int id);

// Sets the property "state" to PTZ_STATE_*.
void ptz_driver_canon_set_state(PTZDriverCanon *self, int state);
