// Through the lens: which part of the scene each pixel of the picture shows.
#pragma once

#include "sim/view/look.h"
#include "sim/view/tiles.h"
#include "sim/view/tone.h"

#include <cstdint>
#include <vector>

namespace sim::view {

constexpr int kWidth = 960;
constexpr int kHeight = 540;

// A picture as brightness, and colour at half the resolution.
struct Planes {
    std::vector<std::uint8_t> y = std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight);
    std::vector<std::uint8_t> cb = std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight / 4);
    std::vector<std::uint8_t> cr = std::vector<std::uint8_t>(std::size_t{kWidth} * kHeight / 4);
};

class Lens {
  public:
    // Fills `planes` with what the look's geometry shows, in the colours that `tone` makes of it.
    void see(const Look &look, const Tone &tone, Planes &planes);

  private:
    // Where the corners of a mesh over the picture look: pixels of the level, fractions included.
    static constexpr int kCellWidth = 32;
    static constexpr int kCellHeight = 4;
    static constexpr int kAcross = kWidth / kCellWidth + 1;
    static constexpr int kDown = kHeight / kCellHeight + 1;
    static_assert(kWidth % kCellWidth == 0 && kHeight % kCellHeight == 0);
    struct Place {
        double x;
        double y;
    };

    void aim(const Look &look);
    void choose_pieces(const Look &look);
    void read_row(int row, const Tone &tone, std::uint8_t *red, std::uint8_t *green, std::uint8_t *blue) const;

    Tiles tiles_;
    std::vector<Place> mesh_ = std::vector<Place>(std::size_t{kAcross} * kDown); // degrees, then pixels
    std::vector<const std::uint32_t *> pieces_;
    int across_ = 0; // pieces beside each other
};

} // namespace sim::view
