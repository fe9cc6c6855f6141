#include "tests/support/bus_fake.h"

static guint last_subscription;

BusBench &bus()
{
    static BusBench bench;
    return bench;
}

static GVariant *parse(const std::string &text)
{
    GVariant *value = g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
    g_assert_nonnull(value);
    return g_variant_take_ref(value);
}

void BusBench::emit(const std::string &parameters) const
{
    GVariant *value = parse(parameters);
    for (const auto &[id, listener] : std::map(listeners))
        listener.callback(nullptr, ":1.1", "/com/orna/ImageControl/0/0", "org.freedesktop.DBus.Properties",
                          "PropertiesChanged", value, listener.data);
    g_variant_unref(value);
}

// In the place of GIO's own.
GDBusConnection *g_bus_get_sync(GBusType type, GCancellable *, GError **error)
{
    g_assert_cmpint(type, ==, G_BUS_TYPE_SYSTEM);
    if (bus().reachable) {
        ++bus().connections;
        return static_cast<GDBusConnection *>(g_object_new(G_TYPE_OBJECT, nullptr));
    }
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "no bus");
    return nullptr;
}

GVariant *g_dbus_connection_call_sync(GDBusConnection *, const gchar *bus_name, const gchar *object_path,
                                      const gchar *interface_name, const gchar *method_name, GVariant *parameters,
                                      const GVariantType *reply_type, GDBusCallFlags flags, gint timeout_msec,
                                      GCancellable *, GError **error)
{
    g_assert_true(interface_name + std::string(".") + method_name == "org.freedesktop.DBus.Properties.Get");
    g_assert_true(reply_type == nullptr && flags == G_DBUS_CALL_FLAGS_NONE);
    const gchar *interface = nullptr, *property = nullptr;
    g_variant_ref_sink(parameters);
    g_variant_get(parameters, "(&s&s)", &interface, &property);
    bus().calls.push_back(std::string(bus_name) + " " + object_path + " " + interface + "." + property + " " +
                          std::to_string(timeout_msec));
    const auto reply = bus().replies.find(property);
    g_variant_unref(parameters);
    if (reply != bus().replies.end())
        return parse(reply->second);
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "no answer");
    return nullptr;
}

guint g_dbus_connection_signal_subscribe(GDBusConnection *, const gchar *sender, const gchar *interface_name,
                                         const gchar *member, const gchar *object_path, const gchar *arg0,
                                         GDBusSignalFlags, GDBusSignalCallback callback, gpointer user_data,
                                         GDestroyNotify user_data_free_func)
{
    g_assert_true(sender == nullptr && arg0 == nullptr);
    g_assert_true(interface_name + std::string(".") + member == "org.freedesktop.DBus.Properties.PropertiesChanged");
    g_assert_cmpstr(object_path, ==, "/com/orna/ImageControl/0/0");
    if (!bus().takes_subscriptions) {
        user_data_free_func(user_data);
        return 0;
    }
    bus().listeners[++last_subscription] = {callback, user_data, user_data_free_func};
    return last_subscription;
}

void g_dbus_connection_signal_unsubscribe(GDBusConnection *, guint subscription_id)
{
    const auto listener = bus().listeners.extract(subscription_id);
    g_assert_false(listener.empty());
    listener.mapped().free_data(listener.mapped().data);
}
