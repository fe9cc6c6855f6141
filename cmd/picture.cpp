#include "cmd/picture.h"

#include "cmd/setting.h"
#include "core/log.h"

namespace {

constexpr LevelSetting SHARPNESS{
    ROW_SHARPNESS, {MODEL_RANGE(sharpness_range)}, "Failed to send sharpness setup command"};
constexpr LevelSetting DEFOG_EFFECT{
    ROW_DEFOG_EFFECT, {MODEL_RANGE(defog_effect_range)}, "Failed to send defog level setup command"};

constexpr ModelRange NOISE_RANGE{MODEL_RANGE(nr_range)};

constexpr ModeSetting WDR{ROW_WDR,
                          {&CameraModel::wdr_tbl, "Unavailable WDR table.", ERROR_MESSAGE("Unsupported WDR mode %s")},
                          "Failed to send WDR setup command"};
constexpr ModeSetting GAMMA{
    ROW_GAMMA,
    {&CameraModel::gamma_tbl, "Unavailable gamma cureve table.", ERROR_MESSAGE("Unsupported gamma curve mode %s")},
    "Failed to send gamma curve mode setup command"};
constexpr ModeSetting STABILIZER{ROW_IMAGE_STABILIZATION,
                                 {&CameraModel::image_stabilizer_tbl, "Unavailable image stabilization table.",
                                  ERROR_MESSAGE("Unsupported image stabilization mode %s")},
                                 "Failed to send image stabilization setup command"};
constexpr ModeSetting DISTORTION{ROW_DISTORTION_CORRECTION,
                                 {&CameraModel::distortion_correction_tbl, "Unavailable distortion correction table.",
                                  ERROR_MESSAGE("Unsupported distortion correction mode %s")},
                                 "Failed to send distortion correction setup command"};

constexpr ModeRow OFF_ON[] = {{"off", 0}, {"on", 1}, {}};
constexpr ChoiceSetting DEFOG{ROW_DEFOG, OFF_ON, "Unsupported defog mode", "Failed to send defog setup command"};

} // namespace

gboolean ptz_driver_canon_cmd_sharpness(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(SHARPNESS.range, level);
    return ptz_driver_canon_cmd_send_level(self, SHARPNESS, level);
}

gboolean ptz_driver_canon_cmd_noise_reduction(PTZDriverCanon *self, const char *mode, unsigned level)
{
    GUARD_TEXT(mode);
    GUARD_SCALED(NOISE_RANGE, level);
    const ModeRow *row = ptz_driver_canon_cmd_find_mode(OFF_ON, mode);
    if (row == nullptr) {
        log_error("Unavailable noise reduction mode");
        return FALSE;
    }
    const bool on = row->code != 0;
    const int strength = on ? ptz_driver_canon_cmd_scaled(self, NOISE_RANGE, level) : 0;
    return ptz_driver_canon_cmd_send_record(self, "Failed to send noise reduction intensity setup command",
                                            ROW_NOISE_REDUCTION, strength);
}

gboolean ptz_driver_canon_cmd_wdr(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_mode(self, WDR, mode);
}

gboolean ptz_driver_canon_cmd_gamma(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_mode(self, GAMMA, mode);
}

gboolean ptz_driver_canon_cmd_image_stabilizer(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_mode(self, STABILIZER, mode);
}

gboolean ptz_driver_canon_cmd_distortion_correction(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_mode(self, DISTORTION, mode);
}

gboolean ptz_driver_canon_cmd_defog(PTZDriverCanon *self, const char *mode)
{
    GUARD_TEXT(mode);
    return ptz_driver_canon_cmd_send_choice(self, DEFOG, mode);
}

gboolean ptz_driver_canon_cmd_defog_effect(PTZDriverCanon *self, unsigned level)
{
    GUARD(self, FALSE);
    GUARD_SCALED(DEFOG_EFFECT.range, level);
    return ptz_driver_canon_cmd_send_level(self, DEFOG_EFFECT, level);
}
