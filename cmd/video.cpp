#include "cmd/video.h"

#include "cmd/setting.h"
#include "core/log.h"

#include <cstring>

namespace {

constexpr ModeRow OUTPUTS[] = {{"hdmi", 0}, {"sdi", 1}, {}};
constexpr ModeRow SDI_LEVELS[] = {{"level_a", 0}, {"level_b", 1}, {}};

constexpr ChoiceSetting VIDEO_OUTPUT{ROW_VIDEO_OUTPUT, OUTPUTS, "Unsupported video output type",
                                     "Failed to send video output setup command"};
constexpr ChoiceSetting SDI_MAPPING{ROW_SDI_MAPPING, SDI_LEVELS, "Unsupported SDI mapping mode",
                                    "Failed to send SDI mapping setup command"};

constexpr ModeTable VIDEO_MODES{&CameraModel::video_mode_tbl, "Unavailable video mode table.",
                                ERROR_MESSAGE("Unsupported video mode: %s")};

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
    return ptz_driver_canon_cmd_send_record(self, "Failed to send rotate setup command", ROW_ROTATION,
                                            degrees == 180 ? 1 : 0);
}

gboolean ptz_driver_canon_cmd_video_mode(PTZDriverCanon *self, const char *mode, const char *scan)
{
    GUARD_TEXT(mode);
    const ModeRow *row = ptz_driver_canon_cmd_choose_mode(self, VIDEO_MODES, mode);
    if (row == nullptr)
        return FALSE;
    const int code = scan != nullptr ? scan_code(scan, row->name) : -1;
    if (code < 0) {
        log_error("Unsupported video scan mode");
        return FALSE;
    }
    CommandBuffer commands;
    commands.add(ROW_VIDEO_MODE, row->code);
    commands.add(ROW_SCAN_MODE, code);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send video mode setup command");
}

gboolean ptz_driver_canon_cmd_video_output(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_choice(self, VIDEO_OUTPUT, mode);
}

gboolean ptz_driver_canon_cmd_sdi_mapping_mode(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_choice(self, SDI_MAPPING, mode);
}
