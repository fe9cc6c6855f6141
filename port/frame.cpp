#include "port/frame.h"

#include <cstring>

namespace {

void put_big_endian(std::uint8_t *at, unsigned value)
{
    at[0] = static_cast<std::uint8_t>(value >> 8);
    at[1] = static_cast<std::uint8_t>(value);
}

} // namespace

std::uint16_t ptz_port_canon_checksum(const std::uint8_t *bytes, int length)
{
    // Whole blocks are summed in independent lanes, which the compiler turns into vector instructions.
    constexpr int LANES = 16;
    std::uint16_t lanes[LANES] = {};
    int i = 0;
    for (; length - i >= LANES; i += LANES)
        for (int lane = 0; lane < LANES; ++lane)
            lanes[lane] = static_cast<std::uint16_t>(lanes[lane] + bytes[i + lane]);
    unsigned sum = 0;
    for (const std::uint16_t lane : lanes)
        sum += lane;
    for (; i < length; ++i)
        sum += bytes[i];
    return static_cast<std::uint16_t>(0u - sum);
}

void ptz_port_canon_encode_frame(PortFrame &frame, const void *payload, int length)
{
    const auto size = static_cast<std::size_t>(length);
    if (size > 0)
        std::memcpy(frame.payload(), payload, size);
    std::memset(frame.payload() + size, 0, PORT_PAYLOAD_MAX - size);
    put_big_endian(frame.bytes, static_cast<unsigned>(length));
    put_big_endian(frame.bytes + 2, ptz_port_canon_checksum(frame.payload(), length));
}

PortFrameHeader ptz_port_canon_decode_header(const PortFrame &frame, bool big_endian)
{
    const auto word = [&](int at) {
        const unsigned first = frame.bytes[at];
        const unsigned second = frame.bytes[at + 1];
        return big_endian ? first << 8 | second : second << 8 | first;
    };
    return {static_cast<int>(word(0)), static_cast<std::uint16_t>(word(2))};
}
