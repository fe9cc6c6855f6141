#include "tests/platform/bus_fixture.h"

#include "glib_owned.h"

std::string print(GVariant *value)
{
    g_variant_ref_sink(value);
    const GText text(g_variant_print(value, FALSE));
    g_variant_unref(value);
    return text.get();
}

bool comes_true(const std::function<bool()> &condition, int seconds)
{
    const gint64 latest = g_get_monotonic_time() + seconds * gint64{G_USEC_PER_SEC};
    // Conditions change on other threads too, so the loop looks again now and then.
    const guint look = g_timeout_add(
        1, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    bool holds = false;
    while (!(holds = condition()) && g_get_monotonic_time() < latest)
        g_main_context_iteration(nullptr, TRUE);
    g_source_remove(look);
    return holds;
}

void run_until(const std::function<bool()> &condition, int seconds)
{
    EXPECT_TRUE(comes_true(condition, seconds)) << "what the test waits for never came";
}

Client::Client(const std::string &address)
{
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GError *error = nullptr;
    connection_ = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, &error);
    g_assert_no_error(error);
}

void Client::take_name(const char *name)
{
    g_variant_unref(g_dbus_connection_call_sync(connection_, "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                                "RequestName", g_variant_new("(su)", name, 4u), nullptr,
                                                G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

ReplyPtr Client::send(const char *method, const char *arguments)
{
    const GVariantOwned parsed(g_variant_parse(nullptr, arguments, nullptr, nullptr, nullptr));
    g_assert_nonnull(parsed.get());
    return send_to("/com/orna/PTZ", "com.orna.PTZ", method, parsed.get());
}

ReplyPtr Client::send_to(const char *path, const char *interface, const char *method, GVariant *arguments)
{
    const auto finished = [](GObject *source, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<ReplyPtr> reply(static_cast<ReplyPtr *>(data));
        GError *error = nullptr;
        const GVariantOwned value(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
        (*reply)->done = true;
        if (value != nullptr) {
            (*reply)->text = print(value.get());
            return;
        }
        const GText name(g_dbus_error_get_remote_error(error));
        g_dbus_error_strip_remote_error(error);
        const std::string full = name != nullptr ? name.get() : "";
        (*reply)->error = full.substr(full.rfind('.') + 1);
        (*reply)->text = error->message;
        g_error_free(error);
    };
    auto reply = std::make_shared<Reply>();
    g_dbus_connection_call(connection_, "com.orna.PTZ", path, interface, method, arguments, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, 30000, nullptr, finished, new ReplyPtr(reply));
    return reply;
}

std::string Client::preset(const char *method, const std::string &arguments)
{
    return wait(send_to("/com/orna/PTZ", "com.orna.PTZ.Presets", method, g_variant_new_parsed(arguments.c_str())))
        .said();
}

std::string Client::property(const char *name)
{
    return wait(send_to("/com/orna/PTZ", "org.freedesktop.DBus.Properties", "Get",
                        g_variant_new("(ss)", "com.orna.PTZ", name)))
        .said();
}

BusTest::BusTest(std::string address) : bus_(nullptr), address_(std::move(address))
{
    if (!address_.empty())
        return;
    bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus_);
    address_ = g_test_dbus_get_bus_address(bus_);
}

void BusTest::stop_bus()
{
    if (bus_ == nullptr)
        return;
    // Not _down(): that waits for a shared connection, which these tests do not make.
    g_test_dbus_stop(bus_);
    g_clear_object(&bus_);
}
