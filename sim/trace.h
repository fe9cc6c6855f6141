// The trace file: one text line per burst and direction.
//   12.345678 port0 host 1024 0003FEDA616263
// time in seconds, port, who sent it ("host" or "block"), bytes clocked, the bytes in hexadecimal without the zeros at
// their end. Lines that begin with "#" are remarks; one at the head says which byte of a block's frame header is first.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

// What a trace begins with.
std::string trace_header(bool big_endian);
// Whether a line of that is the one about the byte order, and then which it is.
std::optional<bool> trace_byte_order(std::string_view line);

// "12.345678"
std::string trace_time(std::int64_t us);
// The line with its line feed.
std::string trace_line(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes);

struct TraceLine {
    std::int64_t us = 0;
    unsigned port = 0;
    bool from_host = false;
    std::vector<std::uint8_t> bytes; // all that were clocked, filler included
};
// Reads such a line; false for remarks, empty lines and anything malformed.
bool parse_trace_line(std::string_view text, TraceLine &line);

// What a packet says, one line per record; a line about the packet itself when it is malformed.
std::vector<std::string> decode_packet(std::span<const std::uint8_t> packet);
// What the blocks of a status run say, one line per block.
std::vector<std::string> decode_status(std::span<const std::uint8_t> run);
// What a line of a trace file says; empty for remarks, and for frames without payload. `big_endian`: the header of a
// block's frame has its most significant byte first; where that is not known, it is read as it makes sense.
std::vector<std::string> decode_trace_line(std::string_view text, std::optional<bool> big_endian = std::nullopt);

} // namespace sim
