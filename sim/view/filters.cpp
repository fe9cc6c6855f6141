#include "sim/view/filters.h"

#include <algorithm>
#include <cmath>

namespace sim::view {
namespace {

constexpr std::size_t kNoise = 1 << 17;
constexpr double kNoiseDeviation = 32;
constexpr int kRoom = 4096; // more than a row

std::uint32_t step(std::uint32_t state)
{
    state ^= state << 13;
    state ^= state >> 17;
    return state ^ state << 5;
}

std::size_t index(int value)
{
    return static_cast<std::size_t>(value);
}

} // namespace

Filters::Filters() : noise_(kNoise + kRoom)
{
    std::uint32_t state = 0x2545F491;
    for (std::int8_t &value : noise_) {
        int sum = 0; // four dice look normal enough
        for (int i = 0; i < 4; ++i) {
            state = step(state);
            sum += static_cast<int>(state >> 8 & 255) - 128;
        }
        value = static_cast<std::int8_t>(std::clamp(static_cast<int>(sum * kNoiseDeviation / 148), -127, 127));
    }
}

// Two boxes one behind the other are nearly round.
void Filters::blur(const Plane &plane, double radius)
{
    const int reach = static_cast<int>(std::lround(1.4 * radius));
    for (const int half : {reach / 2, reach - reach / 2}) {
        if (half > 0) {
            blur_rows(plane, half);
            blur_columns(plane, half);
        }
    }
}

void Filters::blur_rows(const Plane &plane, int half)
{
    scratch_.resize(index(plane.width + 2 * half + 1));
    const std::uint32_t share = 65536u / static_cast<std::uint32_t>(2 * half + 1) + 1;
    for (int y = 0; y < plane.height; ++y) {
        std::uint8_t *row = plane.pixels.data() + index(y) * index(plane.width);
        // With its ends drawn out.
        std::fill_n(scratch_.begin(), half + 1, row[0]);
        std::copy_n(row, plane.width, scratch_.begin() + half + 1);
        std::fill_n(scratch_.begin() + half + 1 + plane.width, half, row[plane.width - 1]);
        std::uint32_t sum = 0;
        for (int i = 0; i < 2 * half + 1; ++i)
            sum += scratch_[index(i)];
        const std::uint8_t *leaves = scratch_.data();
        const std::uint8_t *enters = leaves + index(2 * half + 1);
        for (int x = 0; x < plane.width; ++x) {
            sum += static_cast<std::uint32_t>(enters[x]) - leaves[x];
            row[x] = static_cast<std::uint8_t>(sum * share >> 16);
        }
    }
}

void Filters::blur_columns(const Plane &plane, int half)
{
    const std::size_t width = index(plane.width);
    scratch_.assign(plane.pixels.begin(), plane.pixels.end());
    sums_.assign(width, 0);
    const auto row_at = [&](int y) { return scratch_.data() + index(std::clamp(y, 0, plane.height - 1)) * width; };
    for (int y = -half; y <= half; ++y) {
        const std::uint8_t *row = row_at(y);
        for (std::size_t x = 0; x < width; ++x)
            sums_[x] = static_cast<std::uint16_t>(sums_[x] + row[x]);
    }
    const std::uint32_t share = 65536u / static_cast<std::uint32_t>(2 * half + 1) + 1;
    for (int y = 0; y < plane.height; ++y) {
        std::uint8_t *row = plane.pixels.data() + index(y) * width;
        const std::uint8_t *leaves = row_at(y - half);
        const std::uint8_t *enters = row_at(y + half + 1);
        std::uint16_t *sums = sums_.data();
        for (std::size_t x = 0; x < width; ++x) {
            row[x] = static_cast<std::uint8_t>(sums[x] * share >> 16);
            sums[x] = static_cast<std::uint16_t>(sums[x] + enters[x] - leaves[x]);
        }
    }
}

void Filters::sharpen(const Plane &plane, double strength)
{
    const int amount = static_cast<int>(std::lround(strength * 40)); // of 128
    if (amount <= 0)
        return;
    const std::size_t width = index(plane.width);
    scratch_.assign(plane.pixels.begin(), plane.pixels.end());
    for (int y = 1; y + 1 < plane.height; ++y) {
        const std::uint8_t *here = scratch_.data() + index(y) * width;
        const std::uint8_t *above = here - width;
        const std::uint8_t *below = here + width;
        std::uint8_t *row = plane.pixels.data() + index(y) * width;
        for (std::size_t x = 1; x + 1 < width; ++x) {
            const int edge = 4 * here[x] - here[x - 1] - here[x + 1] - above[x] - below[x];
            row[x] = static_cast<std::uint8_t>(std::clamp(here[x] + (edge * amount >> 7), 0, 255));
        }
    }
}

void Filters::add_noise(const Plane &plane, double deviation, std::uint32_t number) const
{
    const int amount = static_cast<int>(std::lround(deviation / kNoiseDeviation * 128));
    if (amount <= 0)
        return;
    const std::size_t width = index(plane.width);
    std::uint32_t state = number * 0x9E3779B1u + 0x6D2B79F5u;
    for (int y = 0; y < plane.height; ++y) {
        state = step(state);
        const std::int8_t *noise = noise_.data() + state % kNoise;
        std::uint8_t *row = plane.pixels.data() + index(y) * width;
        for (std::size_t x = 0; x < width; ++x)
            row[x] = static_cast<std::uint8_t>(std::clamp(row[x] + (noise[x] * amount >> 7), 0, 255));
    }
}

} // namespace sim::view
