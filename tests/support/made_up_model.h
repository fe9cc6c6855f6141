// A second camera model, for programs that link it: it takes the product's list of models over and stands in it as
// "MADEUP", number 2, behind the real one. Whatever the tests ask of a model differs from the real one's.
#pragma once

#include "vcc/models.h"

const CameraModel *made_up_model();
