#include "fake_service.h"

#include "run_program.h"

#include <fstream>
#include <future>
#include <sstream>
#include <stdexcept>

FakeService::FakeService(Answer answer)
    : answer_(std::move(answer)), bus_(g_test_dbus_new(G_TEST_DBUS_NONE)), context_(g_main_context_new()),
      loop_(g_main_loop_new(context_, FALSE))
{
    std::ifstream file(required_variable("SOURCE_ROOT") + "/data/com.orna.PTZ.xml");
    std::stringstream xml;
    xml << file.rdbuf();
    interface_ = g_dbus_node_info_new_for_xml(xml.str().c_str(), nullptr);
    g_test_dbus_up(bus_);
    address_ = g_test_dbus_get_bus_address(bus_);

    std::promise<void> ready;
    thread_ = std::thread([this, &ready] {
        g_main_context_push_thread_default(context_);
        GDBusConnection *connection = g_dbus_connection_new_for_address_sync(
            address_.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        const GDBusInterfaceVTable table{on_call, nullptr, nullptr, {}};
        g_dbus_connection_register_object(connection, "/com/orna/PTZ",
                                          g_dbus_node_info_lookup_interface(interface_, "com.orna.PTZ"), &table, this,
                                          nullptr, nullptr);
        GVariant *reply = g_dbus_connection_call_sync(
            connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", "com.orna.PTZ", 0u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        g_variant_unref(reply);
        ready.set_value();
        g_main_loop_run(loop_);
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
        g_main_context_pop_thread_default(context_);
    });
    ready.get_future().wait();
}

FakeService::~FakeService()
{
    g_main_loop_quit(loop_);
    thread_.join();
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
    g_dbus_node_info_unref(interface_);
    g_test_dbus_stop(bus_);
    g_object_unref(bus_);
}

std::vector<std::string> FakeService::calls()
{
    const std::lock_guard hold(lock_);
    return calls_;
}

void FakeService::on_call(GDBusConnection *, const char *, const char *, const char *, const char *method,
                          GVariant *arguments, GDBusMethodInvocation *invocation, gpointer data)
{
    auto *self = static_cast<FakeService *>(data);
    char *text = g_variant_print(arguments, FALSE);
    {
        const std::lock_guard hold(self->lock_);
        self->calls_.push_back(method + std::string(text));
    }
    g_free(text);

    std::string error_name;
    std::string error_text;
    GVariant *results = self->answer_(method, error_name, error_text);
    if (error_name.empty())
        g_dbus_method_invocation_return_value(invocation, results);
    else
        g_dbus_method_invocation_return_dbus_error(invocation, error_name.c_str(), error_text.c_str());
}
