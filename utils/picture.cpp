#include "utils/picture.h"

#include "core/log.h"

gboolean ptz_driver_canon_set_video_output(PTZDriverCanon *self, gboolean on)
{
    if (self->image_source_control != nullptr && image_source_control_set_no_video(self->image_source_control, !on))
        return TRUE;
    log_error("Failed to set video output to %s", on ? "on" : "off");
    return FALSE;
}

gboolean ptz_driver_canon_utils_set_image_freeze(PTZDriverCanon *self, gboolean on)
{
    if (self->image_source_control != nullptr && image_source_control_freeze_video(self->image_source_control, on)) {
        self->current.image_frozen = on ? TRUE : FALSE;
        return TRUE;
    }
    log_error("Failed to set image freeze to %s", on ? "on" : "off");
    return FALSE;
}
