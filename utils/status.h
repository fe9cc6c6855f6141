// Reads the camera block's status, derives what the driver keeps of it, and waits for it.
#pragma once

#include "core/instance.h"

// Reads one frame from the port, takes it into the status store, derives and publishes. A read that brings nothing
// changes nothing.
void ptz_driver_canon_cmd_receive_status(PTZDriverCanon *self);

// The refresh of the commands: receives, then tells whether all four status blocks are there - also when they came
// with an earlier refresh.
gboolean ptz_driver_canon_cmd_update_status(PTZDriverCanon *self);

// Takes the receive buffer into the store, empties it and derives positions, fields of view and motion flags from
// whatever the store then holds. *publish becomes 1. Returns what the store said: 1, or 0 for a bad run of blocks.
gboolean ptz_driver_canon_cmd_async_data(PTZDriverCanon *self, gboolean *publish);

// Clears the store and asks for the firmware revision until it comes, within cmd_retries - 2 refreshes. -1: it did not.
int vccif_wait_fw_revision(PTZDriverCanon *self);

// The camera-error bits: 1 init, 2 IO, 4 DSP, 8 zoom, 16 focus, 32 iris, 64 IR-cut, 128 pan/tilt. -1 without a driver.
int vccif_inq_error_info(const PTZDriverCanon *self);

// Polls the status ten times a second until all blocks are there, or the lens is at rest. 1, or 0 after 300 polls.
gboolean ptz_driver_canon_utils_wait_all_status(PTZDriverCanon *self);
gboolean ptz_driver_canon_utils_wait_lens_ready(PTZDriverCanon *self);
