#include "driver/host.h"

#include "core/clock.h"
#include "core/host.h"
#include "driver/capture.h"
#include "driver/params.h"
#include "host/driver_host.h"
#include "utils/status.h"

namespace {

enum PropertyId {
    PROP_TIME_SCALE = 1,
    PROP_CANCEL,
    PROP_INTERRUPT,
    PROP_STATUS_AGE,
    PROP_SILENCE,
    PROP_SENDS_FAILED,
    PROP_STATUSES
};

void set_property(GObject *object, guint id, const GValue *value, GParamSpec *spec)
{
    switch (id) {
    case PROP_TIME_SCALE:
        clock_set_time_scale(g_value_get_double(value));
        break;
    case PROP_CANCEL:
        host_set_cancel(static_cast<GCancellable *>(g_value_get_object(value)));
        break;
    case PROP_INTERRUPT:
        host_set_interrupt(static_cast<GCancellable *>(g_value_get_object(value)));
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject *object, guint id, GValue *value, GParamSpec *spec)
{
    switch (id) {
    case PROP_TIME_SCALE:
        g_value_set_double(value, clock_time_scale());
        break;
    case PROP_STATUS_AGE:
        g_value_set_int64(value, host_status_age_us());
        break;
    case PROP_SILENCE:
        g_value_set_int64(value, host_silence_us());
        break;
    case PROP_SENDS_FAILED:
        g_value_set_uint(value, host_sends_failed());
        break;
    case PROP_STATUSES:
        g_value_set_uint(value, host_statuses());
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

gboolean apply(PTZDriverCanon *self)
{
    return !self->driver_initialized || ptz_driver_canon_apply_params(self);
}

void settle(PTZDriverCanon *self)
{
    if (!self->driver_initialized)
        return;
    ptz_driver_canon_settle_useradv(self);
    ptz_driver_canon_catch_up_capture_mode(self);
}

void refresh(PTZDriverCanon *self)
{
    if (self->driver_initialized)
        ptz_driver_canon_cmd_update_status(self);
}

void install(GObjectClass *klass, guint id, GParamSpec *spec)
{
    g_object_class_install_property(klass, id, spec);
}

void install_action(GObjectClass *klass, const char *name, GCallback handler, GType result)
{
    g_signal_new_class_handler(name, G_TYPE_FROM_CLASS(klass),
                               static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION), handler, nullptr,
                               nullptr, nullptr, result, 0);
}

} // namespace

void ptz_driver_canon_install_host(GObjectClass *klass)
{
    constexpr auto SET = static_cast<GParamFlags>(G_PARAM_WRITABLE | G_PARAM_STATIC_STRINGS);
    constexpr auto GET = static_cast<GParamFlags>(G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
    constexpr auto BOTH = static_cast<GParamFlags>(SET | GET);
    klass->set_property = set_property;
    klass->get_property = get_property;
    install(klass, PROP_TIME_SCALE,
            g_param_spec_double(DRIVER_HOST_TIME_SCALE, "Time scale", "How many times as fast time runs", 1e-3, 1e6,
                                1.0, BOTH));
    install(klass, PROP_CANCEL,
            g_param_spec_object(DRIVER_HOST_CANCEL, "Cancel", "Ends every wait", G_TYPE_CANCELLABLE, SET));
    install(klass, PROP_INTERRUPT,
            g_param_spec_object(DRIVER_HOST_INTERRUPT, "Interrupt", "Ends the reading from another service",
                                G_TYPE_CANCELLABLE, SET));
    install(klass, PROP_STATUS_AGE,
            g_param_spec_int64(DRIVER_HOST_STATUS_AGE, "Status age", "Microseconds since the last good status", -1,
                               G_MAXINT64, -1, GET));
    install(klass, PROP_SILENCE,
            g_param_spec_int64(DRIVER_HOST_SILENCE, "Silence", "Microseconds for which the block has not answered", 0,
                               G_MAXINT64, 0, GET));
    install(klass, PROP_SENDS_FAILED,
            g_param_spec_uint(DRIVER_HOST_SENDS_FAILED, "Sends failed", "Commands that were not taken", 0, G_MAXUINT, 0,
                              GET));
    install(klass, PROP_STATUSES,
            g_param_spec_uint(DRIVER_HOST_STATUSES, "Statuses", "Good statuses that have come", 0, G_MAXUINT, 0, GET));
    install_action(klass, DRIVER_HOST_REFRESH, G_CALLBACK(refresh), G_TYPE_NONE);
    install_action(klass, DRIVER_HOST_APPLY, G_CALLBACK(apply), G_TYPE_BOOLEAN);
    install_action(klass, DRIVER_HOST_SETTLE, G_CALLBACK(settle), G_TYPE_NONE);
}
