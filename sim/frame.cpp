#include "sim/frame.h"

#include <algorithm>

namespace sim {
namespace {

unsigned read16(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return static_cast<unsigned>(bytes[offset] << 8 | bytes[offset + 1]);
}

} // namespace

std::uint16_t frame_checksum(std::span<const std::uint8_t> payload)
{
    unsigned sum = 0;
    for (const std::uint8_t value : payload)
        sum += value;
    return static_cast<std::uint16_t>(0x10000u - (sum & 0xFFFFu));
}

HostFrame check_host_frame(std::span<const std::uint8_t> burst)
{
    if (burst.size() < kFrameHeader)
        return {{}, "frame-length"};
    const std::size_t length = read16(burst, 0);
    if (length + kFrameHeader > burst.size())
        return {{}, "frame-length"};
    const auto payload = burst.subspan(kFrameHeader, length);
    if (frame_checksum(payload) != read16(burst, 2))
        return {{}, "frame-checksum"};
    const auto filler = burst.subspan(kFrameHeader + length);
    const bool clean = std::all_of(filler.begin(), filler.end(), [](std::uint8_t value) { return value == 0; });
    return {payload, clean ? nullptr : "frame-filler"};
}

Packet check_packet(std::span<const std::uint8_t> packet)
{
    if (packet.size() < 4 || packet[0] != 0x10 || packet[1] != 0x01)
        return {{}, "packet-header"};
    const std::size_t length = read16(packet, 2);
    if (length == 0 || length + 4 != packet.size())
        return {{}, "packet-length"};
    return {packet.subspan(4), nullptr};
}

bool carries_payload(std::span<const std::uint8_t> burst, bool big_endian)
{
    if (burst.size() < kFrameHeader)
        return false;
    const auto get = [&](std::size_t offset) {
        return static_cast<std::size_t>(burst[offset + (big_endian ? 1 : 0)] | burst[offset + (big_endian ? 0 : 1)]
                                                                                   << 8);
    };
    const std::size_t length = get(0);
    return length != 0 && length + kFrameHeader <= burst.size() &&
           frame_checksum(burst.subspan(kFrameHeader, length)) == get(2);
}

void write_header(std::span<std::uint8_t> burst, std::size_t length, std::uint16_t checksum, bool big_endian)
{
    const auto put = [&](std::size_t offset, std::size_t value) {
        burst[offset + (big_endian ? 1 : 0)] = static_cast<std::uint8_t>(value);
        burst[offset + (big_endian ? 0 : 1)] = static_cast<std::uint8_t>(value >> 8);
    };
    if (burst.size() < kFrameHeader)
        return;
    put(0, length);
    put(2, checksum);
}

} // namespace sim
