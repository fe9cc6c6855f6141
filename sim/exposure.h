// The exposure that the block works with: what it is told, or what it finds by itself. Everything counts in quarters of
// a stop, as the codes do: 4 more is half the light for iris and shutter, twice the signal for gain.
#pragma once

#include <cstdint>

namespace sim {

struct ExposureCodes {
    std::int32_t iris;
    std::int32_t shutter;
    std::int32_t gain;
};

// How the block is told to expose.
struct ExposureOrders {
    std::int32_t mode;       // of the exposure mode record
    std::int32_t brightness; // steps brighter than usual, a quarter of a stop each
    std::int32_t response;   // 1 (slow) to 100
    std::int32_t slowest;    // shutter codes that the automatic keeps to
    std::int32_t fastest;
    std::int32_t most_gain; // gain code
    ExposureCodes set;      // what was set by hand; holds in the modes that leave it to the hand
};

class Exposure {
  public:
    // Takes orders, or a new brightness of the scene in stops. Parts set by hand follow at once, the automatic ones
    // settle one code after another.
    void aim(const ExposureOrders &orders, double scene_light, std::int64_t now);
    // Puts all parts somewhere at once; aim() is to follow.
    void place(const ExposureCodes &codes, std::int64_t now);
    ExposureCodes at(std::int64_t now) const;

  private:
    ExposureCodes from_{};
    ExposureCodes target_{};
    std::int64_t since_ = 0;
    std::int64_t step_us_ = 1;
};

} // namespace sim
