// What the driver tells the bus, and what the camera's other services tell the driver.
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/face.h"
#include "ptzorvel/ptzd/service.h"
#include "ptzorvel/ptzd/trace.h"

#include <memory>
#include <utility>

void PtzService::emit(const char *interface, const char *signal, GVariant *parameters)
{
    // Fails only without a bus, which has its own consequences.
    g_dbus_connection_emit_signal(connection_, nullptr, kObjectPath, interface, signal, parameters, nullptr);
}

// The result of an upgrade is there with the first state after it.
void PtzService::note_upgrade(int state)
{
    const int before = state_;
    if (state == PTZ_STATE_INITIALISING && before != PTZ_STATE_UPGRADING) {
        upgrade_noted_ = false;
        return;
    }
    const auto report = host_.upgrade();
    if (upgrade_noted_ || !report || report->result.empty())
        return;
    upgrade_noted_ = true;
    upgrades_.ended(*report, !deadlines_.ending());
    host_.hold_image(upgrades_.held_image());
}

void PtzService::property_changed(const char *name, GVariant *value)
{
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", name, value);
    emit("org.freedesktop.DBus.Properties", "PropertiesChanged",
         g_variant_new("(sa{sv}as)", kInterfaceName, &changed, nullptr));
}

void PtzService::note_call(const char *method, GVariant *arguments) const
{
    if (options_.trace != nullptr)
        options_.trace->call(method, arguments);
}

std::string PtzService::trace_file() const
{
    return options_.trace != nullptr ? options_.trace->file() : "";
}

void PtzService::state_changed(int state)
{
    note_upgrade(state);
    deadlines_.state_changed(state);
    manager_.state_changed(state, state_text(state));
    if (state != PTZ_STATE_RUNNING)
        known_position_.keep();
    state_ = state;
    queue_.queue.rest(state == PTZ_STATE_FAILED);
    changes_.state_changed(state);
    upgrade_progress_.state_changed(state);
    stopper_->state_changed(state == PTZ_STATE_RUNNING);
    if (state != PTZ_STATE_RUNNING)
        motion_->camera_stopped();
    picture_guard_->look_soon();
    if (driver_ != nullptr)
        modes_.look(driver_);
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", "State", g_variant_new_int32(state));
    g_variant_builder_add(&changed, "{sv}", "StateText", g_variant_new_string(state_text(state)));
    emit("org.freedesktop.DBus.Properties", "PropertiesChanged",
         g_variant_new("(sa{sv}as)", kInterfaceName, &changed, nullptr));
    emit(kInterfaceName, "StateChanged", g_variant_new("(is)", state, state_text(state)));
    link_watch_->state_changed(state);
}

void PtzService::speed_changed(double speed)
{
    speed_ = speed;
    property_changed("Speed", g_variant_new_double(speed));
}

void PtzService::param_changed(const std::string &group, const std::string &name)
{
    PTZDynamicalProperties *properties = driver_private(driver_).params->group(group);
    const auto info = properties != nullptr ? properties->find(name) : std::nullopt;
    if (info)
        emit(kInterfaceName, "ParameterChanged",
             g_variant_new("(ssv)", group.c_str(), name.c_str(), param_variant(info->value)));
}

// What a driver sets that users may set too is kept as theirs is.
void PtzService::driver_set_param(const std::string &group, const std::string &name)
{
    const PTZDynamicalProperties *properties = driver_private(driver_).params->group(group);
    const auto info = properties != nullptr ? properties->find(name) : std::nullopt;
    if (info && info->writable)
        param_was_set(group, name, {});
    else
        param_changed(group, name);
}

void PtzService::event_reported(guint32 error_bits, const char *text)
{
    {
        const std::lock_guard lock(mutex_);
        last_event_ = {error_bits, text};
    }
    emit(kInterfaceName, "Event", g_variant_new("(us)", error_bits, text));
}

void PtzService::connect_driver(PTZDriver *driver, PtzService *service)
{
    // All on the command thread.
    const auto on_state =
        +[](PTZDriver *source, GParamSpec *, PtzService *self) { self->state_changed(source->state); };
    const auto on_speed =
        +[](PTZDriver *source, GParamSpec *, PtzService *self) { self->speed_changed(source->speed); };
    const auto on_event =
        +[](PTZDriver *, guint bits, const char *text, PtzService *self) { self->event_reported(bits, text); };
    const auto on_param = +[](PTZDriver *, const char *group, const char *name, PtzService *self) {
        self->driver_set_param(group, name);
    };
    const auto on_moving = +[](PTZDriver *, guint axes, PtzService *self) { self->motion_->axes_reported(axes); };
    g_signal_connect(driver, "moving-changed", G_CALLBACK(on_moving), service);
    g_signal_connect(driver, "notify::state", G_CALLBACK(on_state), service);
    g_signal_connect(driver, "notify::speed", G_CALLBACK(on_speed), service);
    g_signal_connect(driver, "camera-event", G_CALLBACK(on_event), service);
    g_signal_connect(driver, "param-changed", G_CALLBACK(on_param), service);
}

void PtzService::subscribe_camera_signals()
{
    // The streaming service announces a turned picture. What others say in its place never gets here.
    const auto on_signal =
        +[](GDBusConnection *, const char *, const char *, const char *, const char *member, GVariant *parameters,
            gpointer data) { static_cast<PtzService *>(data)->camera_signal(member, parameters); };
    subscription_ =
        g_dbus_connection_signal_subscribe(connection_, "com.orna.Streamer", nullptr, "CurrentRotationChanged", nullptr,
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, on_signal, this, nullptr);
}

void PtzService::camera_signal(const char *name, GVariant *parameters)
{
    const std::shared_ptr<GVariant> latest(g_variant_ref(parameters), g_variant_unref);
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(camera_signal_, latest) != nullptr)
            return; // one waits, and takes this one's parameters
    }
    queue_.queue.post([this, name = std::string(name)] {
        std::shared_ptr<GVariant> taken;
        {
            const std::lock_guard lock(mutex_);
            taken.swap(camera_signal_);
        }
        if (driver_ != nullptr)
            PTZ_DRIVER_GET_CLASS(driver_)->signal_received(driver_, name.c_str(), taken.get());
    });
}
