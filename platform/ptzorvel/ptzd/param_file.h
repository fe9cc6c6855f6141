// Parameter values that outlive the process: a key file in the state folder, one group per parameter group.
#pragma once

#include "ptzorvel/common/param_store.h"

#include <string>

inline constexpr char kParamFile[] = "parameters.conf";

// Where parameters are kept when the command line does not say: $STATE_DIRECTORY, which a service manager sets; else
// the folder of the simulated board, if there is one; else /var/lib/ptz.
std::string default_state_folder();

// Gives the store the values that were kept for it. Values that do not fit (any more) are reported and left out. An
// empty folder name, and a folder without values, give nothing.
void load_params(const std::string &folder, ParamStore &store);

// What is to be kept: the values that users may set and that are not the defaults.
std::string params_text(const ParamStore &store);

// Removes what writers that were killed have left in the folder.
void remove_stray_params(const std::string &folder);
