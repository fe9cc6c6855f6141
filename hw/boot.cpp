#include "hw/boot.h"

#include "core/clock.h"
#include "core/log.h"
#include "hw/power.h"
#include "utils/status.h"
#include "vcc/select_model.h"
#include "vcc/status.h"

namespace {

constexpr std::int64_t BOOT_SETTLE_US = 2000000;

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
    if (!ptz_driver_canon_select_model(self->cam_model_id, &self->cam_model)) {
        log_error("Fatal error, detected unknown camera block model");
        return FALSE;
    }
    return TRUE;
}
