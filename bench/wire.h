// What goes over the SPI link, metered where the driver calls the device.
#pragma once

#include <cstdint>

struct WireMeter {
    std::int64_t bursts = 0;
    std::int64_t wire_ns = 0; // what the clocked bytes take at their speed
    std::int64_t call_ns = 0; // what the calls took
};

// Counts from the start of the process.
WireMeter wire_meter();

std::int64_t monotonic_ns();
