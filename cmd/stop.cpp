#include "cmd/stop.h"

#include "cmd/send.h"
#include "core/guard.h"
#include "vcc/rows.h"

gboolean ptz_driver_canon_cmd_stop(PTZDriverCanon *self)
{
    GUARD(self, FALSE);
    CommandBuffer commands;
    commands.add(ROW_ZOOM_STOP);
    commands.add(ROW_PAN_TILT_STOP, int{PAN_TILT_STOP_PAN});
    commands.add(ROW_PAN_TILT_STOP, int{PAN_TILT_STOP_TILT});
    const gboolean sent = ptz_driver_canon_cmd_send_buffer(self, commands, nullptr);
    self->target.zoom_magnification = self->current.zoom_magnification;
    self->target.zoom_zenta = self->current.zoom_zenta;
    self->target.focus_zenta = self->current.focus_zenta;
    return sent;
}
