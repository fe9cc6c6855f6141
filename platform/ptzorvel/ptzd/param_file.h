// Parameter values that outlive the process: a key file in the state folder, one group per parameter group.
#pragma once

#include "ptzorvel/common/param_store.h"

#include <string>

// Gives the store the values that were kept for it. Values that do not fit (any more) are reported and left out. An
// empty folder name, and a folder without values, give nothing.
void load_params(const std::string &folder, ParamStore &store);

// Keeps the values of everything that users may set. A failure is reported, and changes nothing.
void save_params(const std::string &folder, const ParamStore &store);
