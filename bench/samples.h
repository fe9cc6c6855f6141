// Durations of single runs. Medians are what counts here: a busy machine spoils means.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

class Samples {
  public:
    // Room for that many, so that adding one does not allocate.
    explicit Samples(std::int64_t capacity) { values_.reserve(static_cast<std::size_t>(capacity)); }

    void add(std::int64_t ns) { values_.push_back(ns); }

    // Microseconds below which `share` (0..1) of the samples lie; 0 without samples.
    double quantile_us(double share)
    {
        if (values_.empty())
            return 0.0;
        const auto at = static_cast<std::ptrdiff_t>(share * static_cast<double>(values_.size() - 1));
        std::nth_element(values_.begin(), values_.begin() + at, values_.end());
        return static_cast<double>(values_[static_cast<std::size_t>(at)]) / 1e3;
    }
    double median_us() { return quantile_us(0.5); }

  private:
    std::vector<std::int64_t> values_;
};
