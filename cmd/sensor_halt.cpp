#include "cmd/sensor_halt.h"

#include "cmd/setting.h"
#include "core/clock.h"
#include "utils/status.h"

namespace {

constexpr std::int64_t SENSOR_SETTLE_US = 1000000;

} // namespace

gboolean ptz_driver_canon_cmd_halt_sensor(PTZDriverCanon *self, gboolean halt)
{
    GUARD(self, FALSE);
    return ptz_driver_canon_cmd_send_record(self, "Failed to send image sensor halt mode setup command",
                                            ROW_IMAGE_SENSOR_HALT, halt ? 0 : 1, halt ? 1 : 0);
}

void ptz_driver_canon_utils_halt_sensor_and_settle(PTZDriverCanon *self)
{
    ptz_driver_canon_cmd_update_status(self);
    ptz_driver_canon_cmd_halt_sensor(self, TRUE);
    for (int refresh = 0; refresh < self->cmd_retries; ++refresh)
        if (ptz_driver_canon_cmd_update_status(self))
            break;
    clock_sleep_us(SENSOR_SETTLE_US);
}
