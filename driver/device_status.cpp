#include "driver/device_status.h"

#include "core/clock.h"
#include "core/log.h"
#include "glib_owned.h"
#include "utils/status.h"
#include "utils/task.h"
#include "vcc/dump.h"
#include "vcc/model.h"

#include <cstring>
#include <string>

namespace {

constexpr gint64 STATUS_POLL_INTERVAL_US = 33000;
// A move is given this long before the poll takes a camera at rest for idle. Counted in ticks, the last one whole.
constexpr gint64 IDLE_HOLDOFF_US = 165000;
constexpr int IDLE_HOLDOFF_TICKS =
    static_cast<int>((IDLE_HOLDOFF_US + STATUS_POLL_INTERVAL_US - 1) / STATUS_POLL_INTERVAL_US);
constexpr gint64 STATUS_DUMP_INTERVAL_US = 500000;
constexpr const char *STATUS_DUMP_FILE = "/tmp/camsts.log";
constexpr const char *GROUP = "UserAdv";

constexpr guint32 ERROR_DSP = 4;
constexpr guint32 ERROR_PAN_TILT = 128;
// By bit, lowest first.
constexpr const char *ERROR_NAMES[] = {"init", "IO", "DSP", "zoom", "focus", "iris", "IR-cut", "Pan-Tilt"};

gboolean set_text(PTZDriverCanon *self, const char *name, const char *value)
{
    PTZDriver *base = ptz_driver_of(self);
    return PTZ_DRIVER_GET_CLASS(base)->set_param_string(base, GROUP, name, value);
}

std::string error_text(guint32 error_bits)
{
    if (error_bits == 0)
        return "Cam error none";
    std::string names;
    for (unsigned bit = 0; bit < G_N_ELEMENTS(ERROR_NAMES); ++bit)
        if (error_bits & (1u << bit))
            names.append(names.empty() ? "" : "/").append(ERROR_NAMES[bit]);
    return "Cam error " + names;
}

// Now, in the C library's calendar form without the line feed at its end.
std::string calendar_text()
{
    const std::time_t now = clock_calendar_time();
    char text[64] = "";
    tzset(); // the camera's time zone may have been set meanwhile
    if (ctime_r(&now, text) == nullptr)
        return "";
    std::string result = text;
    result.pop_back();
    return result;
}

bool at_rest(const CameraState &now)
{
    return !now.pan_moving && !now.tilt_moving && !now.zoom_moving && (now.auto_focus || !now.focus_moving);
}

gboolean status_poll(PTZDriverCanon *self)
{
    if (!Life::goes_on(self, Job::status_poll))
        return FALSE;
    if (self->status_update) {
        ptz_driver_canon_cmd_update_status(self);
        const auto errors = static_cast<guint32>(vccif_inq_error_info(self));
        if (errors != self->device_error) {
            self->device_error = errors;
            ptz_driver_canon_update_device_status(self, errors);
        }
    }
    if (self->poll_holdoff > 0) {
        --self->poll_holdoff;
        return TRUE;
    }
    if (at_rest(self->current)) {
        PTZDriver *base = ptz_driver_of(self);
        PTZ_DRIVER_GET_CLASS(base)->idle_poll(base, 0);
    }
    return TRUE;
}

// Ends when the file cannot be written; the next start-up tries again.
gboolean status_dump(PTZDriverCanon *self)
{
    if (!Life::goes_on(self, Job::status_dump))
        return FALSE;
    if (vccif_dump_status_to_file(STATUS_DUMP_FILE))
        return TRUE;
    Life::end(self, Job::status_dump);
    return FALSE;
}

} // namespace

gboolean ptz_driver_canon_update_modver(PTZDriverCanon *self)
{
    const int state = self->parent_instance.state;
    const bool out_of_service = state == PTZ_STATE_NOT_OPENED || state == PTZ_STATE_INITIALISING ||
                                state == PTZ_STATE_UPGRADING || state == PTZ_STATE_CLOSED;
    if (out_of_service || !self->driver_initialized || self->cam_model == nullptr)
        return set_text(self, "DeviceModVer", nullptr);
    const GText text(g_strdup_printf("model:%04x, version:%04x", static_cast<unsigned>(self->cam_model->model_number),
                                     static_cast<unsigned>(self->fw_version)));
    return set_text(self, "DeviceModVer", text.get());
}

gboolean ptz_driver_canon_update_device_status(PTZDriverCanon *self, guint32 error_bits)
{
    char camera[32] = "cam=ok";
    if (error_bits & ERROR_DSP)
        g_snprintf(camera, sizeof camera, "cam=error(%04x)", error_bits);
    char pan_tilt[64] = "pan=ok, tilt=ok";
    if (error_bits & ERROR_PAN_TILT)
        g_snprintf(pan_tilt, sizeof pan_tilt, "pan=error(%04x), tilt=error(%04x)", error_bits, error_bits);
    const GText status(g_strdup_printf("%s, %s", camera, pan_tilt));
    const gboolean status_taken = set_text(self, "CamDeviceStatus", status.get());
    const gboolean date_taken = set_text(self, "CamLastTestDate", calendar_text().c_str());
    ptz_driver_canon_emit_camera_error(self);
    return status_taken && date_taken;
}

void ptz_driver_canon_emit_camera_error(PTZDriverCanon *self)
{
    const std::string text = error_text(self->device_error);
    if (self->device_error != 0)
        log_error("%s", text.c_str());
    const PTZCameraErrorEvent event{self->device_error, text.c_str()};
    GErrorSlot error;
    PTZDriver *base = ptz_driver_of(self);
    PTZ_DRIVER_GET_CLASS(base)->emit_event(base, PTZ_EVENT_CAMERA_ERROR, &event, error);
}

gboolean ptz_driver_canon_set_status_update(PTZDriverCanon *self, gboolean value)
{
    PTZDriver *base = ptz_driver_of(self);
    return PTZ_DRIVER_GET_CLASS(base)->set_param_bool(base, GROUP, "StatusUpdate", value) ? TRUE : FALSE;
}

void ptz_driver_canon_start_status_poll(PTZDriverCanon *self)
{
    ptz_driver_canon_start_job(self, Job::status_poll, status_poll, STATUS_POLL_INTERVAL_US);
}

void ptz_driver_canon_hold_off_idle(PTZDriverCanon *self)
{
    self->poll_holdoff = IDLE_HOLDOFF_TICKS;
}

void ptz_driver_canon_start_status_dump(PTZDriverCanon *self)
{
    ptz_driver_canon_start_job(self, Job::status_dump, status_dump, STATUS_DUMP_INTERVAL_US);
}
