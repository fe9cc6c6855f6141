// The framework's own parameters of the picture: the group "ImageSource".
#pragma once

#include "ptzorvel/ptz_dynamical_properties.h"

// The row of that name; null when the framework has no such parameter. Constant.
const PTZParamDefinition *imaging_param(const char *name);
