#include "cmd/colour.h"

#include "cmd/setting.h"
#include "core/log.h"

namespace {

constexpr int ALL_COLOURS = 0;
constexpr unsigned CHROMA_LEVEL_MAX = 3;
constexpr int GAIN_SET = 1;

constexpr ModeRow LEVEL_COLOURS[] = {{"ColorLevelMagenta", 1},
                                     {"ColorLevelRed", 2},
                                     {"ColorLevelYellow", 3},
                                     {"ColorLevelGreen", 4},
                                     {"ColorLevelCyan", 5},
                                     {"ColorLevelBlue", 6},
                                     {}};
constexpr ModeRow HUE_COLOURS[] = {{"ColorHueMaster", ALL_COLOURS},
                                   {"ColorHue", ALL_COLOURS},
                                   {"ColorHueMagenta", 1},
                                   {"ColorHueRed", 2},
                                   {"ColorHueYellow", 3},
                                   {"ColorHueGreen", 4},
                                   {"ColorHueCyan", 5},
                                   {"ColorHueBlue", 6},
                                   {}};

struct ColourSetting {
    const VccRow<3, 2> &row;
    const ModeRow *colours;
    ModelRange range;
    const char *failure;
};

constexpr ColourSetting LEVEL{
    ROW_COLOUR_LEVEL, LEVEL_COLOURS, {MODEL_RANGE(color_gain_range)}, "Failed to send color level setup command"};
constexpr ColourSetting HUE{
    ROW_COLOUR_HUE, HUE_COLOURS, {MODEL_RANGE(hue_range)}, "Failed to send color hue setup command"};

gboolean send_colour(PTZDriverCanon *self, const ColourSetting &setting, int colour, unsigned level)
{
    return ptz_driver_canon_cmd_send_record(self, setting.failure, setting.row, colour,
                                            ptz_driver_canon_cmd_scaled(self, setting.range, level));
}

gboolean send_named_colour(PTZDriverCanon *self, const ColourSetting &setting, const char *name, unsigned level)
{
    const ModeRow *named = ptz_driver_canon_cmd_find_mode(setting.colours, name);
    if (named == nullptr) {
        log_error("Unsupported color type");
        return FALSE;
    }
    return send_colour(self, setting, named->code, level);
}

constexpr ModeSetting WHITE_BALANCE{ROW_WHITE_BALANCE_MODE,
                                    {&CameraModel::white_balance_tbl, "Unavailable white balance mode table.",
                                     ERROR_MESSAGE("Unsupported white balance mode: %s")},
                                    "Failed to send white balance setup command"};

constexpr ModelRange GAIN_RANGE{MODEL_RANGE(wb_gain_range)};

struct GainSetting {
    const VccRow<3, 1> &row;
    const VccRow<3, 2> &set_row;
    const char *failure;
};

constexpr GainSetting RED_GAIN{ROW_WHITE_BALANCE_RED_GAIN, ROW_WHITE_BALANCE_RED_GAIN_SET,
                               "Failed to send white balance red gain setup command"};
constexpr GainSetting BLUE_GAIN{ROW_WHITE_BALANCE_BLUE_GAIN, ROW_WHITE_BALANCE_BLUE_GAIN_SET,
                                "Failed to send white balance blue gain setup command"};

gboolean send_gain(PTZDriverCanon *self, const GainSetting &setting, unsigned gain)
{
    const int value = ptz_driver_canon_cmd_scaled(self, GAIN_RANGE, gain);
    CommandBuffer commands;
    commands.add(setting.row, value);
    commands.add(setting.set_row, GAIN_SET, value);
    return ptz_driver_canon_cmd_send_buffer(self, commands, setting.failure);
}

} // namespace

gboolean ptz_driver_canon_cmd_color_level(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(LEVEL.range, level);
    return send_colour(self, LEVEL, ALL_COLOURS, level);
}

gboolean ptz_driver_canon_cmd_color_level_by_color(PTZDriverCanon *self, const char *color, unsigned level)
{
    GUARD_TEXT(color);
    GUARD_SCALED(LEVEL.range, level);
    return send_named_colour(self, LEVEL, color, level);
}

gboolean ptz_driver_canon_cmd_color_hue(PTZDriverCanon *self, const char *color, unsigned level)
{
    GUARD_TEXT(color);
    // Refused without the range of the colour levels too, though hues are not scaled through it.
    GUARD(self->cam_model->color_gain_range, FALSE);
    GUARD_SCALED(HUE.range, level);
    return send_named_colour(self, HUE, color, level);
}

gboolean ptz_driver_canon_cmd_chroma_suppress(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    if (level > CHROMA_LEVEL_MAX) {
        log_error("Unsupported chroma suppression level: %d", static_cast<int>(level));
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send chroma suppression setup command",
                                            ROW_CHROMA_SUPPRESSION, level);
}

gboolean ptz_driver_canon_cmd_white_balance(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_mode(self, WHITE_BALANCE, mode);
}

gboolean ptz_driver_canon_cmd_white_balance_manual_gain_r(PTZDriverCanon *self, unsigned gain)
{
    GUARD(self, FALSE);
    GUARD_SCALED(GAIN_RANGE, gain);
    return send_gain(self, RED_GAIN, gain);
}

gboolean ptz_driver_canon_cmd_white_balance_manual_gain_b(PTZDriverCanon *self, unsigned gain)
{
    GUARD(self, FALSE);
    GUARD_SCALED(GAIN_RANGE, gain);
    return send_gain(self, BLUE_GAIN, gain);
}

gboolean ptz_driver_canon_cmd_white_balance_onepush(PTZDriverCanon *self)
{
    GUARD(self, FALSE);
    return ptz_driver_canon_cmd_send_record(self, "Failed to send one push white balance setup command",
                                            ROW_ONE_PUSH_WHITE_BALANCE);
}
