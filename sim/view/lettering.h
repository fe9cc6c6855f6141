// The scene's letters: capitals, digits and a few signs, as strokes. Its own, so that every machine shows the same
// picture, whatever fonts it has.
#pragma once

#include <cairo.h>
#include <string_view>

namespace sim::view {

// How wide words are, as a share of the height of a capital.
double lettering_width(std::string_view words);

// Adds the strokes to the path: the foot of the first letter is at 0, 0, capitals are 1 high, y goes up.
void trace_lettering(cairo_t *cairo, std::string_view words);

} // namespace sim::view
