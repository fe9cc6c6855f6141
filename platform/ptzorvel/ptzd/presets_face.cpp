// The interface of the presets on the service's object: which call goes to which handler.
#include "introspection.h"
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/face.h"

#include <string_view>

namespace {

struct MethodRow {
    std::string_view name;
    void (*handler)(PtzService &service, const CallPtr &call);
};

constexpr MethodRow kMethods[] = {
    {"Set", preset_set},   {"List", preset_list},     {"Remove", preset_remove}, {"Rename", preset_rename},
    {"Goto", preset_goto}, {"Import", preset_import}, {"Which", preset_which},
};

void on_method_call(GDBusConnection *, const char *, const char *, const char *, const char *method, GVariant *,
                    GDBusMethodInvocation *invocation, gpointer user_data)
{
    auto &service = *static_cast<PtzService *>(user_data);
    const CallPtr call = service.guard().take(invocation);
    if (call == nullptr)
        return;
    for (const MethodRow &row : kMethods)
        if (row.name == method)
            return row.handler(service, call);
    call->refuse(not_supported(method));
}

// The only property: On.
GVariant *on_get_property(GDBusConnection *, const char *, const char *, const char *, const char *, GError **,
                          gpointer user_data)
{
    GVariantBuilder names;
    g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
    for (const std::string &name : static_cast<PtzService *>(user_data)->presets().on())
        g_variant_builder_add(&names, "s", name.c_str());
    return g_variant_builder_end(&names);
}

} // namespace

guint register_presets_face(PtzService &service, GError **error)
{
    static const GDBusInterfaceVTable vtable = {on_method_call, on_get_property, nullptr, {}};
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(kPresetsXml, error);
    if (node == nullptr)
        return 0;
    const guint id = g_dbus_connection_register_object(service.connection(), kObjectPath, node->interfaces[0], &vtable,
                                                       &service, nullptr, error);
    g_dbus_node_info_unref(node);
    return id;
}
