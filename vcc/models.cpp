#include "vcc/models.h"

// Nothing else stands in this file: a program that defines the list itself, as a test with a model of its own does,
// leaves the file out of the library.

namespace {

constexpr KnownModel MODELS[] = {{"KRX131", vccif_model_krx131}};

} // namespace

constinit const std::span<const KnownModel> CAMERA_MODELS{MODELS};
