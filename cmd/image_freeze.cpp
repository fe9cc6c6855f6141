#include "cmd/image_freeze.h"

#include "cmd/setting.h"

namespace {

constexpr ModeRow FREEZE_MODES[] = {
    {"off", IMAGE_FREEZE_OFF}, {"on", IMAGE_FREEZE_ON}, {"auto", IMAGE_FREEZE_AUTO}, {}};

} // namespace

gboolean ptz_driver_canon_cmd_image_freeze(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    if (!self->cam_model->image_freeze_supported)
        return TRUE;
    const ModeRow *row = ptz_driver_canon_cmd_find_mode(FREEZE_MODES, mode);
    if (row == nullptr)
        return FALSE;
    self->current.image_freeze_mode = row->code;
    return TRUE;
}
