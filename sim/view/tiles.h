// The scene as pieces of one size, each painted when it is first seen, at the resolution that the lens asks for. The
// last ones are kept.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace sim::view {

class Tiles {
  public:
    static constexpr int kSize = 256;         // pixels of a piece, each way
    static constexpr int kStride = kSize + 1; // of its rows: with one pixel of its neighbours to the right and below
    static constexpr int kMostLevel = 5;
    // Pixels per degree; twice as many a level. The circle has a whole number of pieces at each.
    static double pixels_per_degree(int level) { return kColumns * kSize / 360.0 * (1 << level); }
    static int columns(int level) { return kColumns << level; }
    static int rows(int level) { return columns(level) / 2; }

    // Another light: everything is painted anew.
    void set_light(double stops);
    // The pixels (0xRRGGBB) of a piece; column 0 begins at -180 degrees and all around there is no end of columns, row
    // 0 begins at the zenith. They stay until `most` other ones were asked for.
    const std::uint32_t *piece(int level, int column, int row);
    static constexpr std::size_t kMost = 208;

  private:
    static constexpr int kColumns = 20;
    struct Piece {
        std::vector<std::uint32_t> pixels;
        std::uint64_t asked = 0;
    };
    void forget_oldest();

    std::map<std::uint64_t, Piece> pieces_;
    std::uint64_t asked_ = 0;
    double stops_ = 7;
};

} // namespace sim::view
