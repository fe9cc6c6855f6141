// What every transfer of the process goes by, whichever port it runs on: the values of the port opened or changed last.
#pragma once

#include <cstdint>

struct PortTransferSettings {
    int burst_length = 1024; // bytes
    int trigger_mode = 0;    // 0..3
    bool big_endian = false; // received frame headers only
    // Written to the device at open and read back from it.
    std::uint32_t spi_mode = 9; // clock phase 1, least significant bit first
    std::uint8_t bits_per_word = 8;
    std::uint32_t max_speed_hz = 3000000;
    // When an edge wait last ended with the line high.
    struct {
        std::uint32_t seconds = 0;
        std::uint32_t microseconds = 0;
    } last_request_time;
};

inline PortTransferSettings port_transfer_settings;
