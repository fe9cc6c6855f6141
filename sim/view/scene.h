// What stands around the camera: a square in a town under a sky, with a test chart, marks of pan and tilt, and people.
#pragma once

#include "sim/view/painter.h"

namespace sim::view {

// Paints all of it that the painter sees.
void paint_scene(Painter &painter);

// Its parts, from the back to the front.
void paint_sky(Painter &painter);
void paint_land(Painter &painter);
void paint_ground(Painter &painter);
void paint_town(Painter &painter);
void paint_chart(Painter &painter);
void paint_street(Painter &painter);

} // namespace sim::view
