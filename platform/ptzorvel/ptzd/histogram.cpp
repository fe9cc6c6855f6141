#include "ptzorvel/ptzd/histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

void Histogram::add(std::int64_t us)
{
    const auto length = static_cast<std::uint64_t>(std::max<std::int64_t>(us, 0));
    // The first octaves have a part for each microsecond.
    std::uint64_t place = length;
    if (length >= kParts) {
        const auto octave =
            static_cast<unsigned>(std::bit_width(length)) - static_cast<unsigned>(std::bit_width(kParts));
        place = std::uint64_t{octave + 1} * kParts + ((length >> octave) - kParts);
    }
    counts_[static_cast<std::size_t>(std::min<std::uint64_t>(place, counts_.size() - 1))]++;
    count_++;
    sum_us_ += us;
}

double Histogram::quantile_us(double part) const
{
    if (count_ == 0)
        return 0;
    const auto wanted =
        std::max<std::uint64_t>(1, static_cast<std::uint64_t>(std::ceil(part * static_cast<double>(count_))));
    std::uint64_t seen = 0;
    std::size_t place = 0;
    while (place + 1 < counts_.size() && (seen += counts_[place]) < wanted)
        place++;
    const std::size_t octave = place / kParts;
    // The longest that falls into it.
    return octave == 0 ? static_cast<double>(place)
                       : std::ldexp(static_cast<double>(kParts + place % kParts + 1), static_cast<int>(octave) - 1) - 1;
}
