// The request line: the camera block drives it high when it is ready for a burst.
#pragma once

#include "core/gpio_line.h"

// How long a low line is waited for, in every trigger mode. The simulated block reckons with it, too:
// kRequestPatienceUs in sim/upgrade.h is its twin.
inline constexpr int REQUEST_TIMEOUT_S = 10;

// Waits until the line reads high. `trigger_mode` is a PortTriggerMode: PORT_TRIGGER_POLL_LEVEL polls it every
// millisecond, PORT_TRIGGER_EDGE waits for a rising edge, any other mode reads it once and then waits for an edge. 0 or
// more, or -1 after a message.
int ptz_port_canon_wait_request(const GpioLine &request, int trigger_mode);

// Waits for a rising edge, up to REQUEST_TIMEOUT_S; ends at once when the line is high. 1, or -1 after a message.
int ptz_port_canon_wait_request_edge(const GpioLine &request);

// Reads the line once: 0 and the level (0 or 1), or -1 after a message.
int ptz_port_canon_get_request_level(const GpioLine &request, int *level);
