#include "driver/host.h"

#include "cmd/capture_mode.h"
#include "core/clock.h"
#include "core/host.h"
#include "driver/capture.h"
#include "driver/config_check.h"
#include "driver/firmware.h"
#include "driver/operations.h"
#include "driver/params.h"
#include "driver/startup.h"
#include "host/driver_host.h"
#include "utils/status.h"

namespace {

enum PropertyId {
    PROP_TIME_SCALE = 1,
    PROP_CANCEL,
    PROP_INTERRUPT,
    PROP_OBSERVER,
    PROP_STATUS_AGE,
    PROP_SILENCE,
    PROP_SENDS_FAILED,
    PROP_HELD_IMAGE,
    PROP_FAILURE,
    PROP_CHUNK_AGE,
    PROP_UPGRADE,
    PROP_CONFIG,
    PROP_FIRMWARE,
    PROP_IMAGE_FILE,
    PROP_REBOOTS,
    PROP_STATUSES,
    PROP_WAITS
};

GVariant *upgrade_variant()
{
    const HostUpgrade upgrade = host_upgrade();
    GVariantBuilder fields;
    g_variant_builder_init(&fields, G_VARIANT_TYPE_VARDICT);
    const auto add = [&](const char *key, GVariant *value) { g_variant_builder_add(&fields, "{sv}", key, value); };
    if (!upgrade.image.empty()) {
        add("image", g_variant_new_string(upgrade.image.c_str()));
        add("from", g_variant_new_string(upgrade.from.c_str()));
        add("to", g_variant_new_string(upgrade.to.c_str()));
        add("sent", g_variant_new_uint32(upgrade.sent));
        add("chunks", g_variant_new_uint32(upgrade.chunks));
        if (!upgrade.result.empty())
            add("result", g_variant_new_string(upgrade.result.c_str()));
    }
    return g_variant_builder_end(&fields);
}

GVariant *named_variant(const std::vector<ConfigReport::Named> &all)
{
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sss)"));
    for (const auto &[place, key, name] : all)
        g_variant_builder_add(&list, "(sss)", place.c_str(), key.c_str(), name.c_str());
    return g_variant_builder_end(&list);
}

GVariant *config_variant()
{
    const ConfigReport report = ptz_driver_canon_check_config();
    GVariantBuilder problems;
    g_variant_builder_init(&problems, G_VARIANT_TYPE_STRING_ARRAY);
    for (const std::string &problem : report.problems)
        g_variant_builder_add(&problems, "s", problem.c_str());
    return g_variant_new("(as@a(sss)@a(sss))", &problems, named_variant(report.lines), named_variant(report.devices));
}

void set_property(GObject *, guint id, const GValue *value, GParamSpec *)
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
    case PROP_OBSERVER:
        host_set_observer(static_cast<const DriverHostObserver *>(g_value_get_pointer(value)));
        break;
    case PROP_HELD_IMAGE:
        host_set_held_image(g_value_get_string(value));
        break;
    }
}

void get_property(GObject *, guint id, GValue *value, GParamSpec *)
{
    switch (id) {
    case PROP_STATUS_AGE:
        g_value_set_int64(value, host_status_age_us());
        break;
    case PROP_SILENCE:
        g_value_set_int64(value, host_silence_us());
        break;
    case PROP_SENDS_FAILED:
        g_value_set_uint(value, host_sends_failed());
        break;
    case PROP_FAILURE:
        g_value_set_string(value, host_failure().c_str());
        break;
    case PROP_CHUNK_AGE:
        g_value_set_int64(value, host_chunk_age_us());
        break;
    case PROP_UPGRADE:
        g_value_set_variant(value, upgrade_variant());
        break;
    case PROP_CONFIG:
        g_value_set_variant(value, config_variant());
        break;
    case PROP_FIRMWARE:
        g_value_set_string(value, ptz_driver_canon_firmware_text(host_fw_revision()).c_str());
        break;
    case PROP_IMAGE_FILE:
        g_value_set_string(value, ptz_driver_canon_firmware_file().c_str());
        break;
    case PROP_REBOOTS:
        g_value_set_uint(value, host_reboots());
        break;
    case PROP_STATUSES:
        g_value_set_uint(value, host_statuses());
        break;
    case PROP_WAITS:
        g_value_set_uint(value, clock_waits());
        break;
    }
}

// As a start-up does, limits included, for which a parameter without a value is no fault; and the focus mode, which a
// start-up leaves as the camera block has it.
gboolean apply_params(PTZDriverCanon *self)
{
    Life::stop(self);
    const gboolean applied = ptz_driver_canon_apply_params(self);
    ptz_driver_canon_read_limits(self);
    Life::run(self);
    return ptz_driver_canon_op_focus_mode_changed(ptz_driver_of(self)) && applied;
}

