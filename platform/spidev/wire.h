// What travels between a host and a simulated board: one message per request and one per answer on a
// SOCK_SEQPACKET socket. A transfer's bytes follow the header in the same message, in both directions.
#ifndef SPIDEV_SPIDEV_WIRE_H
#define SPIDEV_SPIDEV_WIRE_H

#include <cstddef>
#include <cstdint>

namespace spidev_wire {

// Longest transfer, as the usual bufsiz of a spidev node.
inline constexpr std::size_t kMaxTransfer = 4096;

enum class Op : std::uint32_t { set_mode, get_mode, set_bits, get_bits, set_speed, get_speed, transfer };

struct Request {
    std::uint32_t sequence;
    Op op;
    std::uint32_t value;    // of the set_ requests
    std::uint32_t length;   // bytes of a transfer
    std::uint32_t speed_hz; // the further fields are those of struct spi_ioc_transfer
    std::uint16_t delay_usecs;
    std::uint8_t bits_per_word;
    std::uint8_t cs_change;
    std::uint8_t tx_nbits;
    std::uint8_t rx_nbits;
    std::uint8_t word_delay_usecs;
    std::uint8_t pad;
    std::int64_t sent_ns; // CLOCK_MONOTONIC; the wire is busy from here on
};

// How long the bytes of a transfer take on the wire, in nanoseconds.
inline std::int64_t wire_ns(const Request &request)
{
    return request.speed_hz == 0 ? 0 : std::int64_t{request.length} * 8'000'000'000 / request.speed_hz;
}

struct Reply {
    std::uint32_t sequence; // of the request that is answered
    std::int32_t status;    // 0 or more (bytes clocked by a transfer), or minus errno
    std::uint32_t value;    // of the get_ requests
    std::uint32_t length;   // bytes that follow
    std::int64_t busy_ns;   // so long the call lasts at least
};

} // namespace spidev_wire

#endif
