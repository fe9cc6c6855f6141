// The keys of the driver's configuration file, for its reader and for who looks for faults in it.
#pragma once

#include "core/instance.h"

#include <span>

enum class ConfigKind { pin, boolean, integer, real, real_as_float, text };

// Which presence rule a key follows.
enum class ConfigNeed { optional, required, with_fpga };

// One key of the file and the field that it fills.
struct ConfigKey {
    const char *name;
    ConfigKind kind;
    ConfigNeed need;
    void *(*field)(PTZDriverCanon *self);
};

inline constexpr char CONFIG_GROUP[] = "KRX_DRIVER";

std::span<const ConfigKey> ptz_driver_canon_config_keys();
