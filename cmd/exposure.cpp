#include "cmd/exposure.h"

#include "cmd/payload.h"
#include "cmd/setting.h"
#include "core/fixed_point.h"
#include "core/log.h"
#include "core/value_map.h"
#include "vcc/lookup.h"
#include "vcc/shutter.h"

#include <algorithm>

namespace {

constexpr ModeTable MODES{&CameraModel::exposure_mode_tbl, "Unavailable exposure mode table.",
                          ERROR_MESSAGE("Unsupported exposure mode: %s")};
constexpr ModeTable PRIORITIES{&CameraModel::exposure_priority_tbl, "Unavailable exposure priority table.",
                               ERROR_MESSAGE("Unsupported exposure priority: %s")};
constexpr ModeTable WINDOWS{&CameraModel::exposure_window_tbl, "Unavailable exposure window table.",
                            ERROR_MESSAGE("Unsupported exposure window: %s")};

constexpr ModeSetting WINDOW{ROW_EXPOSURE_WINDOW, WINDOWS, "Failed to send exposure window setup command"};
constexpr ModeSetting SPOT_WINDOW{ROW_EXPOSURE_WINDOW, WINDOWS, "Failed to spot exposure window setup send command"};

constexpr LevelSetting RESPONSE{ROW_AUTO_EXPOSURE_RESPONSE,
                                {MODEL_RANGE(ae_response_range)},
                                "Failed to send auto exposure response setup command"};

// As limits of the exposure time: one frame, and the shortest there is.
constexpr int ONE_FRAME = -1;
constexpr int SHORTEST = 0;

bool is_on(const char *text)
{
    return g_ascii_strcasecmp(text, "on") == 0;
}

bool is_off(const char *text)
{
    return g_ascii_strcasecmp(text, "off") == 0;
}

struct SpotSide {
    int begin, length;
};

// One axis of the spot's window: as large as the model has it and placed at `percent`, both kept in their limits.
SpotSide spot_side(const SpotExposureArea &area, unsigned percent, int model_length)
{
    const float min = area.coordinate_min, max = area.coordinate_max;
    const int at = truncate_to_int(linear_map(static_cast<float>(percent), 0.0f, 100.0f, min, max));
    const int length = area.size_min > model_length ? int{area.size_min} : std::min(model_length, int{area.size_max});
    if (at < area.position_min)
        return {area.position_min, length};
    return {at + length > area.position_max ? area.position_max - length : at, length};
}

} // namespace

gboolean ptz_driver_canon_cmd_exposure_mode(PTZDriverCanon *self, const char *mode, const char *priority)
{
    GUARD_TEXT(mode);
    const ModeRow *row = priority != nullptr ? ptz_driver_canon_cmd_choose_mode(self, PRIORITIES, priority)
                                             : ptz_driver_canon_cmd_choose_mode(self, MODES, mode);
    if (row == nullptr || !ptz_driver_canon_cmd_send_record(self, "Failed to send exposure mode setup command",
                                                            ROW_EXPOSURE_MODE, row->code))
        return FALSE;
    // The table's own text: the caller's may be gone when this is read.
    self->current.exposure_mode = priority != nullptr ? row->name : nullptr;
    return TRUE;
}

gboolean ptz_driver_canon_cmd_exposure_response(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(RESPONSE.range, level);
    return ptz_driver_canon_cmd_send_level(self, RESPONSE, level);
}

gboolean ptz_driver_canon_cmd_exposure_window(PTZDriverCanon *self, const char *window)
{
    GUARD_TEXT(window);
    return ptz_driver_canon_cmd_send_mode(self, WINDOW, window);
}

gboolean ptz_driver_canon_cmd_spot_exposure(PTZDriverCanon *self, const char *window, const char *enabled)
{
    GUARD_TEXT(window);
    GUARD(enabled, FALSE);
    return ptz_driver_canon_cmd_send_mode(self, SPOT_WINDOW, is_off(enabled) ? window : "area");
}

