// What every command operation shares: sending its records, and refusing what a guard forbids.
//
// A command operation takes the driver first, guards it, validates its input, converts it to camera units, fills a
// CommandBuffer and sends it. It returns TRUE when the camera block has taken the packet. Otherwise it returns FALSE
// after a guard's warning or a message of its own, and the driver's record is as it was.
//
// These change the record also when sending fails; their comments say what: brightness and backlight compensation, the
// manual focus mode and auto focus, the iris mode and full manual exposure, the capture mode (which may restart the
// camera block in between), stop (its targets), and all movements (a zoom, focus, iris or brightness move counts as
// moving, pan and tilt keep their speeds).
#pragma once

#include "core/instance.h"
#include "vcc/command.h"

#include <cstddef>
#include <cstdint>

// Wraps `cmd_data_size` bytes of records into a packet and writes it to the port, up to `retries` times in all, with a
// warning and a pause of 5 ms after each that fails. Refuses sizes of VCC_PACKET_PAYLOAD_MAX and more. FALSE when no
// attempt succeeded. The driver's record does not change either way.
gboolean ptz_driver_canon_cmd_send(PTZDriverCanon *self, const std::uint8_t *cmd_data, std::size_t cmd_data_size,
                                   int retries);

// Sends the buffer with the driver's number of attempts (`cmd_retries`). FALSE, with the message `failure` unless that
// is null, when none succeeded.
gboolean ptz_driver_canon_cmd_send_buffer(PTZDriverCanon *self, const CommandBuffer &commands, const char *failure);
