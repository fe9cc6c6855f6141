#include "sim/trace.h"

#include "sim/frame.h"
#include "sim/records.h"
#include "sim/upgrade.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace sim {
namespace {

std::string_view next_word(std::string_view &text)
{
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    text.remove_prefix(begin);
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end);
    return word;
}

template <typename T>
bool to_number(std::string_view word, T &value, int base = 10)
{
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, base);
    return error == std::errc{} && end == word.data() + word.size();
}

bool to_time(std::string_view word, std::int64_t &us)
{
    std::int64_t seconds = 0;
    std::int64_t fraction = 0;
    const std::size_t point = word.find('.');
    if (point == std::string_view::npos || word.size() - point != 7)
        return false;
    constexpr std::int64_t kLatest = 1'000'000'000'000; // seconds
    if (!to_number(word.substr(0, point), seconds) || !to_number(word.substr(point + 1), fraction) || fraction < 0 ||
        seconds < 0 || seconds > kLatest)
        return false;
    us = seconds * 1'000'000 + fraction;
    return true;
}

bool to_bytes(std::string_view hex, std::size_t length, std::vector<std::uint8_t> &bytes)
{
    if (hex.size() % 2 != 0 || hex.size() / 2 > length)
        return false;
    bytes.assign(length, 0);
    for (std::size_t i = 0; i < hex.size() / 2; ++i) {
        if (!to_number(hex.substr(2 * i, 2), bytes[i], 16))
            return false;
    }
    return true;
}

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

constexpr std::string_view kLittleEndian = "# byte order: little endian";
constexpr std::string_view kBigEndian = "# byte order: big endian";

} // namespace

std::string trace_time(std::int64_t us)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%lld.%06lld", static_cast<long long>(us / 1'000'000),
                  static_cast<long long>(us % 1'000'000));
    return text.data();
}

std::string trace_header(bool big_endian)
{
    return "# krx-sim trace 1: seconds port sender length bytes\n" +
           std::string(big_endian ? kBigEndian : kLittleEndian) + "\n";
}

std::optional<bool> trace_byte_order(std::string_view line)
{
    if (line != kBigEndian && line != kLittleEndian)
        return std::nullopt;
    return line == kBigEndian;
}

std::string trace_line(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string line = trace_time(now) + " port" + std::to_string(port) + (from_host ? " host " : " block ") +
                       std::to_string(bytes.size()) + " ";
    while (!bytes.empty() && bytes.back() == 0)
        bytes = bytes.first(bytes.size() - 1);
    for (const std::uint8_t value : bytes) {
        line += kDigits[value >> 4];
        line += kDigits[value & 15];
    }
    line += '\n';
    return line;
}

bool parse_trace_line(std::string_view text, TraceLine &line)
{
    constexpr std::size_t kLongest = 65'536;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.remove_suffix(1);
    if (!to_time(next_word(text), line.us))
        return false;
    std::string_view port = next_word(text);
    const std::string_view sender = next_word(text);
    std::size_t length = 0;
    if (port.substr(0, 4) != "port" || !to_number(port.substr(4), line.port) ||
        (sender != "host" && sender != "block") || !to_number(next_word(text), length) || length > kLongest)
        return false;
    line.from_host = sender == "host";
    const std::string_view bytes = next_word(text);
    return next_word(text).empty() && to_bytes(bytes, length, line.bytes);
}

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

std::vector<std::string> decode_trace_line(std::string_view text, std::optional<bool> big_endian)
{
    TraceLine line;
    if (!parse_trace_line(text, line))
        return {};
    if (!line.from_host)
        return decode_block_frame(line.bytes, big_endian);
    const HostFrame frame = check_host_frame(line.bytes);
    if (frame.problem && frame.payload.empty())
        return {std::string("Malformed frame [") + frame.problem + "]"};
    if (frame.payload.empty())
        return {};
    const std::string loader = line.port == 1 ? describe_upgrade(frame.payload) : std::string();
    return loader.empty() ? decode_packet(frame.payload) : std::vector<std::string>{loader};
}

} // namespace sim
