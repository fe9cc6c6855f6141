// What a trace says, in words.
#include "sim/frame.h"
#include "sim/trace.h"
#include "sim/upgrade.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace sim {
namespace {

// A field of a block; 0 beyond its end.
std::uint32_t field(std::span<const std::uint8_t> block, std::size_t offset, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = offset; i < offset + size; ++i)
        value = value << 8 | (i < block.size() ? block[i] : 0u);
    return value;
}

double signed_thousandths(std::span<const std::uint8_t> block, std::size_t offset)
{
    return static_cast<std::int32_t>(field(block, offset, 4)) / 1000.0;
}

std::string describe_block(std::span<const std::uint8_t> block)
{
    std::array<char, 160> text{};
    switch (block[0]) {
    case 0xF8: {
        const std::uint32_t exponents = field(block, 79, 1);
        const double optical = std::ldexp(field(block, 88, 2), -static_cast<int>(exponents >> 4));
        const double zoom = optical * (field(block, 80, 2) / 256.0 + 1.0);
        const double hfov = std::ldexp(field(block, 92, 2), -static_cast<int>(exponents & 15));
        std::snprintf(text.data(), text.size(), "Camera: zoom x%.2f, view %.2f deg, focus %u, lens status %02X", zoom,
                      hfov, field(block, 34, 2), field(block, 29, 1));
        break;
    }
    case 0xE0:
        std::snprintf(text.data(), text.size(), "Pan/tilt: pan %.3f deg, tilt %.3f deg, status %02X",
                      signed_thousandths(block, 16), signed_thousandths(block, 32), field(block, 4, 1));
        break;
    case 0x60:
        std::snprintf(text.data(), text.size(), "System: model %u, capture frequency %u, capture state %u",
                      field(block, 28, 1), field(block, 30, 1), field(block, 31, 1));
        break;
    case 0x40:
        std::snprintf(text.data(), text.size(), "Revisions: firmware %08X", field(block, 4, 4));
        break;
    default:
        std::snprintf(text.data(), text.size(), "Unknown block %02X, %zu bytes", block[0], block.size());
    }
    return text.data();
}

// The status run of a block's frame, or what is wrong with the frame.
struct BlockFrame {
    std::string problem{};
    std::span<const std::uint8_t> run{};
};

BlockFrame block_frame(std::span<const std::uint8_t> burst, bool big_endian)
{
    if (burst.size() < kFrameHeader)
        return {.problem = "Frame too short"};
    const unsigned low = burst[big_endian ? 1 : 0];
    const unsigned high = burst[big_endian ? 0 : 1];
    const std::size_t length = high << 8 | low;
    if (length + kFrameHeader > burst.size())
        return {.problem = "Frame of " + std::to_string(length) + " bytes does not fit its burst"};
    const auto run = burst.subspan(kFrameHeader, length);
    const unsigned checksum = static_cast<unsigned>(burst[big_endian ? 2 : 3] << 8 | burst[big_endian ? 3 : 2]);
    if (length != 0 && frame_checksum(run) != checksum)
        return {.problem = "Frame with a wrong checksum"};
    return {.run = run};
}

std::vector<std::string> decode_block_frame(std::span<const std::uint8_t> burst, std::optional<bool> big_endian)
{
    BlockFrame frame = block_frame(burst, big_endian.value_or(false));
    if (!big_endian && !frame.problem.empty()) {
        const BlockFrame other = block_frame(burst, true);
        if (other.problem.empty())
            frame = other;
    }
    if (!frame.problem.empty())
        return {frame.problem};
    if (frame.run.empty())
        return {};
    const std::string loader = describe_upgrade(frame.run);
    return loader.empty() ? decode_status(frame.run) : std::vector<std::string>{loader};
}

std::vector<std::string> decode_host_frame(const TraceLine &line)
{
    const HostFrame frame = check_host_frame(line.bytes);
    if (frame.problem && frame.payload.empty())
        return {std::string("Malformed frame [") + frame.problem + "]"};
    if (frame.payload.empty())
        return {};
    const std::string loader = line.port == 1 ? describe_upgrade(frame.payload) : std::string();
    return loader.empty() ? decode_packet(frame.payload) : std::vector<std::string>{loader};
}

} // namespace

std::vector<std::string> decode_packet(std::span<const std::uint8_t> bytes)
{
    const Packet packet = check_packet(bytes);
    if (packet.problem)
        return {std::string("Malformed packet [") + packet.problem + "]"};
    std::vector<std::string> lines;
    for (const Record &record : parse_records(packet.records))
        lines.push_back(describe(record));
    return lines;
}

std::vector<std::string> decode_status(std::span<const std::uint8_t> run)
{
    std::vector<std::string> lines;
    while (!run.empty()) {
        const std::size_t size = field(run, 2, 2) + std::size_t{4};
        if (size == 4 || size > run.size()) {
            lines.emplace_back("Block with a wrong length");
            break;
        }
        lines.push_back(describe_block(run.first(size)));
        run = run.subspan(size);
    }
    return lines;
}

std::vector<std::string> decode_trace_line(const TraceLine &line, std::optional<bool> big_endian)
{
    switch (line.kind) {
    case TraceLine::Kind::burst:
        return line.from_host ? decode_host_frame(line) : decode_block_frame(line.bytes, big_endian);
    case TraceLine::Kind::error:
        return {std::string("The transfer failed: ") + std::strerror(line.number)};
    case TraceLine::Kind::level:
        return {line.name + (line.number != 0 ? " high" : " low")};
    case TraceLine::Kind::close:
        return {"The host was told to end"};
    default:
        return {line.name + (line.name.empty() ? "" : " ") + line.text};
    }
}

} // namespace sim
