#include "cmd/ptz_driver_canon_cmd_video.h"

#include "cmd/ptz_driver_canon_cmd_choice.h"
#include "cmd/ptz_driver_canon_cmd_send.h"
#include "core/clock.h"
#include "core/guard.h"
#include "core/log.h"
#include "utils/ptz_driver_canon_utils_status.h"
#include "vcc/vccif_model.h"

#include <cstring>

namespace {

constexpr std::int64_t SENSOR_SETTLE_US = 1000000;

constexpr TextChoice OUTPUTS[] = {{"hdmi", 0}, {"sdi", 1}};
constexpr TextChoice SDI_LEVELS[] = {{"level_a", 0}, {"level_b", 1}};

constexpr TextSetting VIDEO_OUTPUT{kVideoOutput, OUTPUTS, "Unsupported video output type",
                                   "Failed to send video output setup command"};
constexpr TextSetting SDI_MAPPING{kSdiMapping, SDI_LEVELS, "Unsupported SDI mapping mode",
                                  "Failed to send SDI mapping setup command"};

const ModeRow *find_mode(const ModeRow *table, const char *name)
{
    for (const ModeRow *row = table; row->name != nullptr; ++row)
        if (g_ascii_strcasecmp(row->name, name) == 0)
            return row;
    return nullptr;
}

// The code of a scan for that mode of the table, or -1.
int scan_code(const char *scan, const char *table_name)
{
    if (g_ascii_strcasecmp(scan, "progressive") == 0)
        return 0;
    if (g_ascii_strcasecmp(scan, "interlaced") != 0)
        return -1;
    return std::strcmp(table_name, "1080p50") == 0 || std::strcmp(table_name, "1080p60") == 0 ? 1 : 0;
}

} // namespace

gboolean ptz_driver_canon_cmd_rotate(PTZDriverCanon *self, int degrees)
{
    GUARD(self, FALSE);
    if (degrees != 0 && degrees != 180) {
        log_error("Unsupported rotation mode");
        return FALSE;
    }
    CommandBuffer commands;
    commands.add(kRotation, degrees == 180 ? 1 : 0);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send rotate setup command");
}

gboolean ptz_driver_canon_cmd_video_mode(PTZDriverCanon *self, const char *mode, const char *scan)
{
    GUARD(self, FALSE);
    GUARD(mode, FALSE);
    if (self->cam_model->video_mode_tbl == nullptr) {
        log_error("Unavailable video mode table.");
        return FALSE;
    }
    const ModeRow *row = find_mode(self->cam_model->video_mode_tbl, mode);
    if (row == nullptr) {
        log_error("Unsupported video mode: %s", mode);
        return FALSE;
    }
    const int code = scan != nullptr ? scan_code(scan, row->name) : -1;
    if (code < 0) {
        log_error("Unsupported video scan mode");
        return FALSE;
    }
    CommandBuffer commands;
    commands.add(kVideoMode, row->code);
    commands.add(kScanMode, code);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send video mode setup command");
}

gboolean ptz_driver_canon_cmd_video_output(PTZDriverCanon *self, const char *mode)
{
    GUARD(self, FALSE);
    GUARD(mode, FALSE);
    return ptz_driver_canon_cmd_send_choice(self, VIDEO_OUTPUT, mode);
}

gboolean ptz_driver_canon_cmd_sdi_mapping_mode(PTZDriverCanon *self, const char *mode)
{
    GUARD(self, FALSE);
    GUARD(mode, FALSE);
    return ptz_driver_canon_cmd_send_choice(self, SDI_MAPPING, mode);
}

gboolean ptz_driver_canon_cmd_white_balance_onepush(PTZDriverCanon *self)
{
    GUARD(self, FALSE);
    CommandBuffer commands;
    commands.add(kOnePushWhiteBalance);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send one push white balance setup command");
}

gboolean ptz_driver_canon_cmd_halt_sensor(PTZDriverCanon *self, gboolean halt)
{
    GUARD(self, FALSE);
    CommandBuffer commands;
    commands.add(kImageSensorHalt, halt ? 0 : 1, halt ? 1 : 0);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send image sensor halt mode setup command");
}

void ptz_driver_canon_utils_halt_sensor_and_settle(PTZDriverCanon *self)
{
    ptz_driver_canon_cmd_update_status(self);
    ptz_driver_canon_cmd_halt_sensor(self, TRUE);
    for (int refresh = 0; refresh < self->cmd_retries; ++refresh)
        if (ptz_driver_canon_cmd_update_status(self))
            break;
    clock_sleep_us(SENSOR_SETTLE_US);
}
