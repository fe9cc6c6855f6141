#include "cmd/move_brightness.h"

#include "cmd/iris_mode.h"
#include "cmd/payload.h"
#include "cmd/send.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/value_map.h"
#include "core/zenta.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/convert.h"

#include <cstdint>

gboolean ptz_driver_canon_cmd_move_brightness(PTZDriverCanon *self, int move_type, int value)
{
    GUARD(self, FALSE);
    GUARD(self->cam_model->brightness_range, FALSE);
    CameraState &now = self->current;
    now.brightness_moving = 1;
    ptz_driver_canon_utils_publish_status(self);
    int position = value;
    if (move_type == PTZ_MOVE_RELATIVE) {
        position = zenta_moved(now.brightness_zenta, value);
    } else if (move_type != PTZ_MOVE_ABSOLUTE) {
        log_error("Unsupported PTZ move type");
        return FALSE;
    }
    const int percent = ptz_driver_canon_zenta_to_percent(real(position));
    now.brightness_level =
        static_cast<std::int8_t>(vccif_percent_to_vcc_range(self->cam_model->brightness_range, percent));
    CommandBuffer commands;
    payload_add_brightness(commands, self);
    if (!now.auto_iris)
        ptz_driver_canon_set_iris_mode(self, PTZ_IRIS_AUTO);
    const gboolean sent = ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to execute brightness command");
    if (sent) {
        now.brightness_zenta = self->target.brightness_zenta;
        ptz_driver_canon_cmd_update_status(self);
    }
    now.brightness_moving = 0;
    ptz_driver_canon_utils_publish_status(self);
    return sent;
}
