#include "driver/startup.h"

#include "cmd/sensor_halt.h"
#include "core/host.h"
#include "core/log.h"
#include "driver/audio.h"
#include "driver/capture.h"
#include "driver/device_status.h"
#include "driver/firmware.h"
#include "driver/params.h"
#include "driver/port_hold.h"
#include "driver/type.h"
#include "hw/boot.h"
#include "hw/power.h"
#include "utils/picture.h"
#include "utils/publish.h"
#include "utils/services.h"
#include "utils/status.h"
#include "vcc/model.h"
#include "vcc/status.h"

namespace {

constexpr guint32 ERROR_INIT = 1;

void lock_ports(PTZDriverCanon *self)
{
    if (self->ports_locked)
        return;
    ptz_driver_port_lock_all(self->parent_instance.port_registry);
    self->ports_locked = TRUE;
}

void unlock_ports(PTZDriverCanon *self)
{
    if (!self->ports_locked)
        return;
    self->ports_locked = FALSE;
    ptz_driver_port_unlock_all(self->parent_instance.port_registry);
}

gboolean fail_startup(PTZDriverCanon *self)
{
    ptz_driver_canon_set_state(self, PTZ_STATE_FAILED);
    self->device_error = ERROR_INIT;
    ptz_driver_canon_update_device_status(self, self->device_error);
    ptz_driver_canon_stop_camera(self);
    log_error("Fatal error, Camera block setup is failed \n");
    unlock_ports(self);
    return TRUE;
}

// The camera may not run at this temperature: the controller starts it when the range is reached again.
gboolean hold_for_temperature(PTZDriverCanon *self)
{
    const int range = ptz_temperature_controller_get_state(self->temp_controller);
    const bool cold = range == PTZ_TEMPERATURE_BELOW, hot = range == PTZ_TEMPERATURE_ABOVE;
    if (cold)
        ptz_driver_canon_release_port(self);
    if (cold || hot)
        ptz_driver_canon_set_state(self, cold ? PTZ_STATE_TOO_COLD : PTZ_STATE_TOO_HOT);
    self->parent_instance.start_routine = nullptr;
    return cold || hot ? TRUE : fail_startup(self);
}

gboolean begin_initialising(PTZDriverCanon *self)
{
    ptz_driver_canon_set_state(self, PTZ_STATE_INITIALISING);
    lock_ports(self);
    ptz_driver_canon_utils_publish_status(self);
    vccif_clear_status();
    return TRUE;
}

gboolean read_fw_version(PTZDriverCanon *self)
{
    self->fw_version = vccif_wait_fw_revision(self);
    return TRUE;
}

// The camera block takes the capture mode that the image pipeline is in.
gboolean initialise_capture_mode(PTZDriverCanon *self)
{
    gboolean restart_required = FALSE;
    return ptz_driver_canon_take_capture_mode(self, FALSE, TRUE, &restart_required);
}

gboolean begin_publishing(PTZDriverCanon *self)
{
    ptz_driver_canon_utils_subscribe_capture_changes(self, ptz_driver_canon_utils_on_properties_changed);
    ptz_driver_canon_utils_start_publishing(self);
    ptz_driver_canon_read_limits(self);
    return TRUE;
}

gboolean begin_running(PTZDriverCanon *self)
{
    self->parent_instance.start_routine = nullptr;
    ptz_driver_canon_start_status_poll(self);
    if (self->dbg_status_dump)
        ptz_driver_canon_start_status_dump(self);
    ptz_driver_canon_set_status_update(self, TRUE);
    ptz_driver_canon_set_state(self, PTZ_STATE_RUNNING);
    Life::run(self);
    ptz_driver_canon_update_modver(self);
    ptz_driver_canon_set_video_output(self, TRUE);
    unlock_ports(self);
    if (self->audio_init)
        ptz_driver_canon_audio_init();
    return TRUE;
}

gboolean read_broadcast(PTZDriverCanon *self)
{
    ptz_driver_canon_read_broadcast(self);
    return TRUE;
}

gboolean update_device_status(PTZDriverCanon *self)
{
    return ptz_driver_canon_update_device_status(self, self->device_error);
}

// From an operating temperature to "state" 1. A step that fails says its message; a fatal one ends start-up.
constexpr struct {
    gboolean (*run)(PTZDriverCanon *self);
    void (*log)(const char *format, ...);
    const char *failure;
    bool fatal;
} STEPS[] = {
    {ptz_driver_canon_hold_port, log_error, "Fatal error, could not open port\n", true},
    {begin_initialising, nullptr, nullptr, false},
    {ptz_driver_canon_boot, log_error, "Fatal error, could not start camera block", false},
    {read_fw_version, nullptr, nullptr, false},
    {ptz_driver_canon_upgrade_firmware, log_error, "Fatal error, could not restart camera block", true},
    {ptz_driver_canon_utils_wait_all_status, log_error, "Fatal error, failed to communicate with camera block", true},
    {read_broadcast, nullptr, nullptr, false},
    {initialise_capture_mode, log_error, "Fatal error, failed to initialize capture mode", true},
    {ptz_driver_canon_utils_wait_lens_ready, log_error, "Fatal error, failed to initialize camera block", true},
    {ptz_driver_canon_apply_params, log_error, "Fatal error, Camera block parameters initialization failed", false},
    {begin_publishing, nullptr, nullptr, false},
    {update_device_status, log_warning, "Could not update DeviceStatus", false},
    {begin_running, nullptr, nullptr, false},
};

void switch_camera_off(PTZDriverCanon *self)
{
    ptz_driver_canon_set_video_output(self, FALSE);
    if (self->cam_model->halt_sensor_on_power_off)
        ptz_driver_canon_utils_halt_sensor_and_settle(self);
    if (!ptz_driver_canon_set_reset(self, TRUE))
        log_error("Failed to reset camera ");
    if (!ptz_driver_canon_set_power(self, FALSE))
        log_error("Failed to disable camera power");
}

void reset_camera_state(PTZDriverCanon *self)
{
    CameraState &now = self->current;
    now.hfov = now.vfov = -1.0f;
    now.zoom_magnification = 1.0f;
    now.zoom_zenta = 1;
    now.auto_iris = TRUE;
    now.image_freeze_mode = IMAGE_FREEZE_OFF;
    now.focus_zenta = now.focus_position = now.iris_zenta = -1;
    now.zoom_moving = now.focus_moving = now.iris_moving = -1;
    now.pan_moving = now.tilt_moving = -1;
    now.brightness_zenta = now.brightness_level = 0;
    now.auto_focus = FALSE;
    now.brightness_moving = 0;
    now.freeze_pending = 0;
    now.image_frozen = FALSE;
    self->target = self->current;
    now.pan_speed = now.tilt_speed = 0;
}

} // namespace

