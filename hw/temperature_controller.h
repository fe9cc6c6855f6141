// Temperature controllers that stop the camera block outside its operating range and start it again inside.
//
// The framework measures and calls them back; the limits come from the driver's configuration. The callbacks run the
// whole shut-down or start-up before they return.
#pragma once

#include "ptzorvel/ptz_temperature_controller.h"

// Watches the lower limit only: a camera without active cooling.
GType ptz_temperature_controller_generic_get_type();

// Derived from the generic one; watches the upper limit as well.
GType ptz_temperature_controller_active_cooling_get_type();
