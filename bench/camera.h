// The driver on a simulated camera: a krx-sim process on a folder of its own, and a driver that powered it up.
#pragma once

#include "core/instance.h"

enum class Wire { at_once, real_time }; // how long a burst takes: nothing, or what its bytes take at their speed

// Starts a system bus of the benchmarks' own, unless it runs: the driver asks the simulator's services over it.
void camera_use_bus();

// The driver, running, on a camera with that wire; it is made when it is first asked for, which takes seconds, and one
// with the other wire is put away. Null when it could not be made; a message has been written then.
PTZDriverCanon *camera_driver(Wire wire);

// Closes the driver and ends the simulator. False when the simulator counted an offence against the protocol.
bool camera_put_away();

// A whole absolute move of zoom, pan and tilt through the framework's call: there or back, so that every one of a row
// really moves. False when it failed.
gboolean camera_move(PTZDriverCanon *driver, bool there);

// Messages that the driver has logged: a benchmark during which there was one measured something else.
int camera_messages();
