#include "utils/publish.h"

#include "core/fixed_point.h"
#include "core/log.h"
#include "glib_owned.h"
#include "utils/picture.h"
#include "utils/task.h"
#include "vcc/status.h"

#include <array>
#include <cstddef>

namespace {

constexpr gint64 PUBLISHING_INTERVAL_US = 33000;
constexpr int CACHE_ANGLE_OFFSET = 36000; // hundredths of a degree: the caches hold no negative angle

struct PositionKey {
    const char *key;
    std::size_t offset; // of the value in CameraState
    gint32 type;
};

#define KEY(name, field, type)                                                                                         \
    PositionKey                                                                                                        \
    {                                                                                                                  \
        name, offsetof(CameraState, field), type                                                                       \
    }

constexpr std::array POSITION_KEYS{
    KEY("ZOOM_MAG", zoom_magnification, SC_TYPE_REAL),
    KEY("ZOOM_ZENTA", zoom_zenta, SC_TYPE_INTEGER),
    KEY("ZOOM_STATUS", zoom_moving, SC_TYPE_INTEGER),
    KEY("ZOOM_HFOV", hfov, SC_TYPE_REAL),
    KEY("ZOOM_VFOV", vfov, SC_TYPE_REAL),
    KEY("ZOOM_MASK_HFOV", mask_hfov, SC_TYPE_REAL),
    KEY("ZOOM_MASK_VFOV", mask_vfov, SC_TYPE_REAL),
    KEY("FOCUS_ZENTA", focus_zenta, SC_TYPE_INTEGER),
    KEY("FOCUS_STATUS", focus_moving, SC_TYPE_INTEGER),
    KEY("IRIS_ZENTA", iris_zenta, SC_TYPE_INTEGER),
    KEY("IRIS_STATUS", iris_moving, SC_TYPE_INTEGER),
    KEY("BRIGHTNESS_ZENTA", brightness_zenta, SC_TYPE_INTEGER),
    KEY("BRIGHTNESS_STATUS", brightness_moving, SC_TYPE_INTEGER),
    KEY("PAN_DEG", pan_degree, SC_TYPE_REAL),
    KEY("PAN_STATUS", pan_moving, SC_TYPE_INTEGER),
    KEY("TILT_DEG", tilt_degree, SC_TYPE_REAL),
    KEY("TILT_STATUS", tilt_moving, SC_TYPE_INTEGER),
};

#undef KEY

constexpr int POSITION_COUNT = static_cast<int>(POSITION_KEYS.size());
static_assert(POSITION_COUNT == 17);

constexpr guint32 VALUE_SIZE = 4;

// The records last for the process; their values are those of `owner`. Used under its status_lock.
struct Records {
    const PTZDriverCanon *owner;
    std::array<ScParam, POSITION_KEYS.size()> position;
    ScParam auto_focus;
    ScParam auto_iris;
};
Records records{};

void fill_records(const PTZDriverCanon *self)
{
    const auto *state = reinterpret_cast<const std::byte *>(&self->current);
    for (std::size_t i = 0; i < POSITION_KEYS.size(); ++i) {
        const PositionKey &key = POSITION_KEYS[i];
        records.position[i] = ScParam{key.key, VALUE_SIZE, state + key.offset, key.type};
    }
    records.auto_focus = ScParam{"AUTO_FOCUS", VALUE_SIZE, nullptr, SC_TYPE_INTEGER};
    records.auto_iris = ScParam{"AUTO_IRIS", VALUE_SIZE, nullptr, SC_TYPE_INTEGER};
    records.owner = self;
}

// What a drive does, as the caches want it.
struct DriveMotion {
    int direction; // +1 towards the upper end, or at rest; -1 towards the lower
    int speed;     // hundredths of a degree per second, signed
    bool changing; // accelerating or braking
};

DriveMotion drive_motion(gint32 position, gint32 target, gint32 actual_speed, gint32 target_speed)
{
    const int direction = gint64{target} - position >= 0 ? 1 : -1;
    return {direction, direction * (actual_speed / 10), actual_speed > 0 && actual_speed != target_speed};
}

struct CacheResults {
    guint32 position = 0;
    guint32 speed = 0;
};

CacheResults update_data_caches(PTZDriverCanon *self)
{
    CameraState &now = self->current;
    CacheResults results;
    ptz_driver_zoom_datacache_write(now.zoom_zenta, now.zoom_moving, self->datacache_is_used, now.mask_hfov,
                                    now.mask_vfov, now.zoom_magnification);
    ptz_driver_flip_datacache_write(now.flip);

    const gint32 pan_position = vccif_get_pan_position();
    const gint32 tilt_position = vccif_get_tilt_position();
    ptz_driver_position_datacache_update(pan_position / 10 + CACHE_ANGLE_OFFSET,
                                         tilt_position / 10 + CACHE_ANGLE_OFFSET, CACHE_ANGLE_OFFSET,
                                         CACHE_ANGLE_OFFSET, &results.position);

    const DriveMotion pan = drive_motion(pan_position, vccif_get_pan_target_position(), vccif_get_pan_actual_speed(),
                                         vccif_get_pan_target_speed());
    const DriveMotion tilt = drive_motion(tilt_position, vccif_get_tilt_target_position(),
                                          vccif_get_tilt_actual_speed(), vccif_get_tilt_target_speed());
    ptz_driver_speed_datacache_update(pan.speed, tilt.speed, pan.changing, tilt.changing, &results.speed);

    // A drive that was just asked to move counts as moving before the camera block says so.
    if (self->pan_move_requested)
        now.pan_moving = 1;
    if (self->tilt_move_requested)
        now.tilt_moving = 1;
    guint32 moving_result = 0;
    ptz_driver_moving_datacache_update(now.pan_move_mode, now.tilt_move_mode, now.pan_moving, now.tilt_moving,
                                       pan.direction * now.pan_speed, tilt.direction * now.tilt_speed,
                                       truncate_to_unsigned(now.pan_degree), truncate_to_unsigned(now.tilt_degree),
                                       &moving_result);
    return results;
}

void set_position_group(PTZDriverCanon *self, CacheResults results)
{
    std::array<ScParam, PTZ_STATUS_SPARE_RECORDS> spare{};
    const CameraState &now = self->current;
    PTZDriver *base = ptz_driver_of(self);
    const int reported = PTZ_DRIVER_GET_CLASS(base)->report_status_params(
        base, now.pan_moving, now.tilt_moving, now.zoom_moving, now.focus_moving, now.iris_moving,
        now.brightness_moving, results.position, results.speed, 1, PTZ_STATUS_SPARE_RECORDS, spare.data());
    const int extra = CLAMP(reported, 0, PTZ_STATUS_SPARE_RECORDS);

    std::array<const ScParam *, POSITION_COUNT + PTZ_STATUS_SPARE_RECORDS + 1> list{};
    std::size_t n = 0;
    for (const ScParam &record : records.position)
        list[n++] = &record;
    for (std::size_t i = 0; i < static_cast<std::size_t>(extra); ++i)
        list[n++] = &spare[i];

    const int count = POSITION_COUNT + extra;
    const int set = sc_set_group("PTZ_POSITION_IS1", list.data(), 0);
    if (set < 0)
        log_error("Could not set group");
    if (count > set)
        log_error("Could only set %d of %d params", set, count);
}

void set_various_group(gint32 auto_focus, gint32 auto_iris)
{
    records.auto_focus.value = &auto_focus;
    records.auto_iris.value = &auto_iris;
    const std::array<const ScParam *, 3> list{&records.auto_focus, &records.auto_iris, nullptr};
    sc_set_group("PTZ_VARIOUS_IS1", list.data(), 0);
    records.auto_focus.value = nullptr;
    records.auto_iris.value = nullptr;
}

// Freezes a moving picture where the mode asks for it, and lets it live again at rest.
void freeze_while_moving(PTZDriverCanon *self)
{
    const CameraState &now = self->current;
    const bool moving = now.zoom_moving || now.pan_moving || now.tilt_moving;
    if (now.image_frozen) {
        if (!moving)
            ptz_driver_canon_utils_set_image_freeze(self, FALSE);
        return;
    }
    if (!moving)
        return;
    const PTZRequest *request = self->parent_instance.current_request;
    const bool to_preset = request != nullptr && request->words[PTZ_REQUEST_PRESET_WORD] == 1;
    if (now.image_freeze_mode == IMAGE_FREEZE_ON || (now.image_freeze_mode == IMAGE_FREEZE_AUTO && to_preset))
        ptz_driver_canon_utils_set_image_freeze(self, TRUE);
}

} // namespace

void ptz_driver_canon_utils_publish_status(PTZDriverCanon *self)
{
    const GMutexHold hold(self->status_lock);
    if (records.owner != self)
        fill_records(self);
    const gint32 auto_focus = self->current.auto_focus ? 1 : 2;
    const gint32 auto_iris = self->current.auto_iris ? 1 : 2;
    CacheResults results;
    if (self->datacache_is_used)
        results = update_data_caches(self);
    set_position_group(self, results);
    set_various_group(auto_focus, auto_iris);
}

void ptz_driver_canon_utils_start_publishing(PTZDriverCanon *self)
{
    ptz_driver_canon_utils_publish_status(self);
    ptz_driver_canon_start_job(self, Job::publishing, ptz_driver_canon_utils_status_job, PUBLISHING_INTERVAL_US);
}

gboolean ptz_driver_canon_utils_status_job(PTZDriverCanon *self)
{
    if (!Life::goes_on(self, Job::publishing))
        return FALSE;
    ptz_driver_canon_utils_publish_status(self);
    freeze_while_moving(self);
    return TRUE;
}

void ptz_driver_canon_utils_forget_records(const PTZDriverCanon *self)
{
    if (records.owner == self)
        records = Records{};
}
