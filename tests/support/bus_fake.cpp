#include "tests/support/bus_fake.h"

namespace {

BusBench bench;
guint last_subscription;

GVariant *parse(const std::string &text)
{
    GVariant *value = g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
    g_assert_nonnull(value);
    return g_variant_take_ref(value);
}

} // namespace

BusBench &bus()
{
    return bench;
}

void BusBench::emit(const std::string &parameters) const
{
    GVariant *value = parse(parameters);
    for (const auto &[id, listener] : std::map(listeners))
        listener.callback(nullptr, ":1.1", "/com/orna/ImageControl/0/0", "org.freedesktop.DBus.Properties",
                          "PropertiesChanged", value, listener.data);
    g_variant_unref(value);
}

// In place of GIO's own.
extern "C" {

GDBusConnection *g_bus_get_sync(GBusType type, GCancellable *, GError **error)
{
    g_assert_cmpint(type, ==, G_BUS_TYPE_SYSTEM);
    if (bench.reachable) {
        ++bench.connections;
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
    g_assert_cmpstr(interface_name, ==, "org.freedesktop.DBus.Properties");
    g_assert_cmpstr(method_name, ==, "Get");
    g_assert_null(reply_type);
    g_assert_cmpint(flags, ==, G_DBUS_CALL_FLAGS_NONE);
    const gchar *interface = nullptr;
    const gchar *property = nullptr;
    g_variant_ref_sink(parameters);
    g_variant_get(parameters, "(&s&s)", &interface, &property);
    const std::string name = property;
    bench.calls.push_back(std::string(bus_name) + " " + object_path + " " + interface + "." + name + " " +
                          std::to_string(timeout_msec));
    g_variant_unref(parameters);
    const auto reply = bench.replies.find(name);
    if (reply != bench.replies.end())
        return parse(reply->second);
    g_set_error_literal(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT, "no answer");
    return nullptr;
}

guint g_dbus_connection_signal_subscribe(GDBusConnection *, const gchar *sender, const gchar *interface_name,
                                         const gchar *member, const gchar *object_path, const gchar *arg0,
                                         GDBusSignalFlags, GDBusSignalCallback callback, gpointer user_data,
                                         GDestroyNotify user_data_free_func)
{
    g_assert_null(sender);
    g_assert_null(arg0);
    g_assert_cmpstr(interface_name, ==, "org.freedesktop.DBus.Properties");
    g_assert_cmpstr(member, ==, "PropertiesChanged");
    g_assert_cmpstr(object_path, ==, "/com/orna/ImageControl/0/0");
    if (!bench.takes_subscriptions) {
        user_data_free_func(user_data);
        return 0;
    }
    bench.listeners[++last_subscription] = {callback, user_data, user_data_free_func};
    return last_subscription;
}

void g_dbus_connection_signal_unsubscribe(GDBusConnection *, guint subscription_id)
{
    const auto found = bench.listeners.find(subscription_id);
    g_assert_true(found != bench.listeners.end());
    const BusBench::Listener listener = found->second;
    bench.listeners.erase(found);
    listener.free_data(listener.data);
}

} // extern "C"
