// Ports from the configuration file krx_port.conf, and their presence on D-Bus.
#pragma once

#include "ptzorvel/ptz_port.h"

#include <string>

// The group of krx_port.conf that is about all ports, and that of one.
inline constexpr char PORTS_GROUP[] = "KRX_PORTS";
std::string ptz_port_canon_group(int port_index);
// No board has more; a number beyond is a slip of the pen that would keep the loading busy for hours.
inline constexpr int PORTS_MAX = 256;

// A new port for group "KRX_PORT<port_index>" of the file, closed, with its D-Bus server; the caller owns it. The file
// is read once per process. Null after a message when the file cannot be used, the index is not below the number of
// ports, or the port's group is missing.
PTZPort *ptz_port_canon_new(int port_index);

// Forgets what was read, so that the next ptz_port_canon_new() reads the file again.
void ptz_port_canon_forget_config();
