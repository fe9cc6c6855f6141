#include "sim/view/scene.h"

namespace sim::view {

void paint_scene(Painter &painter)
{
    paint_sky(painter);
    paint_land(painter);
    paint_ground(painter);
    paint_town(painter);
    paint_chart(painter);
    paint_street(painter);
}

} // namespace sim::view