gboolean apply(PTZDriverCanon *self)
{
    if (!self->driver_initialized)
        return TRUE;
    gboolean restart_required = FALSE;
    const gboolean mode_applied =
        ptz_driver_canon_cmd_capture_mode(self, self->current.capture_mode, FALSE, FALSE, &restart_required);
    if (restart_required) { // which brings everything with it
        ptz_driver_canon_reset(self);
        return self->driver_initialized ? TRUE : FALSE;
    }
    return apply_params(self) && mode_applied;
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
    klass->set_property = set_property;
    klass->get_property = get_property;
    install(klass, PROP_TIME_SCALE,
            g_param_spec_double(DRIVER_HOST_TIME_SCALE, "Time scale", "How many times as fast time runs", 1e-3, 1e6,
                                1.0, SET));
    install(klass, PROP_CANCEL,
            g_param_spec_object(DRIVER_HOST_CANCEL, "Cancel", "Ends every wait", G_TYPE_CANCELLABLE, SET));
    install(klass, PROP_INTERRUPT,
            g_param_spec_object(DRIVER_HOST_INTERRUPT, "Interrupt", "Ends the reading from another service",
                                G_TYPE_CANCELLABLE, SET));
    install(klass, PROP_OBSERVER,
            g_param_spec_pointer(DRIVER_HOST_OBSERVER, "Observer", "Hears of frames, commands and statuses", SET));
    install(klass, PROP_STATUS_AGE,
            g_param_spec_int64(DRIVER_HOST_STATUS_AGE, "Status age", "Microseconds since the last good status", -1,
                               G_MAXINT64, -1, GET));
    install(klass, PROP_SILENCE,
            g_param_spec_int64(DRIVER_HOST_SILENCE, "Silence", "Microseconds for which the block has not answered", 0,
                               G_MAXINT64, 0, GET));
    install(klass, PROP_SENDS_FAILED,
            g_param_spec_uint(DRIVER_HOST_SENDS_FAILED, "Sends failed", "Commands that were not taken", 0, G_MAXUINT, 0,
                              GET));
    install(klass, PROP_HELD_IMAGE,
            g_param_spec_string(DRIVER_HOST_HELD_IMAGE, "Held image", "A firmware image that is not to be transferred",
                                nullptr, SET));
    install(klass, PROP_FAILURE,
            g_param_spec_string(DRIVER_HOST_FAILURE, "Failure", "What failed in the last start", "", GET));
    install(klass, PROP_CHUNK_AGE,
            g_param_spec_int64(DRIVER_HOST_CHUNK_AGE, "Chunk age", "Microseconds since a chunk of firmware was taken",
                               -1, G_MAXINT64, -1, GET));
    install(klass, PROP_UPGRADE,
            g_param_spec_variant(DRIVER_HOST_UPGRADE, "Upgrade", "What became of the firmware image",
                                 G_VARIANT_TYPE_VARDICT, nullptr, GET));
    install(klass, PROP_CONFIG,
            g_param_spec_variant(DRIVER_HOST_CONFIG, "Configuration", "What is wrong in the configuration files",
                                 G_VARIANT_TYPE("(asa(sss)a(sss))"), nullptr, GET));
    install(
        klass, PROP_FIRMWARE,
        g_param_spec_string(DRIVER_HOST_FIRMWARE, "Firmware", "The camera block's firmware version", "unknown", GET));
    install(
        klass, PROP_IMAGE_FILE,
        g_param_spec_string(DRIVER_HOST_IMAGE_FILE, "Image file", "Where a start looks for a firmware image", "", GET));
    install(klass, PROP_REBOOTS,
            g_param_spec_uint(DRIVER_HOST_REBOOTS, "Reboots", "Starts of the camera block that the status has shown", 0,
                              G_MAXUINT, 0, GET));
    install(klass, PROP_STATUSES,
            g_param_spec_uint(DRIVER_HOST_STATUSES, "Statuses", "Good statuses that have come", 0, G_MAXUINT, 0, GET));
    install(klass, PROP_WAITS,
            g_param_spec_uint(DRIVER_HOST_WAITS, "Waits", "Waits that have begun or ended", 0, G_MAXUINT, 0, GET));
    install_action(klass, DRIVER_HOST_REFRESH, G_CALLBACK(refresh), G_TYPE_NONE);
    install_action(klass, DRIVER_HOST_APPLY, G_CALLBACK(apply), G_TYPE_BOOLEAN);
    install_action(klass, DRIVER_HOST_SETTLE, G_CALLBACK(settle), G_TYPE_NONE);
}
