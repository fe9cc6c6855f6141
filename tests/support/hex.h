// Bytes as people read them.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// "10 01 00 05": upper-case hexadecimal bytes with blanks between them.
inline std::string to_hex(const std::uint8_t *bytes, std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, i == 0 ? "%02X" : " %02X", bytes[i]);
        text += byte;
    }
    return text;
}
