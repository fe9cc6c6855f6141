#include "sim/view/lens.h"

#include "sim/view/painter.h"
#include "sim/view/raster.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace sim::view {
namespace {

constexpr int kMostPieces = 120; // of one picture
static_assert(kMostPieces < Tiles::kMost);
constexpr std::size_t kTwoRows = std::size_t{2} * kWidth;

// Between four neighbours; shares are of 256. Red and blue go together, with room for each other's carries.
inline std::uint32_t between(const std::uint32_t *at, std::uint32_t right, std::uint32_t down)
{
    constexpr std::uint32_t kPair = 0x00FF00FF;
    const auto mixed = [](std::uint32_t a, std::uint32_t b, std::uint32_t share) {
        const std::uint32_t pair = (a & kPair) * (256 - share) + (b & kPair) * share;
        const std::uint32_t green = (a >> 8 & 0xFF) * (256 - share) + (b >> 8 & 0xFF) * share;
        return (pair >> 8 & kPair) | (green & 0xFF00);
    };
    return mixed(mixed(at[0], at[1], right), mixed(at[Tiles::kStride], at[Tiles::kStride + 1], right), down);
}

// Two rows of red, green and blue as two rows of brightness and one of colour.
void to_planes(const std::uint8_t *rgb, const Tone &tone, std::uint8_t *y, std::uint8_t *cb, std::uint8_t *cr)
{
    const std::uint8_t *red = rgb;
    const std::uint8_t *green = rgb + kTwoRows;
    const std::uint8_t *blue = green + kTwoRows;
    for (int i = 0; i < 2 * kWidth; ++i)
        y[i] = static_cast<std::uint8_t>((77 * red[i] + 150 * green[i] + 29 * blue[i]) >> 8);
    for (int i = 0; i < kWidth / 2; ++i) {
        const auto four = [i](const std::uint8_t *plane) {
            const std::uint8_t *at = plane + pixel_at(i, 2);
            return at[0] + at[1] + at[kWidth] + at[kWidth + 1];
        };
        const int r = four(red);
        const int g = four(green);
        const int b = four(blue);
        const Tone::Chroma chroma =
            tone.chroma(((-43 * r - 85 * g + 128 * b) >> 10) + 128, ((128 * r - 107 * g - 21 * b) >> 10) + 128);
        cb[i] = chroma.cb;
        cr[i] = chroma.cr;
    }
}

} // namespace

// Azimuths are counted from the pan on, so that they run on where the circle closes.
void Lens::aim(const Look &look)
{
    const double half = std::tan(half_width(look.magnification) * kDegree);
    const double sin_tilt = std::sin(look.tilt * kDegree);
    const double cos_tilt = std::cos(look.tilt * kDegree);
    const double sin_roll = std::sin(look.roll * kDegree);
    const double cos_roll = std::cos(look.roll * kDegree);
    for (int row = 0; row < kDown; ++row) {
        for (int column = 0; column < kAcross; ++column) {
            // The middles of pixels.
            double x = 2.0 * (column * kCellWidth + 0.5) / kWidth - 1;
            double y = (1 - 2.0 * (row * kCellHeight + 0.5) / kHeight) * kHeight / kWidth;
            const double out = half * (1 + look.barrel * (x * x + y * y));
            x *= out;
            y *= out;
            const double across = x * cos_roll - y * sin_roll;
            const double up = x * sin_roll + y * cos_roll;
            const double ahead = cos_tilt - up * sin_tilt;
            mesh_[pixel_at(row, kAcross, column)] = {look.pan + std::atan2(across, ahead) / kDegree,
                                                     std::atan2(up * cos_tilt + sin_tilt, std::hypot(across, ahead)) /
                                                         kDegree};
        }
    }
}

