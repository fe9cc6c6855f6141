// What travels between libugpio.so and a simulated board over $PTZ_BOARD/gpio (SOCK_SEQPACKET). On connection the board
// sends a Hello with its lines and, as an SCM_RIGHTS descriptor, a page of memory that holds the levels: reading a
// level costs no message, unless the board wants to be asked. Everything else is one request and one reply.
#ifndef UGPIO_UGPIO_WIRE_H
#define UGPIO_UGPIO_WIRE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace ugpio_wire {

inline constexpr std::uint32_t kMagic = 0x4F49504B;
inline constexpr std::size_t kMaxLines = 32;
inline constexpr std::size_t kNameSize = 24;

struct LineInfo {
    std::int32_t number;
    std::array<char, kNameSize> name; // zero-terminated
};

struct Hello {
    std::uint32_t magic;
    std::uint32_t count;
    std::array<LineInfo, kMaxLines> lines;
};

// The shared page. A line that is marked as asked is claimed and read by requests, so that the board may refuse.
struct LevelPage {
    std::array<std::atomic<std::uint8_t>, kMaxLines> level;
    std::array<std::atomic<std::uint8_t>, kMaxLines> asked;
};
static_assert(std::atomic<std::uint8_t>::is_always_lock_free);

enum class Op : std::uint32_t { drive, edge, claim, read };

struct Request {
    std::uint32_t sequence;
    Op op;
    std::uint32_t line;  // index in the Hello
    std::uint32_t level; // of drive
};

// The reply to an edge request carries the descriptor: the master of a pty in packet mode.
struct Reply {
    std::uint32_t sequence;
    std::int32_t status; // 0, of read the level, or minus errno
};

} // namespace ugpio_wire

#endif
