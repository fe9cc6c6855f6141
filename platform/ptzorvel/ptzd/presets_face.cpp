// The interface of the presets on the service's object: which call goes to which handler.
#include "introspection.h"
#include "ptzorvel/ptzd/calls.h"
#include "ptzorvel/ptzd/face.h"

namespace {

constexpr MethodRow kMethods[] = {
    {"Set", preset_set},   {"List", preset_list},     {"Remove", preset_remove}, {"Rename", preset_rename},
    {"Goto", preset_goto}, {"Import", preset_import}, {"Which", preset_which},
};

void on_method_call(GDBusConnection *, const char *, const char *, const char *, const char *method, GVariant *,
                    GDBusMethodInvocation *invocation, gpointer user_data)
{
    auto &service = *static_cast<PtzService *>(user_data);
    const CallPtr call = service.guard().take(invocation);
    if (call != nullptr)
        answer_call(service, call, method, kMethods);
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
    return register_interface(service, kPresetsXml, vtable, error);
}