gboolean ptz_driver_canon_startup(PTZDriverCanon *self)
{
    host_note_start();
    self->fw_version = -1;
    ptz_driver_canon_update_modver(self);
    ptz_driver_canon_set_video_output(self, FALSE);
    if (!self->temp_controller->temperature_ok)
        return hold_for_temperature(self);
    for (const auto &step : STEPS) {
        if (step.run(self))
            continue;
        step.log("%s", step.failure);
        host_note_failed_step(step.failure);
        if (step.fatal)
            return fail_startup(self);
    }
    return TRUE;
}

gboolean ptz_driver_canon_start_routine(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->closed ? TRUE : ptz_driver_canon_startup(self);
}

void ptz_driver_canon_stop_camera(PTZDriverCanon *self)
{
    Life::stop(self);
    ptz_driver_canon_update_modver(self);
    if (!self->keep_stream && self->camera_powered && self->camera_reset_released)
        switch_camera_off(self);
    if (self->audio_init)
        ptz_driver_canon_audio_close();
}

void ptz_driver_canon_reset(PTZDriverCanon *self)
{
    if (self->closed)
        return;
    ptz_driver_canon_set_state(self, PTZ_STATE_INITIALISING);
    ptz_driver_canon_stop_camera(self);
    reset_camera_state(self);
    ptz_driver_canon_startup(self);
}
