#include "ptzorvel/ptzd/face.h"

#include "introspection.h"
#include "ptzorvel/ptzd/calls.h"

namespace {

constexpr MethodRow kMethods[] = {
    {"Move", call_move},
    {"Stop", call_stop},
    {"GetPosition", call_get_position},
    {"GetFieldOfView", call_get_field_of_view},
    {"AngleToZoom", call_angle_to_zoom},
    {"ListSpecialCommands", call_list_special_commands},
    {"RunSpecialCommand", call_run_special_command},
    {"RetryUpgrade", call_retry_upgrade},
    {"GetCapabilities", call_get_capabilities},
    {"ListParameters", call_list_parameters},
    {"GetParameter", call_get_parameter},
    {"SetParameter", call_set_parameter},
    {"SetIrisMode", call_set_iris_mode},
    {"SetFocusMode", call_set_focus_mode},
    {"SetBacklightMode", call_set_backlight_mode},
    {"SetSpeedFactor", call_set_speed_factor},
    {"GetState", call_get_state},
    {"GetStatus", call_get_status},
    {"GetPublished", call_get_published},
    {"GetDataCaches", call_get_data_caches},
    {"GetVideo", call_get_video},
    {"GetMetrics", call_get_metrics},
    {"SetTrace", call_set_trace},
};

void on_method_call(GDBusConnection *, const char *, const char *, const char *, const char *method, GVariant *,
                    GDBusMethodInvocation *invocation, gpointer user_data)
{
    auto &service = *static_cast<PtzService *>(user_data);
    const CallPtr call = service.guard().take(invocation);
    if (call == nullptr)
        return;
    service.note_call(method, call->parameters());
    answer_call(service, call, method, kMethods);
}

GVariant *on_get_property(GDBusConnection *, const char *, const char *, const char *, const char *property, GError **,
                          gpointer user_data)
{
    auto &service = *static_cast<PtzService *>(user_data);
    const std::string_view name = property;
    if (name == "State")
        return g_variant_new_int32(service.state());
    if (name == "StateText")
        return g_variant_new_string(state_text(service.state()));
    if (name == "Speed")
        return g_variant_new_double(service.speed());
    if (name == "Link")
        return g_variant_new_string(service.link_watch().link());
    if (name == "Upgrading") {
        const auto [sent, chunks] = service.upgrade_progress().now();
        return g_variant_new("(uu)", sent, chunks);
    }
    if (name == "Moving")
        return axis_names_variant(service.motion().under_way());
    if (name == "Position")
        return service.position_signals().position();
    if (name == "LastMove")
        return service.motion().last_move();
    if (GVariant *mode = service.modes().property(property))
        return mode;
    if (name == "Trace")
        return g_variant_new_string(service.trace_file().c_str());
    if (name == "VideoChannel")
        return g_variant_new_int32(service.options().video_channel);
    if (name == "Id")
        return g_variant_new_int32(service.options().id);
    return g_variant_new_string(PTZD_VERSION);
}

} // namespace

void answer_call(PtzService &service, const CallPtr &call, const char *method, std::span<const MethodRow> methods)
{
    for (const MethodRow &row : methods)
        if (row.name == method)
            return row.handler(service, call);
    call->refuse(not_supported(method));
}

guint register_interface(PtzService &service, const char *xml, const GDBusInterfaceVTable &vtable, GError **error)
{
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(xml, error);
    if (node == nullptr)
        return 0;
    const guint id = g_dbus_connection_register_object(service.connection(), kObjectPath, node->interfaces[0], &vtable,
                                                       &service, nullptr, error);
    g_dbus_node_info_unref(node);
    return id;
}

guint register_face(PtzService &service, GError **error)
{
    static const GDBusInterfaceVTable vtable = {on_method_call, on_get_property, nullptr, {}};
    return register_interface(service, kIntrospectionXml, vtable, error);
}
