// Where a pixel is in rows that lie one behind the other.
#pragma once

#include <cstddef>

namespace sim::view {

constexpr std::size_t pixel_at(int row, int width, int column = 0)
{
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
}

} // namespace sim::view
