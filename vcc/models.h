// The camera models that the driver knows.
#pragma once

#include "vcc/model.h"

#include <span>

struct KnownModel {
    const char *name; // as the block defaults give it
    const CameraModel *(*descriptor)();
};

// All of them; the first is taken as long as nothing says which it is.
extern const std::span<const KnownModel> CAMERA_MODELS;
