// Open and close.
#include "driver/operations.h"

#include "cmd/sensor_halt.h"
#include "core/log.h"
#include "driver/audio.h"
#include "driver/device_status.h"
#include "driver/port_hold.h"
#include "driver/startup.h"
#include "driver/type.h"
#include "hw/power.h"
#include "utils/picture.h"
#include "utils/services.h"
#include "vcc/model.h"

namespace {

struct DataCache {
    int (*init)(PTZDriver *driver);
    void (*close)(PTZDriver *driver);
    const char *failure;
};

constexpr DataCache DATA_CACHES[] = {
    {ptz_driver_zoom_datacache_init, ptz_driver_zoom_datacache_close, "Could not initialize zoom datacache!"},
    {ptz_driver_flip_datacache_init, ptz_driver_flip_datacache_close, "Could not initialize flip datacache!"},
    {ptz_driver_position_datacache_init, ptz_driver_position_datacache_close,
     "Could not initialize position datacache!"},
    {ptz_driver_moving_datacache_init, ptz_driver_moving_datacache_close, "Could not initialize moving datacache!"},
    {ptz_driver_speed_datacache_init, ptz_driver_speed_datacache_close, "Could not initialize speed datacache!"},
};

} // namespace

void ptz_driver_canon_take_image_source_control(PTZDriverCanon *self)
{
    self->image_source_control = image_source_control_init();
    if (self->image_source_control == nullptr)
        log_error("Failed to init image source control");
}

void ptz_driver_canon_back_in_service(PTZDriverCanon *self)
{
    // The close has given the picture away.
    if (self->closed)
        ptz_driver_canon_take_image_source_control(self);
    Life::open(self);
}

gboolean ptz_driver_canon_op_open(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    ptz_driver_canon_update_modver(self);
    if (self->driver_initialized)
        return TRUE;
    ptz_driver_canon_back_in_service(self);
    ptz_driver_canon_set_state(self, PTZ_STATE_INITIALISING);
    driver->start_routine = ptz_driver_canon_start_routine;
    PTZ_DRIVER_GET_CLASS(driver)->run_start_routine(driver);
    if (self->datacache_is_used)
        for (const DataCache &cache : DATA_CACHES)
            if (cache.init(driver) < 0)
                log_error("%s", cache.failure);
    return TRUE;
}

gboolean ptz_driver_canon_op_close(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    Life::close(self);
    ptz_driver_canon_utils_unsubscribe_capture_changes(self);
    if (self->datacache_is_used)
        for (const DataCache &cache : DATA_CACHES)
            cache.close(driver);
    ptz_driver_canon_update_modver(self);
    ptz_driver_canon_set_video_output(self, FALSE);
    if (self->cam_model->halt_sensor_on_power_off)
        ptz_driver_canon_utils_halt_sensor_and_settle(self);
    ptz_driver_canon_power_off(self);
    ptz_driver_canon_release_port(self);
    ptz_driver_port_unregister(driver->port_registry, 0);
    g_clear_pointer(&self->image_source_control, image_source_control_free);
    if (self->audio_init)
        ptz_driver_canon_audio_close();
    ptz_driver_canon_set_state(self, PTZ_STATE_CLOSED);
    return TRUE;
}
