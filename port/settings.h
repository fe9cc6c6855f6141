// What every transfer of the process goes by, whichever port it runs on: the values of the port opened or changed last.
#pragma once

#include <cstdint>

inline constexpr int PORT_BURST_LENGTH_MIN = 16; // bytes; the most is PORT_FRAME_MAX
inline constexpr int PORT_BURST_LENGTH_DEFAULT = 1024;
inline constexpr int PORT_REQUEST_PIN_MAX = 9999;

// How the request line is awaited before a burst. The numbers stand in configuration files.
enum PortTriggerMode {
    PORT_TRIGGER_LEVEL_THEN_EDGE = 0, // read once; a low line is waited for by its rising edge
    PORT_TRIGGER_POLL_LEVEL = 1,
    PORT_TRIGGER_EDGE = 2,
    PORT_TRIGGER_MAX = 3, // as 0, like every number that is none of these
};

struct PortTransferSettings {
    int burst_length = PORT_BURST_LENGTH_DEFAULT; // bytes
    int trigger_mode = PORT_TRIGGER_LEVEL_THEN_EDGE;
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
