// Where the driver's files are.
#pragma once

#include <string>

// The path of `file` in the configuration folder: /usr/share/ptz, or what PTZ_DATA_DIR says.
std::string data_path(const char *file);
