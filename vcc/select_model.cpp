#include "vcc/select_model.h"

#include "core/guard.h"
#include "core/instance.h"
#include "core/log.h"
#include "vcc/models.h"

#include <cstring>

namespace {

enum CaptureTable { BROADCAST_RATES, INTEGER_RATES };

const CaptureModeRow *capture_table(const PTZDriverCanon *self)
{
    const CameraModel &model = *self->cam_model;
    const bool broadcast =
        model.capture_modes_broadcast && (!model.capture_modes_integer || self->current.broadcast_frame_rate);
    if (broadcast)
        return model.capture_mode_tbls[BROADCAST_RATES];
    return model.capture_modes_integer ? model.capture_mode_tbls[INTEGER_RATES] : nullptr;
}

} // namespace

int ptz_driver_canon_model_from_name(const char *name)
{
    for (const KnownModel &known : CAMERA_MODELS)
        if (name != nullptr && std::strcmp(known.name, name) == 0)
            return known.descriptor()->model_number;
    return -1;
}

gboolean ptz_driver_canon_select_model(int code, const CameraModel **model)
{
    for (const KnownModel &known : CAMERA_MODELS) {
        if (known.descriptor()->model_number != code)
            continue;
        *model = known.descriptor();
        return TRUE;
    }
    log_error("Fatal error, could not selected camera block model");
    return FALSE;
}

gboolean ptz_driver_canon_utils_parse_capture_modes(const PTZDriverCanon *self, const char *mode,
                                                    const CaptureModeRow **row)
{
    GUARD(self, FALSE);
    GUARD(mode, FALSE);
    const CaptureModeRow *table = capture_table(self);
    if (table == nullptr) {
        log_error("Unavailable capture mode table");
        return FALSE;
    }
    for (; table->name != nullptr; ++table) {
        if (g_ascii_strcasecmp(table->name, mode) != 0)
            continue;
        *row = table;
        return TRUE;
    }
    log_error("Unsupported capture mode: %s", mode);
    return FALSE;
}
