#include "cmd/day_night.h"

#include "cmd/setting.h"

namespace {

constexpr LevelSetting THRESHOLD{ROW_DAY_NIGHT_THRESHOLD,
                                 {MODEL_RANGE(ircf_threshold_range)},
                                 "Failed to send auto day/night threshold setup command"};
constexpr LevelSetting HYSTERESIS{ROW_DAY_NIGHT_HYSTERESIS,
                                  {MODEL_RANGE(ircf_hysteresis_range)},
                                  "Failed to send auto day/night hysteresis setup command"};
constexpr LevelSetting WAITING_TIME{ROW_DAY_NIGHT_WAITING_TIME,
                                    {MODEL_RANGE(ircf_waittime_range)},
                                    "Failed to send auto day/night wating time setup command"};

} // namespace

gboolean ptz_driver_canon_cmd_ircut(PTZDriverCanon *self, int mode)
{
    GUARD(self, FALSE);
    CommandBuffer commands;
    if (mode == IR_CUT_AUTOMATIC) {
        commands.add(ROW_DAY_NIGHT_MODE, 1);
    } else {
        commands.add(ROW_DAY_NIGHT_MODE, 0);
        commands.add(ROW_IR_CUT_FILTER, mode == IR_CUT_NIGHT ? 1 : 0);
    }
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send day/night mode setup command");
}

gboolean ptz_driver_canon_cmd_ircut_thresholds(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(THRESHOLD.range, level);
    return ptz_driver_canon_cmd_send_level(self, THRESHOLD, level);
}

gboolean ptz_driver_canon_cmd_auto_ircut_filter_hysteresis(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(HYSTERESIS.range, level);
    return ptz_driver_canon_cmd_send_level(self, HYSTERESIS, level);
}

gboolean ptz_driver_canon_cmd_auto_ircut_filter_wait_time(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(WAITING_TIME.range, level);
    return ptz_driver_canon_cmd_send_level(self, WAITING_TIME, level);
}

gboolean ptz_driver_canon_cmd_ir_correction(PTZDriverCanon *self, const char *enabled)
{
    GUARD_TEXT(enabled);
    const bool off = g_ascii_strcasecmp(enabled, "off") == 0;
    return ptz_driver_canon_cmd_send_record(self, "Failed to send IR correction frequency setup command",
                                            ROW_IR_CORRECTION, off ? 0 : self->cam_model->ir_correction_frequency);
}
