#include "cmd/move_focus.h"

#include "cmd/focus.h"
#include "cmd/send.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/zenta.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/convert.h"
#include "vcc/rows.h"

#include <cstdlib>

namespace {

constexpr int FOCUS_STOP = 1; // manual focus, which stands still
constexpr int FOCUS_DRIVE_FAR = 2;
constexpr int FOCUS_DRIVE_NEAR = 3;

// The targets that a move records besides a position.
constexpr int NO_TARGET = -1;
constexpr int STOPPED = 0;

gboolean move_to(PTZDriverCanon *self, int position)
{
    CommandBuffer commands;
    commands.add(ROW_FOCUS_POSITION, vccif_zenta_to_vcc_focus(self->cam_model, position));
    return ptz_driver_canon_cmd_focus_execute(self, commands.data(), commands.size(), position);
}

gboolean stop(PTZDriverCanon *self, int target)
{
    CommandBuffer commands;
    commands.add(ROW_FOCUS_MODE, FOCUS_STOP);
    return ptz_driver_canon_cmd_focus_execute(self, commands.data(), commands.size(), target);
}

gboolean drive(PTZDriverCanon *self, int speed_percent)
{
    CommandBuffer commands;
    commands.add(ROW_FOCUS_SPEED, vccif_percent_to_vcc_focus_speed(self->cam_model, std::abs(speed_percent)));
    commands.add(ROW_FOCUS_MODE, speed_percent < 0 ? FOCUS_DRIVE_NEAR : FOCUS_DRIVE_FAR);
    return ptz_driver_canon_cmd_focus_execute(self, commands.data(), commands.size(), NO_TARGET);
}

} // namespace

gboolean ptz_driver_canon_cmd_move_focus(PTZDriverCanon *self, int move_type, int value)
{
    GUARD(self, FALSE);
    ptz_driver_canon_utils_publish_status(self);
    self->current.focus_moving = 1;
    switch (move_type) {
    case PTZ_MOVE_ABSOLUTE:
        return move_to(self, value);
    case PTZ_MOVE_RELATIVE:
        if (value == 0)
            return stop(self, STOPPED);
        return move_to(self, zenta_moved(self->current.focus_zenta, value));
    case PTZ_MOVE_CONTINUOUS:
        return value == 0 ? stop(self, NO_TARGET) : drive(self, value);
    default:
        log_error("Unsupported PTZ move type");
        return FALSE;
    }
}

gboolean ptz_driver_canon_cmd_focus_execute(PTZDriverCanon *self, const std::uint8_t *payload, std::size_t size,
                                            int target)
{
    GUARD(self, FALSE);
    if (self->current.auto_focus)
        ptz_driver_canon_cmd_auto_focus(self, PTZ_FOCUS_MANUAL);
    if (!ptz_driver_canon_cmd_send(self, payload, size, self->cmd_retries)) {
        log_error("Failed to execute focus command");
        return FALSE;
    }
    ptz_driver_canon_cmd_update_status(self);
    self->target.focus_zenta = target;
    self->current.focus_moving = 0;
    return TRUE;
}
