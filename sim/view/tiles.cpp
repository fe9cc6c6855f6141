#include "sim/view/tiles.h"

#include "sim/view/scene.h"

#include <algorithm>
#include <new>

namespace sim::view {
namespace {

std::vector<std::uint32_t> paint(int level, int column, int row, const Light &light)
{
    constexpr int kSide = Tiles::kStride;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(kSide) * kSide);
    const double scale = Tiles::pixels_per_degree(level);
    const double left = column * Tiles::kSize / scale - 180;
    const double top = 90 - row * Tiles::kSize / scale;
    cairo_surface_t *surface =
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char *>(pixels.data()), CAIRO_FORMAT_RGB24, kSide,
                                            kSide, kSide * static_cast<int>(sizeof pixels[0]));
    cairo_t *cairo = cairo_create(surface);
    Painter painter(cairo, {left, top - kSide / scale, left + kSide / scale, top}, scale, light);
    paint_scene(painter);
    const cairo_status_t status = cairo_status(cairo);
    cairo_destroy(cairo);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS)
        throw std::bad_alloc();
    return pixels;
}

} // namespace

void Tiles::set_light(double stops)
{
    if (stops == stops_)
        return;
    stops_ = stops;
    pieces_.clear();
}

const std::uint32_t *Tiles::piece(int level, int column, int row)
{
    const int around = columns(level);
    const int wrapped = (column % around + around) % around;
    const int inside = std::clamp(row, 0, rows(level) - 1);
    const auto key = static_cast<std::uint64_t>(level) << 48 | static_cast<std::uint64_t>(inside) << 24 |
                     static_cast<std::uint64_t>(wrapped);
    Piece &piece = pieces_[key];
    piece.asked = ++asked_;
    if (piece.pixels.empty()) {
        piece.pixels = paint(level, wrapped, inside, light_of(stops_));
        if (pieces_.size() > kMost)
            forget_oldest();
    }
    return piece.pixels.data();
}

void Tiles::forget_oldest()
{
    pieces_.erase(std::min_element(pieces_.begin(), pieces_.end(),
                                   [](const auto &a, const auto &b) { return a.second.asked < b.second.asked; }));
}

} // namespace sim::view
