// The driver's side of what a host may add (platform/host/driver_host.h): its properties and signals.
#pragma once

#include <glib-object.h>

// Adds them to the class of the driver object.
void ptz_driver_canon_install_host(GObjectClass *klass);
