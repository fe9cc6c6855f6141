// How often a duration of which length came, in constant space: eighths of an octave, so that a quantile is told to an
// eighth of its length. Microseconds.
#pragma once

#include <array>
#include <cstdint>

class Histogram {
  public:
    void add(std::int64_t us);

    std::uint64_t count() const { return count_; }
    std::int64_t sum_us() const { return sum_us_; }
    // The length that `part` (0..1) of all durations do not exceed; 0 when there are none.
    double quantile_us(double part) const;

  private:
    static constexpr unsigned kParts = 8;    // of an octave
    static constexpr unsigned kOctaves = 32; // up to an hour and more; what is longer counts as that

    std::array<std::uint32_t, std::size_t{kParts} * kOctaves> counts_{};
    std::uint64_t count_ = 0;
    std::int64_t sum_us_ = 0;
};
