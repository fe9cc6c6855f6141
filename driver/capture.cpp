#include "driver/capture.h"

#include "cmd/capture_mode.h"
#include "core/host.h"
#include "core/log.h"
#include "driver/startup.h"
#include "glib_owned.h"
#include "utils/services.h"
#include "utils/task.h"

#include <atomic>
#include <cstring>

namespace {

// Something has changed since the last refresh began.
std::atomic<bool> refresh_wanted{false};

gboolean follow_capture_mode(PTZDriverCanon *self);

void queue_refresh(PTZDriverCanon *self)
{
    refresh_wanted = true;
    ptz_driver_canon_queue_once(self, follow_capture_mode);
}

// A camera block that is off takes the mode when it starts. Where there is a host, the first of several refreshes that
// wait does for all, and one that the host has cut short waits for its turn again.
gboolean follow_capture_mode(PTZDriverCanon *self)
{
    const bool wanted = refresh_wanted.exchange(false);
    if (!self->camera_powered || (host_is_there() && !wanted))
        return TRUE;
    const gboolean refreshed = ptz_driver_canon_refresh_capture_mode(self);
    if (!refreshed && host_interrupted())
        queue_refresh(self);
    return refreshed;
}

} // namespace

gboolean ptz_driver_canon_take_capture_mode(PTZDriverCanon *self, gboolean blank, gboolean restart,
                                            gboolean *restart_required)
{
    char *text = nullptr;
    if (!ptz_driver_canon_utils_get_video_capture_mode(self, &text)) {
        log_error("Fatal error, failed to get new capture mode");
        return FALSE;
    }
    const GText mode(text);
    if (!ptz_driver_canon_cmd_capture_mode(self, mode.get(), blank, restart, restart_required)) {
        log_error("Fatal error, failed to set new capture mode");
        return FALSE;
    }
    return TRUE;
}

gboolean ptz_driver_canon_refresh_capture_mode(PTZDriverCanon *self)
{
    gboolean restart_required = FALSE;
    if (!ptz_driver_canon_take_capture_mode(self, TRUE, FALSE, &restart_required))
        return FALSE;
    if (restart_required)
        ptz_driver_canon_reset(self);
    return TRUE;
}

void ptz_driver_canon_catch_up_capture_mode(PTZDriverCanon *self)
{
    char *text = nullptr;
    if (!ptz_driver_canon_utils_get_video_capture_mode(self, &text)) {
        if (host_interrupted())
            queue_refresh(self);
        return;
    }
    const GText mode(text);
    if (g_strcmp0(mode.get(), self->current.capture_mode) != 0)
        ptz_driver_canon_refresh_capture_mode(self);
}

void ptz_driver_canon_utils_on_properties_changed(PTZDriverCanon *self, GVariant *parameters)
{
    if (parameters == nullptr || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv}as)"))) {
        log_error("Failed to parse properties changed data");
        return;
    }
    const char *interface = nullptr;
    const char *property = nullptr;
    GVariantIter *changed = nullptr;
    g_variant_get(parameters, "(&sa{sv}as)", &interface, &changed, nullptr);
    const GOwned<GVariantIter, g_variant_iter_free> owned(changed);
    if (std::strcmp(interface, "com.orna.ImageControlStream") != 0)
        return;
    while (g_variant_iter_next(changed, "{&sv}", &property, nullptr))
        if (std::strcmp(property, "CaptureFrequency") == 0)
            queue_refresh(self);
}
