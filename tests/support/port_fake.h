// A port without a device: records what is written to it and plays what is read.
#pragma once

#include "tests/support/driver_fixture.h"

// A new port on that bench, which must outlive it.
PTZPort *fake_port_new(PortBench *bench);
