// The request line: the camera block drives it high when it is ready for a burst.
#pragma once

#include "core/gpio_line.h"

// Waits until the line reads high. Trigger mode 1 polls it every millisecond, at most 10000 times; mode 2 waits for a
// rising edge; any other mode reads it once and then waits for an edge. 0 or more, or -1 after a message.
int ptz_port_canon_wait_request(const GpioLine &request, int trigger_mode);

// Waits for a rising edge, up to 10 seconds; ends at once when the line is high. 1, or -1 after a message.
int ptz_port_canon_wait_request_edge(const GpioLine &request);

// Reads the line once: 0 and the level (0 or 1), or -1 after a message.
int ptz_port_canon_get_request_level(const GpioLine &request, int *level);
