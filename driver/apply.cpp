// Brings a camera block that has just started to what the user has set.
#include "driver/params.h"

#include "cmd/brightness.h"
#include "cmd/video.h"
#include "core/log.h"
#include "driver/operations.h"
#include "utils/services.h"

namespace {

gboolean apply_rotation(PTZDriverCanon *self)
{
    int rotation = 0;
    if (!ptz_driver_canon_utils_get_rotation(self, &rotation)) {
        log_error("Could not get rotation.");
        return FALSE;
    }
    if (!ptz_driver_canon_cmd_rotate(self, rotation)) {
        log_error("Failed to send rotation commands.");
        return FALSE;
    }
    self->rotation = rotation;
    return TRUE;
}

} // namespace

gboolean ptz_driver_canon_apply_params(PTZDriverCanon *self)
{
    gboolean applied = ptz_driver_canon_apply_useradv(self);
    if (!ptz_driver_canon_apply_imagesource(self))
        applied = FALSE;
    if (!ptz_driver_canon_op_focus_mode_changed(ptz_driver_of(self)))
        applied = FALSE;
    if (!apply_rotation(self))
        applied = FALSE;
    ptz_driver_canon_cmd_backlight_compensation(self, self->parent_instance.backlight_mode);
    ptz_driver_canon_cmd_video_output(self, self->current.video_output);
    ptz_driver_canon_cmd_sdi_mapping_mode(self, self->current.sdi_mapping);
    return applied;
}
