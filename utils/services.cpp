#include "utils/services.h"

#include "core/guard.h"
#include "core/host.h"
#include "core/log.h"
#include "glib_owned.h"

namespace {

constexpr int REPLY_TIMEOUT_MS = 10000;

constexpr const char *PROPERTIES = "org.freedesktop.DBus.Properties";
constexpr const char *IMAGE_CONTROL_PATH = "/com/orna/ImageControl/0/0";
constexpr const char *IMAGE_CONTROL_INTERFACE = "com.orna.ImageControlStream";

// A property of a service on the bus.
struct Property {
    const char *bus_name;
    const char *path;
    const char *interface;
    const char *name;
    LogMessage failure; // said of the reason
};

constexpr Property CAPTURE_MODE{"com.orna.ImageControl", IMAGE_CONTROL_PATH, IMAGE_CONTROL_INTERFACE,
                                "VideoCaptureMode", WARNING_MESSAGE("Failed to get videocapturemode: %s")};
constexpr Property ROTATION{"com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1",
                            "com.orna.Streamer.Video.Channel", "Rotation",
                            WARNING_MESSAGE("Failed to get rotation: %s")};

// The service's reply; null, and logged, when there is none.
GVariantOwned get_property(PTZDriverCanon *self, const Property &property)
{
    if (!ptz_driver_canon_utils_get_connection(self))
        return nullptr;
    GErrorSlot error;
    GVariantOwned reply(g_dbus_connection_call_sync(self->dbus_connection, property.bus_name, property.path, PROPERTIES,
                                                    "Get", g_variant_new("(ss)", property.interface, property.name),
                                                    nullptr, G_DBUS_CALL_FLAGS_NONE, REPLY_TIMEOUT_MS, host_interrupt(),
                                                    error));
    if (!reply)
        property.failure(error ? error->message : "Unknown error");
    return reply;
}

// The value in the reply, unwrapped; null when the reply is no single wrapped value.
GVariantOwned unwrap(const GVariantOwned &reply)
{
    if (!g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(v)")))
        return nullptr;
    GVariant *value = nullptr;
    g_variant_get(reply.get(), "(v)", &value);
    return GVariantOwned(value);
}

// Who is told of changes. The driver may end while a signal is on its way: then nobody.
struct Subscriber {
    GWeakRef driver;
    CaptureListener listener;
};

void free_subscriber(gpointer data)
{
    auto *subscriber = static_cast<Subscriber *>(data);
    g_weak_ref_clear(&subscriber->driver);
    g_free(subscriber);
}

void on_signal(GDBusConnection *, const gchar *, const gchar *, const gchar *, const gchar *, GVariant *parameters,
               gpointer data)
{
    auto *subscriber = static_cast<Subscriber *>(data);
    const GOwned<void, g_object_unref> held(g_weak_ref_get(&subscriber->driver));
    if (held)
        subscriber->listener(static_cast<PTZDriverCanon *>(held.get()), parameters);
}

} // namespace

gboolean ptz_driver_canon_utils_get_connection(PTZDriverCanon *self)
{
    if (self->dbus_connection != nullptr)
        return TRUE;
    GErrorSlot error;
    self->dbus_connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error);
    if (self->dbus_connection != nullptr)
        return TRUE;
    log_error("Failed to get DBus connection, %s", error ? error->message : "Unknown error");
    return FALSE;
}

gboolean ptz_driver_canon_utils_get_video_capture_mode(PTZDriverCanon *self, char **video_capture_mode_str)
{
    GUARD(video_capture_mode_str, FALSE);
    const GVariantOwned reply = get_property(self, CAPTURE_MODE);
    if (!reply)
        return FALSE;
    const GVariantOwned mode = unwrap(reply);
    if (!mode || !g_variant_is_of_type(mode.get(), G_VARIANT_TYPE_STRING)) {
        log_warning("Failed to parse videocapturemode");
        return FALSE;
    }
    *video_capture_mode_str = g_variant_dup_string(mode.get(), nullptr);
    return TRUE;
}

gboolean ptz_driver_canon_utils_get_rotation(PTZDriverCanon *self, int *rotation)
{
    GUARD(rotation, FALSE);
    const GVariantOwned reply = get_property(self, ROTATION);
    if (!reply)
        return FALSE;
    const GVariantOwned degrees = unwrap(reply);
    if (!degrees || !g_variant_is_of_type(degrees.get(), G_VARIANT_TYPE_INT32)) {
        log_warning("Failed to get rotation: the reply holds no 32-bit integer");
        return FALSE;
    }
    *rotation = g_variant_get_int32(degrees.get());
    return TRUE;
}

gboolean ptz_driver_canon_utils_subscribe_capture_changes(PTZDriverCanon *self, CaptureListener listener)
{
    if (!ptz_driver_canon_utils_get_connection(self))
        return FALSE;
    ptz_driver_canon_utils_unsubscribe_capture_changes(self);
    auto *subscriber = g_new0(Subscriber, 1);
    g_weak_ref_init(&subscriber->driver, self);
    subscriber->listener = listener;
    self->props_subscription = g_dbus_connection_signal_subscribe(
        self->dbus_connection, nullptr, PROPERTIES, "PropertiesChanged", IMAGE_CONTROL_PATH, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, on_signal, subscriber, free_subscriber);
    if (self->props_subscription != 0)
        return TRUE;
    log_error("Failed to subscribe to %s propertiesChanged signal.", IMAGE_CONTROL_INTERFACE);
    return FALSE;
}

void ptz_driver_canon_utils_unsubscribe_capture_changes(PTZDriverCanon *self)
{
    if (self->props_subscription == 0)
        return;
    g_dbus_connection_signal_unsubscribe(self->dbus_connection, self->props_subscription);
    self->props_subscription = 0;
}
