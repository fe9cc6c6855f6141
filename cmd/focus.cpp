#include "cmd/focus.h"

#include "cmd/setting.h"
#include "core/log.h"
#include "utils/publish.h"
#include "utils/status.h"

namespace {

constexpr int FOCUS_MODE_AUTO = 0;

constexpr ModeRow AUTO_MODES[] = {{"auto", 0}, {"zoom", 1}, {"interval", 2}, {}};
constexpr ModeRow MANUAL_MODES[] = {{"manual", 1}, {"inf", 4}, {"push", 5}, {}};
constexpr ModeRow SENSITIVITIES[] = {{"normal", 127}, {"low", 64}, {}};

constexpr ChoiceSetting AUTO_MODE{ROW_AUTO_FOCUS_MODE, AUTO_MODES, "Unsupported auto focus mode",
                                  "Failed to send auto focus mode setup command"};
constexpr ChoiceSetting SENSITIVITY{ROW_AUTO_FOCUS_SENSITIVITY, SENSITIVITIES, "Unsupported focus sensitivity mode",
                                    "Failed to send auto focus sensitivity setup command"};

struct TimeSetting {
    const VccRow<3, 1> &row;
    MinMax CameraModel::*range;
    const char *unsupported;
    const char *failure;
};

constexpr TimeSetting ACTIVE_TIME{ROW_AUTO_FOCUS_ACTIVITY_TIME, &CameraModel::focus_active_time_range,
                                  "Unsupported auto focus activity time",
                                  "Failed to send auto focus activity time setup command"};
constexpr TimeSetting INTERVAL_TIME{ROW_AUTO_FOCUS_INTERVAL_TIME, &CameraModel::focus_interval_time_range,
                                    "Unsupported auto focus interval time",
                                    "Failed to send auto focus interval time setup command"};

gboolean send_time(PTZDriverCanon *self, const TimeSetting &setting, unsigned time)
{
    const MinMax &range = self->cam_model->*setting.range;
    if (time < static_cast<unsigned>(range.min) || time > static_cast<unsigned>(range.max)) {
        log_error("%s", setting.unsupported);
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, setting.failure, setting.row, time);
}

} // namespace

gboolean ptz_driver_canon_cmd_auto_focus(PTZDriverCanon *self, int mode)
{
    GUARD(self, FALSE);
    const gboolean on = mode == PTZ_FOCUS_AUTO;
    // Only on or off is compared: any other mode counts as off here.
    if (!self->current.auto_focus == !on && self->driver_initialized)
        return TRUE;
    GUARD(self->driver_initialized, TRUE);

    CommandBuffer commands;
    if (mode == PTZ_FOCUS_AUTO) {
        commands.add(ROW_FOCUS_MODE, FOCUS_MODE_AUTO);
    } else if (mode == PTZ_FOCUS_MANUAL) {
        commands.add(ROW_FOCUS_MODE, self->current.focus_manual_mode);
    } else {
        log_error("Unsupported auto focus mode");
        return FALSE;
    }
    const gboolean sent = ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to auto focus mode setup command");
    if (sent) {
        ptz_driver_canon_cmd_update_status(self);
        self->parent_instance.focus_mode = mode;
        self->target.focus_zenta = -1;
        self->current.auto_focus = on;
    }
    self->current.focus_moving = -1;
    ptz_driver_canon_utils_publish_status(self);
    return sent;
}

gboolean ptz_driver_canon_cmd_auto_focus_limit(PTZDriverCanon *self, int focus_limit)
{
    GUARD(self, FALSE);
    GUARD(self->cam_model->near_focus_limits, FALSE);
    GUARD((ZENTA_RANGE_MIN <= focus_limit) && (focus_limit <= ZENTA_RANGE_MAX), FALSE);
    const NearFocusLimit *limits = self->cam_model->near_focus_limits;
    int code = limits[0].code;
    for (int i = 0; i < self->cam_model->near_focus_limit_count; ++i)
        if (limits[i].position <= focus_limit)
            code = limits[i].code;
    return ptz_driver_canon_cmd_send_record(self, "Failed to send auto focus limitation setup command",
                                            ROW_AUTO_FOCUS_NEAR_LIMIT, code);
}

gboolean ptz_driver_canon_cmd_focus_auto_mode(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_choice(self, AUTO_MODE, mode);
}

gboolean ptz_driver_canon_cmd_focus_manual_mode(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    const ModeRow *choice = ptz_driver_canon_cmd_find_mode(MANUAL_MODES, mode);
    if (choice == nullptr) {
        log_error("Unsupported manual focus mode");
        return FALSE;
    }
    if (self->current.auto_focus)
        return TRUE;
    const gboolean sent = ptz_driver_canon_cmd_send_record(self, "Failed to send manual focus mode setup command",
                                                           ROW_FOCUS_MODE, choice->code);
    self->current.focus_manual_mode = static_cast<std::uint8_t>(choice->code);
    return sent;
}

gboolean ptz_driver_canon_cmd_auto_focus_sensitivity(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_choice(self, SENSITIVITY, mode);
}

gboolean ptz_driver_canon_cmd_focus_active_time(PTZDriverCanon *self, unsigned time)
{
    GUARD(self, FALSE);
    return send_time(self, ACTIVE_TIME, time);
}

gboolean ptz_driver_canon_cmd_focus_interval_time(PTZDriverCanon *self, unsigned time)
{
    GUARD(self, FALSE);
    return send_time(self, INTERVAL_TIME, time);
}
