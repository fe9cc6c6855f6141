#include "sim/image.h"

#include <algorithm>
#include <array>

namespace sim {
namespace {

constexpr std::array<std::uint8_t, 8> kMagic{'1', '3', '1'};
constexpr std::size_t kVersionAt = 40; // least significant byte first

} // namespace

std::vector<std::uint8_t> make_image(std::uint32_t version, std::size_t size)
{
    std::vector<std::uint8_t> image(std::max(size, kImageHeader));
    std::copy(kMagic.begin(), kMagic.end(), image.begin());
    for (std::size_t i = 0; i < 4; ++i)
        image[kVersionAt + i] = static_cast<std::uint8_t>(version >> (8 * i));
    // No two chunks are alike, so that one in a wrong place shows.
    std::uint32_t state = version | 1;
    for (std::size_t i = kImageHeader; i < image.size(); ++i) {
        state = state * 1'664'525 + 1'013'904'223;
        image[i] = static_cast<std::uint8_t>(state >> 24);
    }
    return image;
}

std::optional<std::uint32_t> image_version(std::span<const std::uint8_t> image)
{
    if (image.size() < kImageHeader || !std::equal(kMagic.begin(), kMagic.end(), image.begin()))
        return std::nullopt;
    std::uint32_t version = 0;
    for (std::size_t i = 0; i < 4; ++i)
        version |= std::uint32_t{image[kVersionAt + i]} << (8 * i);
    return version;
}

} // namespace sim
