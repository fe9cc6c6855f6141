// Loads a driver plug-in.
#pragma once

#include "ptzorvel/ptz_driver.h"

#include <string>

// The function ptz_driver_new of the plug-in file, or null and why. The file stays loaded for the life of the process:
// the types that it registers cannot be taken back.
PTZDriverNewFunc load_plugin(const std::string &file, std::string &problem);
