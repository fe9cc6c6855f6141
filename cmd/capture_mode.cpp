#include "cmd/capture_mode.h"

#include "cmd/sensor_halt.h"
#include "cmd/setting.h"
#include "cmd/video.h"
#include "core/clock.h"
#include "core/log.h"
#include "hw/boot.h"
#include "utils/picture.h"
#include "utils/status.h"
#include "vcc/select_model.h"
#include "vcc/status.h"

namespace {

constexpr std::int64_t SENSOR_CHANGE_US = 1000000;
constexpr int SENSOR_CHANGE_CHECKS = 10;

bool restart_camera(PTZDriverCanon *self)
{
    const CameraModel &model = *self->cam_model;
    if (model.halt_sensor_on_power_off)
        ptz_driver_canon_utils_halt_sensor_and_settle(self);
    if (model.sw_reset_supported) {
        if (!ptz_driver_canon_cmd_sw_reset(self)) {
            log_error("Fatal error, could not start camera block");
            return false;
        }
    } else if (!ptz_driver_canon_boot(self)) {
        log_error("Fatal error, could not restart camera block");
        return false;
    }
    if (!ptz_driver_canon_utils_wait_all_status(self)) {
        log_error("Fatal error, failed to communicate with camera block");
        return false;
    }
    return true;
}

void remember_capture_mode(PTZDriverCanon *self, const char *mode)
{
    char *name = g_strdup(mode); // `mode` may be the text that is replaced
    g_free(self->current.capture_mode);
    self->current.capture_mode = name;
}

} // namespace

gboolean ptz_driver_canon_cmd_capture_mode(PTZDriverCanon *self, const char *mode, gboolean blank, gboolean restart,
                                           gboolean *restart_required)
{
    GUARD_TEXT(mode);
    GUARD(restart_required, FALSE);
    const CaptureModeRow *row = nullptr;
    if (!ptz_driver_canon_utils_parse_capture_modes(self, mode, &row))
        return FALSE;
    if (blank)
        ptz_driver_canon_set_video_output(self, FALSE);
    if (!ptz_driver_canon_cmd_capture_mode_sensor(self, row, restart_required))
        return FALSE;
    if (*restart_required) {
        if (!restart)
            return TRUE;
        *restart_required = FALSE;
        if (!restart_camera(self))
            return FALSE;
    }
    if (!ptz_driver_canon_cmd_capture_mode_isp(self, row))
        return FALSE;
    if (self->cam_model->video_mode_supported && !ptz_driver_canon_cmd_video_mode(self, mode, self->current.scan_mode))
        return FALSE;
    remember_capture_mode(self, mode);
    if (blank)
        ptz_driver_canon_set_video_output(self, TRUE);
    return TRUE;
}

gboolean ptz_driver_canon_cmd_capture_mode_sensor(PTZDriverCanon *self, const CaptureModeRow *capture_mode,
                                                  gboolean *restart_required)
{
    GUARD(self, FALSE);
    GUARD(capture_mode, FALSE);
    GUARD(restart_required, FALSE);
    *restart_required = FALSE;
    if (static_cast<unsigned>(capture_mode->capture_frequency) == vccif_get_capture_frequency())
        return TRUE;
    if (!ptz_driver_canon_cmd_send_record(self, "Failed to send capture frequency setup command",
                                          ROW_SENSOR_CAPTURE_MODE, capture_mode->capture_frequency))
        return FALSE;
    clock_sleep_us(SENSOR_CHANGE_US);
    // Goes by the status that was received last: none is read while the sensor changes.
    for (int check = 0; check < SENSOR_CHANGE_CHECKS && vccif_get_capture_mode_state() <= 1; ++check)
        clock_sleep_us(SENSOR_CHANGE_US);
    *restart_required = TRUE;
    return TRUE;
}

gboolean ptz_driver_canon_cmd_capture_mode_isp(PTZDriverCanon *self, const CaptureModeRow *capture_mode)
{
    GUARD(self, FALSE);
    GUARD(capture_mode, FALSE);
    return ptz_driver_canon_cmd_send_record(self, "Failed to send capture frame rate setup command",
                                            ROW_CAPTURE_FRAME_RATE, capture_mode->frame_rate_code);
}

gboolean ptz_driver_canon_cmd_sw_reset(PTZDriverCanon *self)
{
    GUARD(self, FALSE);
    if (!self->cam_model->sw_reset_supported) {
        log_error("Unsupported software reset");
        return FALSE;
    }
    return ptz_driver_canon_cmd_send_record(self, "Failed to send software reset setup command", ROW_SOFTWARE_RESET);
}
