// What the lens's focus and the block's picture processing do to a plane of pixels.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace sim::view {

struct Plane {
    std::span<std::uint8_t> pixels;
    int width;
    int height;
};

class Filters {
  public:
    Filters();

    // A point becomes a spot of that radius, in pixels of the plane.
    void blur(const Plane &plane, double radius);
    // 0 to 1.
    void sharpen(const Plane &plane, double strength);
    // Noise of that standard deviation; the same number gives the same noise.
    void add_noise(const Plane &plane, double deviation, std::uint32_t number) const;

  private:
    void blur_rows(const Plane &plane, int half);
    void blur_columns(const Plane &plane, int half);

    std::vector<std::int8_t> noise_; // of a deviation of 32
    std::vector<std::uint8_t> scratch_;
    std::vector<std::uint16_t> sums_;
};

} // namespace sim::view
