// Moving and stopping by the driver's operations. Command thread.
#pragma once

#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/move_request.h"

// False when the driver refused, or when the camera block did not take a command of it.
bool drive_axes(PTZDriver *driver, const DriverHost &host, const MoveRequest &move);

// Stops pan, tilt and zoom with the driver's stop where all three are among the axes, and every other axis by itself.
bool stop_axes(PTZDriver *driver, const DriverHost &host, AxisMask axes);