// Takes the level whose pixels are about as fine as the picture's, and looks for its pieces. Near the zenith, where
// every azimuth is in sight, a coarser one has to do: there is only sky.
void Lens::choose_pieces(const Look &look)
{
    const auto [left, right] =
        std::minmax_element(mesh_.begin(), mesh_.end(), [](const Place &a, const Place &b) { return a.x < b.x; });
    const auto [bottom, top] =
        std::minmax_element(mesh_.begin(), mesh_.end(), [](const Place &a, const Place &b) { return a.y < b.y; });
    const Area seen{left->x, bottom->y, right->x, top->y};
    const double fine = std::log2(look.magnification) + 0.15;
    for (int level = std::clamp(static_cast<int>(std::lround(fine)), 0, Tiles::kMostLevel);; --level) {
        const double scale = Tiles::pixels_per_degree(level);
        const auto piece_at = [scale](double degrees) {
            return static_cast<int>(std::floor(degrees * scale / Tiles::kSize));
        };
        const int first_column = piece_at(seen.left + 180);
        const int first_row = piece_at(90 - seen.top);
        across_ = piece_at(seen.right + 180) - first_column + 1;
        const int down = piece_at(90 - seen.bottom) - first_row + 1;
        if (across_ * down > kMostPieces && level > 0)
            continue;
        pieces_.clear();
        for (int row = 0; row < down; ++row) {
            for (int column = 0; column < across_; ++column)
                pieces_.push_back(tiles_.piece(level, first_column + column, first_row + row));
        }
        for (Place &place : mesh_)
            place = {(place.x + 180) * scale - first_column * Tiles::kSize,
                     (90 - place.y) * scale - first_row * Tiles::kSize};
        return;
    }
}

// Straight from mesh corner to mesh corner, in 1/65536 of a pixel.
void Lens::read_row(int row, const Tone &tone, std::uint8_t *red, std::uint8_t *green, std::uint8_t *blue) const
{
    const Place *above = &mesh_[pixel_at(row / kCellHeight, kAcross)];
    const Place *below = above + kAcross;
    const double share = static_cast<double>(row % kCellHeight) / kCellHeight;
    const auto corner = [&](int column) {
        const Place &a = above[column];
        const Place &b = below[column];
        return Place{a.x + (b.x - a.x) * share, a.y + (b.y - a.y) * share};
    };
    Place from = corner(0);
    for (int cell = 0; cell + 1 < kAcross; ++cell) {
        const Place to = corner(cell + 1);
        const auto step_x = static_cast<std::int32_t>((to.x - from.x) * (65536.0 / kCellWidth));
        const auto step_y = static_cast<std::int32_t>((to.y - from.y) * (65536.0 / kCellWidth));
        auto x = static_cast<std::int32_t>(from.x * 65536);
        auto y = static_cast<std::int32_t>(from.y * 65536);
        for (int i = cell * kCellWidth; i < (cell + 1) * kCellWidth; ++i, x += step_x, y += step_y) {
            const std::uint32_t *piece = pieces_[pixel_at(y >> 24, across_, x >> 24)];
            const std::uint32_t *at = piece + pixel_at(y >> 16 & 255, Tiles::kStride, x >> 16 & 255);
            const std::uint32_t colour =
                between(at, static_cast<std::uint32_t>(x >> 8 & 255), static_cast<std::uint32_t>(y >> 8 & 255));
            red[i] = tone.red[colour >> 16 & 255];
            green[i] = tone.green[colour >> 8 & 255];
            blue[i] = tone.blue[colour & 255];
        }
        from = to;
    }
}

void Lens::see(const Look &look, const Tone &tone, Planes &planes)
{
    tiles_.set_light(look.scene_light);
    aim(look);
    choose_pieces(look);
    std::array<std::uint8_t, 3 * kTwoRows> rgb{}; // both rows' red, green, blue
    for (int row = 0; row < kHeight; row += 2) {
        for (int second = 0; second < 2; ++second) {
            std::uint8_t *red = rgb.data() + pixel_at(second, kWidth);
            read_row(row + second, tone, red, red + kTwoRows, red + 2 * kTwoRows);
        }
        const std::size_t half = pixel_at(row / 2, kWidth / 2);
        to_planes(rgb.data(), tone, planes.y.data() + pixel_at(row, kWidth), planes.cb.data() + half,
                  planes.cr.data() + half);
    }
}

} // namespace sim::view
