// What exposure and colour settings make of the scene's colours, as tables: a pixel costs a few look-ups, whatever is
// set.
#pragma once

#include "sim/view/look.h"
#include "sim/view/raster.h"

#include <array>
#include <cstdint>

namespace sim::view {

class Tone {
  public:
    struct Chroma {
        std::uint8_t cb;
        std::uint8_t cr;
    };

    // Makes the tables for a look; those that it leaves alone are kept.
    void set(const Look &look);

    std::array<std::uint8_t, 256> red{};
    std::array<std::uint8_t, 256> green{};
    std::array<std::uint8_t, 256> blue{};
    // Takes the colour of a pixel, 0 to 255 each.
    Chroma chroma(int cb, int cr) const { return chroma_[pixel_at(cb >> 1, kSide, cr >> 1)]; }

  private:
    static constexpr int kSide = 128;
    void set_brightness(const Look &look);
    void set_chroma(const Look &look);

    std::array<Chroma, std::size_t{kSide} * kSide> chroma_{};
    Look made_for_;
    bool made_ = false;
};

} // namespace sim::view
