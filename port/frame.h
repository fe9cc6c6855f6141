// Transport frames as bytes: length (2), checksum (2), payload, zero filler up to the burst length.
//
// A host frame has the most significant byte of both header fields first. A received frame has the least significant
// one first unless the configuration says "BigEndian". No I/O here.
#pragma once

#include <cstdint>

inline constexpr int PORT_FRAME_HEADER = 4;
inline constexpr int PORT_PAYLOAD_MAX = 1916;
inline constexpr int PORT_FRAME_MAX = PORT_FRAME_HEADER + PORT_PAYLOAD_MAX; // the largest burst, too

struct PortFrame {
    alignas(16) std::uint8_t bytes[PORT_FRAME_MAX];

    std::uint8_t *payload() { return bytes + PORT_FRAME_HEADER; }
    const std::uint8_t *payload() const { return bytes + PORT_FRAME_HEADER; }
};

struct PortFrameHeader {
    int length; // 0..65535, as received: may exceed the frame
    std::uint16_t checksum;
};

// What, added to the sum of the `length` bytes, gives 0 modulo 65536.
std::uint16_t ptz_port_canon_checksum(const std::uint8_t *bytes, int length);

// Makes a host frame of `length` payload bytes (0..PORT_PAYLOAD_MAX); every byte of `frame` is written.
void ptz_port_canon_encode_frame(PortFrame &frame, const void *payload, int length);

PortFrameHeader ptz_port_canon_decode_header(const PortFrame &frame, bool big_endian);
