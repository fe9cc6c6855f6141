// The status blocks of the camera block and the frames that carry them.
#pragma once

#include "sim/camera.h"

#include <cstdint>
#include <span>

namespace sim {

// Writes the answer to a burst: a frame with the four status blocks, as many as fit, beginning with block `first`
// (0..3). `status` is what was sent last, and becomes what is sent now. Armed faults spoil it. Gives the block that the
// next answer begins with.
std::size_t write_answer(const Camera &camera, std::optional<StatusBlocks> &status, Faults &faults,
                         std::span<std::uint8_t> burst, std::size_t first, std::int64_t now);

// Writes a frame around any payload, empty or as long as fits. Armed faults spoil it.
void write_payload(std::span<const std::uint8_t> payload, Faults &faults, bool big_endian,
                   std::span<std::uint8_t> burst);

} // namespace sim
