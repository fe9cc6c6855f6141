// One frame each way: wait for the request line, then one full-duplex SPI burst.
#pragma once

#include "core/gpio_line.h"
#include "port/frame.h"
#include "port/spi_port.h"

// The bytes that a burst of `burst_length` really clocks: never more than a frame holds.
int ptz_port_canon_clocked_length(int burst_length);

// Waits for the request line, then clocks `sent` out and `received` in on the open device `fd`. A burst length above
// 1920 clocks 1920 bytes, one below 4 fails. 0 or more, or -1 after a message; a failed wait leaves the bus alone.
int ptz_port_canon_transfer(int fd, PortFrame &received, const PortFrame &sent, const GpioLine &request,
                            int burst_length, int trigger_mode);

// The port's port_read: clocks an empty frame out and copies at most `capacity` bytes of the payload that comes back.
// Bytes copied, 0 for an empty frame, -1 after a message.
int ptz_port_canon_read_frame(PTZPortCanon *self, void *destination, int capacity);

// The port's port_write: sends min(length, 1916) bytes, of which the burst clocks what fits. That count, or -1 after a
// message, also when only the frame that came back was bad; its payload is discarded.
int ptz_port_canon_write_frame(PTZPortCanon *self, const void *source, int length);
