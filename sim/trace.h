// The trace file: one text line per burst and direction, per level of a GPIO line, per request that came over the bus.
//   12.345678 port0 host 1024 0003FEDA616263
//   12.345678 line cam_power host high
// docs/trace.md has every kind. Lines that begin with "#" are remarks; one at the head says which byte of a block's
// frame header is first.
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

// The same for the level of a GPIO line, which the host drives or the block shows.
std::string trace_level(std::int64_t now, std::string_view line, bool from_host, bool high);
// And for a command that the simulator was given.
std::string trace_command(std::int64_t now, std::string_view command);

struct TraceLine {
    enum class Kind : std::uint8_t {
        burst,   // `port`, `from_host`, `bytes`
        error,   // `port`, `number`: the transfer failed with that errno; stands where the block's burst would
        level,   // `name`, `from_host`, `number`: 0 or 1
        call,    // `name`: the method, `text`: its arguments
        told,    // `name`: service and property, `text`: the value that the host read from it
        signal,  // `name`: path, interface and member, `text`: its arguments
        command, // `text`: what the simulator was told
        close,   // the host was told to end
    };
    Kind kind = Kind::burst;
    std::int64_t us = 0;
    unsigned port = 0;
    bool from_host = false;
    int number = 0;
    std::string name{};
    std::string text{};
    std::vector<std::uint8_t> bytes{}; // all that were clocked, filler included
};
// Reads such a line; false for remarks, empty lines and anything malformed.
bool parse_trace_line(std::string_view text, TraceLine &line);
// Whether the host only reads: its frame has no payload.
bool is_status_read(const TraceLine &line);

// What a packet says, one line per record; a line about the packet itself when it is malformed.
std::vector<std::string> decode_packet(std::span<const std::uint8_t> packet);
// What the blocks of a status run say, one line per block.
std::vector<std::string> decode_status(std::span<const std::uint8_t> run);
// What a line of a trace says; empty for frames without payload. `big_endian`: the header of a block's frame has its
// most significant byte first; where that is not known, it is read as it makes sense.
std::vector<std::string> decode_trace_line(const TraceLine &line, std::optional<bool> big_endian = std::nullopt);

} // namespace sim
