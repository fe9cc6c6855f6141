#include "tests/tools/service_fixture.h"

#include "glib_owned.h"

#include <map>

namespace {

const std::map<std::string, const char *> kAnswers{
    {"GetPosition", "({'pan': 10.25, 'tilt': -5.0, 'zoom': 2000.0, 'iris': -1.0, 'focus': 1.0, 'brightness': 1.0, "
                    "'age': 0.25},)"},
    {"GetState", "(1, 'running')"},
    {"GetParameter", "(<'a \"b\"'>,)"},
    {"ListParameters",
     "([{'group': <'Limit'>, 'name': <'MinPan'>, 'kind': <'integer'>, 'minimum': <-170>, 'maximum': "
     "<170>, 'default': <'-170'>, 'writable': <true>, 'value': <-90>}, {'group': <'UserAdv'>, 'name': <'State'>, "
     "'kind': "
     "<'string'>, 'choices': <[('on', 'On'), ('off', 'Off'), ('a $HOME|b', '')]>, 'writable': <true>}],)"},
    {"ListSpecialCommands", "(['reset', 'video_output|sdi'],)"},
    {"GetStatus", "({'state': <1>, 'text': <'running'>, 'link': <'down'>, 'status-age': <1.25>, 'resets': <uint32 2>, "
                  "'reboots': <uint32 0>, 'temperature': <40.25>, 'temperature-problem': <'No\\nprotection.'>, "
                  "'error-bits': <uint32 0x84>, 'errors': "
                  "<'Cam error DSP/Pan-Tilt'>, 'reports': <{'DeviceModVer': 'model:0001', 'Other': 'a\\nb'}>},)"}};

} // namespace

void Program::serve()
{
    const std::ifstream file(required_variable("SOURCE_ROOT") + "/data/com.orna.PTZ.xml");
    std::stringstream xml;
    xml << file.rdbuf();
    node_ = g_dbus_node_info_new_for_xml(xml.str().c_str(), nullptr);
    static const GDBusInterfaceVTable table{on_call, nullptr, nullptr, {}};
    g_dbus_connection_register_object(owner_.connection(), "/com/orna/PTZ", node_->interfaces[0], &table, this, nullptr,
                                      nullptr);
    owner_.take_name("com.orna.PTZ");
}

void Program::on_call(GDBusConnection *, const char *, const char *, const char *, const char *method,
                      GVariant *arguments, GDBusMethodInvocation *invocation, gpointer data)
{
    auto *self = static_cast<Program *>(data);
    std::string asked = method + print(arguments);
    const GVariantOwned options(std::string_view(method) == "Move" ? g_variant_get_child_value(arguments, 2) : nullptr);
    guint32 id = 0;
    if (options != nullptr && g_variant_lookup(options.get(), "id", "u", &id)) {
        const std::string number = std::to_string(id);
        asked.replace(asked.rfind(number), number.size(), "N");
    }
    self->calls += (self->calls.empty() ? "" : " ") + asked;
    if (self->is_silent) {
        g_object_unref(invocation);
        return;
    }
    const auto answer = kAnswers.find(method);
    if (!self->refusal.empty())
        g_dbus_method_invocation_return_dbus_error(invocation, self->refusal.c_str(),
                                                   "pan 200 is outside\n-170..170; give a smaller angle: 100%s");
    else
        g_dbus_method_invocation_return_value(
            invocation, answer == kAnswers.end() ? nullptr : g_variant_new_parsed(answer->second));
    if (id != 0 && self->refusal.empty())
        self->tell_end(id);
}

void Program::tell_end(guint32 id)
{
    for (const guint32 number : {id + 1, id}) // another's, and the one that is waited for
        g_dbus_connection_emit_signal(
            owner_.connection(), nullptr, "/com/orna/PTZ", "com.orna.PTZ", "MoveDone",
            g_variant_new("(ubs@a{sd})", number, static_cast<gboolean>(number == id && reason == "reached"),
                          reason.c_str(), g_variant_new_parsed("{'pan': 10.25, 'iris': 4.0}")),
            nullptr);
}