gboolean ptz_driver_canon_cmd_spot_exposure_position(PTZDriverCanon *self, unsigned pos_x, unsigned pos_y)
{
    GUARD(self, FALSE);
    GUARD_LEVEL(pos_x);
    GUARD_LEVEL(pos_y);
    const SpotExposureArea &area = self->cam_model->spot_exposure_area;
    const SpotSide x = spot_side(area, pos_x, area.window_width);
    const SpotSide y = spot_side(area, pos_y, area.window_height);
    if (x.begin < 0 || y.begin < 0) {
        log_error("Failed to create spot exposure position");
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send spot exposure position command",
                                            ROW_SPOT_EXPOSURE_POSITION, x.begin, y.begin, x.length, y.length);
}

gboolean ptz_driver_canon_cmd_shutter(PTZDriverCanon *self, int value, gboolean manual)
{
    GUARD(self, FALSE);
    const int code =
        manual ? vccif_exposure_time_to_vcc_shutter(self, value) : vccif_percent_to_vcc_shutter(self, value);
    if (static_cast<std::int8_t>(code) == -1) {
        log_error("Unsupported shutter speed: %d", value);
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send shutter speed setup command", ROW_SHUTTER, code);
}

gboolean ptz_driver_canon_cmd_max_exposure_time(PTZDriverCanon *self, const char *mode, int limit)
{
    GUARD_TEXT(mode);
    if (!is_on(mode) && !is_off(mode)) {
        log_error("Unsupported auto slow shutter mode: %s", mode);
        return FALSE;
    }
    const int longest = vccif_exposure_time_to_vcc_shutter(self, is_on(mode) ? limit : ONE_FRAME);
    if (longest == -1) {
        log_error("Unsupported long shutter limit: %d", limit);
        return FALSE;
    }
    const int shortest = vccif_exposure_time_to_vcc_shutter(self, SHORTEST);
    if (shortest == -1) {
        log_error("Unsupported short shutter limit");
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send shutter limits setup command", ROW_SHUTTER_LIMITS,
                                            longest, shortest);
}

gboolean ptz_driver_canon_cmd_gain(PTZDriverCanon *self, int percent)
{
    GUARD(self, FALSE);
    const int code = payload_gain_code(self, percent);
    return code >= 0 && ptz_driver_canon_cmd_send_record(self, "Failed to send gain setup command", ROW_GAIN, code);
}

gboolean ptz_driver_canon_cmd_max_gain(PTZDriverCanon *self, const char *mode, int percent)
{
    GUARD_TEXT(mode);
    const CameraModel &model = *self->cam_model;
    const GainRow *table = is_on(mode) ? model.max_gain_high_sensitivity_tbl : model.max_gain_tbl;
    if (table == nullptr) {
        log_error(is_on(mode) ? "Unavailable maximum gain table at high sensitivity."
                              : "Unavailable maximum gain table at normal.");
        return FALSE;
    }
    const int code = vccif_percent_to_vcc_max_gain(table, percent);
    if (code == -1) {
        log_error("Unsupported maximum gain: %d", percent);
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send gain setup command", ROW_MAXIMUM_GAIN, code);
}

gboolean ptz_driver_canon_cmd_iris(PTZDriverCanon *self, int value, gboolean invert)
{
    GUARD(self, FALSE);
    const int percent = invert ? ptz_driver_canon_mirror(real(value), 0.0f, 100.0f) : value;
    const int code = payload_iris_code(self, percent, value);
    if (code < 0)
        return FALSE;
    CommandBuffer commands;
    payload_add_iris(commands, code);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send iris level setup command");
}

gboolean ptz_driver_canon_cmd_manual_bright_level(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_LEVEL(level);
    const int from_middle = static_cast<int>(level) - 50;
    const int iris = payload_iris_code(self, from_middle <= 0 ? -from_middle * 2 : 0, static_cast<int>(level));
    if (iris < 0)
        return FALSE;
    const int gain = payload_gain_code(self, from_middle >= 0 ? from_middle * 2 : 0);
    if (gain < 0)
        return FALSE;
    CommandBuffer commands;
    payload_add_iris(commands, iris);
    commands.add(ROW_GAIN, gain);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send manual bright level setup command");
}
