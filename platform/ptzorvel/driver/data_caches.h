// Reading the data caches back: for ptzd and for tests. Not part of what a driver sees.
#pragma once

#include <glib.h>

// All five caches with their fields as last written and "open", as a new floating variant of type a{sa{sv}}.
GVariant *ptz_data_caches_snapshot();
