// Transport frames and packets as the camera block reads and writes them.
#pragma once

#include <cstdint>
#include <span>

namespace sim {

inline constexpr std::size_t kFrameHeader = 4;

// The 16-bit two's complement of the sum of the bytes.
std::uint16_t frame_checksum(std::span<const std::uint8_t> payload);

// What a host's frame holds: its payload, empty when `problem` names an offence.
struct HostFrame {
    std::span<const std::uint8_t> payload;
    const char *problem = nullptr;
};
HostFrame check_host_frame(std::span<const std::uint8_t> burst);

// The records of a packet, or the offence.
struct Packet {
    std::span<const std::uint8_t> records;
    const char *problem = nullptr;
};
Packet check_packet(std::span<const std::uint8_t> packet);

// Whether a host takes the block's frame as one with a payload.
bool carries_payload(std::span<const std::uint8_t> burst, bool big_endian);

// Writes the header of a frame whose payload already stands behind it; `length` may differ from the payload's.
void write_header(std::span<std::uint8_t> burst, std::size_t length, std::uint16_t checksum, bool big_endian);

} // namespace sim
