// Counts heap allocations by who asks for them.
#pragma once

#include <cstdint>

struct Allocations {
    std::int64_t driver = 0;    // the product, also through GLib and the language's library
    std::int64_t stand_ins = 0; // the libraries in platform/
};

// Counts what this thread allocates from start to stop.
void allocations_start();
Allocations allocations_stop();
