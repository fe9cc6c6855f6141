// Firmware images: a header of 128 bytes, which names the format and the version, and the rest.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace sim {

inline constexpr std::size_t kImageHeader = 128;

// An image of `size` bytes, at least kImageHeader; what follows the header depends on the version alone.
std::vector<std::uint8_t> make_image(std::uint32_t version, std::size_t size);

// The version of an image; none when it is not one.
std::optional<std::uint32_t> image_version(std::span<const std::uint8_t> image);

} // namespace sim
