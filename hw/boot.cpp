#include "hw/boot.h"

#include "core/clock.h"
#include "core/log.h"
#include "hw/power.h"
#include "utils/status.h"
#include "vcc/model.h"
#include "vcc/select_model.h"
#include "vcc/status.h"

#include <iterator>

namespace {

constexpr std::int64_t BOOT_SETTLE_US = 2000000;

// The block is of another model than was expected: its capabilities take the place of those that the framework was
// shown. Bits that the framework has besides stay.
void show_capabilities(PTZDriver *base, const CameraModel &expected, const CameraModel &found)
{
    for (std::size_t i = 0; i < std::size(base->capability_flags); ++i)
        base->capability_flags[i] = (base->capability_flags[i] & ~expected.capabilities[i]) | found.capabilities[i];
    base->capability_ref = found.capabilities;
}

} // namespace

gboolean ptz_driver_canon_boot(PTZDriverCanon *self)
{
    ptz_driver_canon_power_cycle(self);
    clock_sleep_us(BOOT_SETTLE_US);
    if (!ptz_driver_canon_utils_wait_all_status(self)) {
        log_error("Fatal error, failed to boot up the camera block");
        return FALSE;
    }
    self->cam_model_id = static_cast<int>(vccif_get_model_id());
    const CameraModel *expected = self->cam_model;
    if (!ptz_driver_canon_select_model(self->cam_model_id, &self->cam_model)) {
        log_error("Fatal error, detected unknown camera block model");
        return FALSE;
    }
    if (self->cam_model != expected)
        show_capabilities(ptz_driver_of(self), *expected, *self->cam_model);
    return TRUE;
}
