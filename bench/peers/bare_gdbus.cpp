// What a service on GDBus costs that does nothing: it answers Get with the six numbers of a position, and Set at once.
#include <gio/gio.h>

#include <cstring>

namespace {

constexpr const char *XML = "<node><interface name='com.orna.Bench'>"
                            "<method name='Get'><arg name='position' type='a{sd}' direction='out'/></method>"
                            "<method name='Set'><arg name='mode' type='s' direction='in'/></method>"
                            "</interface></node>";

void on_call(GDBusConnection *, const char *, const char *, const char *, const char *method, GVariant *,
             GDBusMethodInvocation *invocation, gpointer)
{
    GVariant *answer = nullptr;
    if (std::strcmp(method, "Get") == 0)
        answer = g_variant_new_parsed("({'pan': 0.0, 'tilt': 0.0, 'zoom': 1.0, 'iris': -1.0, 'focus': 7167.0, "
                                      "'brightness': 5000.0, 'age': 0.003},)");
    g_dbus_method_invocation_return_value(invocation, answer);
}

} // namespace

int main()
{
    GDBusConnection *connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(XML, nullptr);
    static constexpr GDBusInterfaceVTable table{on_call, nullptr, nullptr, {}};
    if (connection == nullptr || g_dbus_connection_register_object(connection, "/com/orna/Bench", node->interfaces[0],
                                                                   &table, nullptr, nullptr, nullptr) == 0)
        return 1;
    g_bus_own_name_on_connection(connection, "com.orna.BenchGdbus", G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr,
                                 nullptr, nullptr);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
