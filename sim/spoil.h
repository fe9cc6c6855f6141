// What faults do to the bytes of a burst.
#pragma once

#include "sim/faults.h"

#include <cstdint>
#include <span>
#include <vector>

namespace sim {

// Spoils the payload of `length` bytes that stands in the block's burst, and puts its header before it.
void finish_frame(std::span<std::uint8_t> burst, std::size_t length, Faults &faults, bool big_endian);

// The wires between host and block, with the answers that still are on them.
class Wires {
  public:
    explicit Wires(Faults &faults) : faults_(faults) {}

    // What gets to the block of the host's burst; valid until the next one.
    std::span<const std::uint8_t> to_block(std::span<const std::uint8_t> host);
    // Turns the block's answer into what gets to the host.
    void to_host(std::span<std::uint8_t> answer, bool big_endian);

  private:
    using Bytes = std::vector<std::uint8_t>;

    Faults &faults_;
    Bytes received_; // by the block
    Bytes before_;   // what the host got last
    Bytes late_;     // what it gets next; empty when nothing is late
};

} // namespace sim
