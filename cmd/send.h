// What every command operation shares: sending its records, and refusing what a guard forbids.
//
// A command operation takes the driver first, guards it, validates its input, converts it to camera units, fills a
// CommandBuffer and sends it. It returns TRUE when the camera block has taken the packet; otherwise it has logged its
// own message, and nothing in the driver has changed unless its comment says so.
#pragma once

#include "core/instance.h"
#include "vcc/command.h"

#include <cstddef>
#include <cstdint>

// Wraps `cmd_data_size` bytes of records into a packet and writes it to the port, up to `retries` times, 5 ms apart.
// Refuses sizes of VCC_PACKET_PAYLOAD_MAX and more. FALSE when no attempt succeeded; the driver is unchanged.
gboolean ptz_driver_canon_cmd_send(PTZDriverCanon *self, const std::uint8_t *cmd_data, std::size_t cmd_data_size,
                                   int retries);

// Sends the buffer with the driver's number of attempts. Says `failure` when that failed; null says nothing.
gboolean ptz_driver_canon_cmd_send_buffer(PTZDriverCanon *self, const CommandBuffer &commands, const char *failure);
