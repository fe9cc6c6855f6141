#include "cmd/move_zoom.h"

#include "cmd/send.h"
#include "core/fixed_point.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/zenta.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/convert.h"
#include "vcc/model.h"
#include "vcc/rows.h"
#include "vcc/zoom_scale.h"

#include <algorithm>
#include <limits>

namespace {

constexpr float FULL_SPEED_PERCENT = 100.0f;

void add_zoom_speed(CommandBuffer &commands, const CameraModel *model, float percent)
{
    commands.add(ROW_ZOOM_STOP);
    commands.add(ROW_ZOOM_SPEED, vccif_percent_to_vcc_zoom_speed(model, percent));
}

void add_digital_position(CommandBuffer &commands, const CameraModel *model, int target)
{
    commands.add(ROW_ZOOM_DIGITAL_POSITION,
                 static_cast<int>(vccif_zenta_to_vcc_digital_zoom(model, target - ZENTA_DIGITAL_ZOOM_MIN)));
}

void add_optical_position(CommandBuffer &commands, const CameraModel *model, int target)
{
    if (model->zoom_by_magnification)
        commands.add(ROW_ZOOM_MAGNIFICATION, static_cast<int>(vccif_zenta_to_vcc_optical_magnification(model, target)));
    else
        commands.add(ROW_ZOOM_OPTICAL_POSITION, static_cast<int>(vccif_zenta_to_vcc_zoom(model, target)));
}

// A digital zoom configured beyond reason puts the present position at an end of what an int holds.
int sum_within_int(int a, int b)
{
    const std::int64_t sum = std::int64_t{a} + b;
    return static_cast<int>(
        std::clamp<std::int64_t>(sum, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

// In whole percent: the magnitude of the value, at least 1.
float continuous_speed_percent(const PTZDriverCanon *self, std::int32_t value)
{
    if (!self->current.adjustable_zoom_speed)
        return FULL_SPEED_PERCENT;
    const std::uint32_t magnitude =
        value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
    return magnitude < 65536u ? 1.0f : static_cast<float>(magnitude >> 16);
}

void stop_zoom(PTZDriverCanon *self)
{
    CommandBuffer commands;
    commands.add(ROW_ZOOM_STOP);
    ptz_driver_canon_cmd_zoom_execute(self, commands.data(), commands.size(), TRUE);
}

} // namespace

void ptz_driver_canon_cmd_move_zoom(PTZDriverCanon *self, int move_type, std::int32_t value)
{
    GUARD(self, );
    const int position = fixed_integer_part(value);
    switch (move_type) {
    case PTZ_MOVE_NONE:
        break;
    case PTZ_MOVE_ABSOLUTE:
        ptz_driver_canon_cmd_zoom_absolute(self, position);
        break;
    case PTZ_MOVE_RELATIVE:
        if (position == 0)
            stop_zoom(self);
        else
            ptz_driver_canon_cmd_zoom_absolute(self, sum_within_int(self->current.zoom_zenta, position));
        break;
    case PTZ_MOVE_CONTINUOUS:
        ptz_driver_canon_cmd_zoom_continuous(self, value);
        break;
    default:
        log_error("Unsupported PTZ move type");
    }
}

gboolean ptz_driver_canon_cmd_zoom_absolute(PTZDriverCanon *self, int target)
{
    GUARD(self, FALSE);
    CommandBuffer commands;
    add_zoom_speed(commands, self->cam_model, FULL_SPEED_PERCENT);
    if (target > self->limit_max_zoom)
        target = self->limit_max_zoom;
    else if (target < self->limit_min_zoom)
        target = self->limit_min_zoom;
    if (target > ZENTA_DIGITAL_ZOOM_MIN)
        add_digital_position(commands, self->cam_model, target);
    else
        add_optical_position(commands, self->cam_model, target);
    self->current.zoom_moving = 1;
    return ptz_driver_canon_cmd_zoom_execute(self, commands.data(), commands.size(), FALSE);
}

void ptz_driver_canon_cmd_zoom_continuous(PTZDriverCanon *self, std::int32_t value)
{
    GUARD(self, );
    if (value == 0) {
        stop_zoom(self);
        return;
    }
    CommandBuffer commands;
    add_zoom_speed(commands, self->cam_model, continuous_speed_percent(self, value));
    const int target = value < 0 ? self->limit_min_zoom : self->limit_max_zoom;
    const bool digital = value < 0 ? target >= ZENTA_DIGITAL_ZOOM_MIN : target > ZENTA_DIGITAL_ZOOM_MIN;
    if (digital)
        add_digital_position(commands, self->cam_model, target);
    else
        add_optical_position(commands, self->cam_model, target);
    self->current.zoom_moving = 1;
    ptz_driver_canon_cmd_zoom_execute(self, commands.data(), commands.size(), TRUE);
}

gboolean ptz_driver_canon_cmd_zoom_execute(PTZDriverCanon *self, const std::uint8_t *payload, std::size_t size,
                                           gboolean record)
{
    GUARD(self, FALSE);
    if (!ptz_driver_canon_cmd_send(self, payload, size, self->cmd_retries)) {
        log_error("Failed to execute zoom setup command");
        return FALSE;
    }
    ptz_driver_canon_cmd_update_status(self);
    CameraState &now = self->current;
    if (record) {
        now.zoom_magnification = vccif_get_zoom_magnification();
        now.zoom_zenta = truncate_to_int(ptz_driver_canon_zoom_mag_to_zenta(self, now.zoom_magnification));
    }
    // Taken is taken: whatever the refresh has just derived, the zoom counts as idle until the next status.
    now.zoom_moving = 0;
    ptz_driver_canon_utils_publish_status(self);
    return TRUE;
}
