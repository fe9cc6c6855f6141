#include "vcc/backlight.h"

#include "core/guard.h"
#include "core/instance.h"
#include "vcc/model.h"

namespace {

constexpr int BACKLIGHT_STEPS = 6;

} // namespace

gint8 ptz_driver_canon_utils_shift_brightness_if_backlight_on(const PTZDriverCanon *self, gint8 step)
{
    GUARD(self, 0);
    if (!self->current.backlight_on)
        return step;
    const auto shifted = static_cast<gint8>(step + BACKLIGHT_STEPS);
    const Range *range = self->cam_model->brightness_range;
    return range != nullptr && shifted > range->max ? static_cast<gint8>(range->max) : shifted;
}
