#include "cmd/move_iris.h"

#include "cmd/exposure.h"
#include "cmd/payload.h"
#include "cmd/send.h"
#include "core/fixed_point.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/value_map.h"
#include "core/zenta.h"
#include "utils/publish.h"
#include "utils/status.h"
#include "vcc/lookup.h"
#include "vcc/rows.h"
#include "vcc/shutter.h"
#include "vcc/status.h"

namespace {

constexpr const char *MANUAL = "manual";

// The first and last position of each part of the exposure scale.
constexpr int TIME_FIRST = 1, TIME_LAST = 2500;
constexpr int IRIS_FIRST = 2501, IRIS_LAST = 5000;
constexpr int GAIN_FIRST = 5001, GAIN_LAST = 7500;
constexpr int SLOW_FIRST = 7501, SLOW_LAST = 9999;

// The longest exposure times in microseconds: within one frame, and with slow shutter.
struct ExposureTimes {
    int frame, slow;
};

struct Exposure {
    int time_us, iris_percent, gain_percent;
};

// x in a..c onto p..r in a straight line, cut towards zero.
int map(int x, int a, int c, int p, int r)
{
    return truncate_to_int(linear_map(real(x), real(a), real(c), real(p), real(r)));
}

bool get_exposure_times(const PTZDriverCanon *self, ExposureTimes *times)
{
    times->frame = ptz_driver_canon_utils_get_max_exposure_time(self, "off");
    times->slow = ptz_driver_canon_utils_get_max_exposure_time(self, "on");
    if (times->frame > 0 && times->slow > 0)
        return true;
    log_error("Could not calculate exposure time");
    return false;
}

Exposure exposure_at(int position, const ExposureTimes &times)
{
    if (position <= TIME_LAST)
        return {map(position, TIME_FIRST, TIME_LAST, 1, times.frame), 0, 0};
    if (position <= IRIS_LAST)
        return {times.frame, map(position, IRIS_FIRST, IRIS_LAST, 0, 100), 0};
    if (position <= GAIN_LAST)
        return {times.frame, 100, map(position, GAIN_FIRST, GAIN_LAST, 0, 100)};
    return {map(position, SLOW_FIRST, SLOW_LAST, times.frame, times.slow), 100, 100};
}

int position_of(const Exposure &exposure, const ExposureTimes &times)
{
    const bool slow = exposure.time_us > times.frame;
    if (exposure.iris_percent == 0)
        return slow ? TIME_LAST : map(exposure.time_us, 1, times.frame, TIME_FIRST, TIME_LAST);
    if (exposure.iris_percent != 100)
        return map(exposure.iris_percent, 0, 100, IRIS_FIRST, IRIS_LAST);
    return slow ? map(exposure.time_us, times.frame, times.slow, SLOW_FIRST, SLOW_LAST)
                : map(exposure.gain_percent, 0, 100, GAIN_FIRST, GAIN_LAST);
}

gboolean send_exposure(PTZDriverCanon *self, const Exposure &exposure)
{
    const int shutter = vccif_exposure_time_to_vcc_shutter(self, exposure.time_us);
    if (shutter == -1) {
        log_error("Unsupported shutter speed: %d", exposure.time_us);
        return FALSE;
    }
    const int iris = payload_iris_code(self, exposure.iris_percent, exposure.iris_percent);
    if (iris < 0)
        return FALSE;
    const int gain = payload_gain_code(self, exposure.gain_percent);
    if (gain < 0)
        return FALSE;
    CommandBuffer commands;
    commands.add(ROW_SHUTTER, shutter);
    payload_add_iris(commands, iris);
    commands.add(ROW_GAIN, gain);
    return ptz_driver_canon_cmd_send_buffer(self, commands, "Failed to send full manual settings setup command");
}

// The position that a relative move counts from: where automatic exposure now is, or where the iris was moved to.
int present_position(PTZDriverCanon *self)
{
    if (!self->current.auto_iris)
        return self->current.iris_zenta;
    int position = -1;
    ptz_driver_canon_get_exposure_position(self, &position);
    return position;
}

} // namespace

gboolean ptz_driver_canon_cmd_move_iris(PTZDriverCanon *self, int move_type, int value)
{
    GUARD(self, FALSE);
    self->current.iris_moving = 1;
    ptz_driver_canon_utils_publish_status(self);
    int position = value;
    if (move_type == PTZ_MOVE_RELATIVE) {
        position = zenta_moved(present_position(self), value);
    } else if (move_type != PTZ_MOVE_ABSOLUTE) {
        log_error("Unsupported PTZ move type");
        return FALSE;
    }
    ptz_driver_canon_cmd_full_manual_exposure(self, position);
    self->current.iris_moving = 0;
    self->current.iris_zenta = position;
    ptz_driver_canon_utils_publish_status(self);
    return TRUE;
}

gboolean ptz_driver_canon_cmd_full_manual_exposure(PTZDriverCanon *self, int iris_zenta)
{
    GUARD(self, FALSE);
    GUARD((ZENTA_RANGE_MIN <= iris_zenta) && (iris_zenta <= ZENTA_RANGE_MAX), FALSE);
    CameraState &now = self->current;
    self->target.brightness_zenta = now.brightness_zenta = -1;
    self->target.iris_zenta = iris_zenta;
    now.auto_iris = FALSE;
    self->parent_instance.iris_mode = PTZ_IRIS_MANUAL;
    now.brightness_moving = -1;
    now.iris_moving = 1;
    ptz_driver_canon_utils_publish_status(self);

    ExposureTimes times{};
    if (!get_exposure_times(self, &times) || !send_exposure(self, exposure_at(iris_zenta, times)))
        return FALSE;
    if (now.exposure_mode != nullptr && g_ascii_strcasecmp(now.exposure_mode, MANUAL) != 0)
        ptz_driver_canon_cmd_exposure_mode(self, MANUAL, nullptr);
    now.iris_moving = 0;
    ptz_driver_canon_utils_publish_status(self);
    return TRUE;
}

gboolean ptz_driver_canon_get_exposure_position(PTZDriverCanon *self, int *position)
{
    GUARD(self, FALSE);
    ptz_driver_canon_cmd_update_status(self);
    Exposure exposure{};
    exposure.iris_percent = vccif_vcc_to_percent_iris(self, static_cast<int>(vccif_get_av()));
    exposure.time_us = vccif_vcc_to_exposure_time_shutter(self, static_cast<int>(vccif_get_tv()));
    exposure.gain_percent = vccif_vcc_to_percent_gain(self, static_cast<int>(vccif_get_sv()));
    ExposureTimes times{};
    if (!get_exposure_times(self, &times))
        return FALSE;
    *position = position_of(exposure, times);
    return TRUE;
}
