// What several commands have the camera do, and how they wait for it.
#pragma once

#include "axes.h"
#include "service.h"

#include <string>
#include <utility>
#include <vector>

// Sends a move. speed: percent of absolute and relative moves, 0: as fast as the camera goes; preset: it goes to a
// stored preset; id: the number by which MoveDone names it, 0: none.
void send_move(Service &service, const std::vector<AxisMove> &moves, double speed = 0, bool preset = false,
               guint32 id = 0);

// The parameters of a group, or of all with "": dictionaries. Those that one of them has to choose from: value and
// label.
GVariantOwned list_parameters(Service &service, const std::string &group);
std::vector<std::pair<std::string, std::string>> parameter_choices(GVariant *entry);

// A parameter's value, and setting it (a text is converted to its kind).
GVariantOwned get_parameter(Service &service, const std::string &group, const std::string &name);
void set_parameter(Service &service, const std::string &group, const std::string &name, const std::string &text);

// Polls until the state is `wanted`, also while no ptzd is there yet. Throws Failure (EXIT_NO_ANSWER) after `seconds`,
// Interrupted on Ctrl-C.
std::pair<int, std::string> wait_for_state(Service &service, int wanted, double seconds);
