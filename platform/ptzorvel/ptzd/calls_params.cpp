// Listing, reading and setting parameters.
#include "glib_owned.h"
#include "ptzorvel/common/quote.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"

namespace {

// The value as the parameter's kind; texts are read as such. None when it is of another kind.
std::optional<ParamValue> value_from_variant(guint32 kind, GVariant *value)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        return param_value_from_text(kind, g_variant_get_string(value, nullptr));
    if (kind == PTZ_PARAM_INTEGER && g_variant_is_of_type(value, G_VARIANT_TYPE_INT32))
        return g_variant_get_int32(value);
    if (kind == PTZ_PARAM_BOOLEAN && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN))
        return g_variant_get_boolean(value) != FALSE;
    return std::nullopt;
}

void add_text(GVariantBuilder *entry, const char *key, const std::string &text)
{
    g_variant_builder_add(entry, "{sv}", key, g_variant_new_string(text.c_str()));
}

void add_parameter(GVariantBuilder *list, const ParamInfo &info)
{
    GVariantBuilder entry;
    g_variant_builder_init(&entry, G_VARIANT_TYPE("a{sv}"));
    add_text(&entry, "group", info.group);
    add_text(&entry, "name", info.name);
    add_text(&entry, "display", info.display);
    add_text(&entry, "kind", param_kind_name(info.kind));
    add_text(&entry, "default", info.default_text);
    add_text(&entry, "range", info.range);
    g_variant_builder_add(&entry, "{sv}", "writable", g_variant_new_boolean(info.writable));
    if (info.bounds) {
        g_variant_builder_add(&entry, "{sv}", "minimum", g_variant_new_int32(info.bounds->first));
        g_variant_builder_add(&entry, "{sv}", "maximum", g_variant_new_int32(info.bounds->second));
    }
    if (!info.choices.empty()) {
        GVariantBuilder choices;
        g_variant_builder_init(&choices, G_VARIANT_TYPE("a(ss)"));
        for (const auto &[value, label] : info.choices)
            g_variant_builder_add(&choices, "(ss)", value.c_str(), label.c_str());
        g_variant_builder_add(&entry, "{sv}", "choices", g_variant_builder_end(&choices));
    }
    if (!std::holds_alternative<std::monostate>(info.value))
        g_variant_builder_add(&entry, "{sv}", "value", param_variant(info.value));
    g_variant_builder_add_value(list, g_variant_builder_end(&entry));
}

CallError unknown(const ParamStore &store, const std::string &group)
{
    std::string names;
    for (const PTZDynamicalProperties *known : store.groups())
        names += (names.empty() ? "" : ", ") + known->name();
    return {ErrorKind::unknown_parameter,
            "There is no parameter group " + quoted(group) + "; there are " + names + "."};
}

CallError unknown_in(const std::string &group, const std::string &name)
{
    return {ErrorKind::unknown_parameter,
            "Group " + group + " has no parameter " + quoted(name) + "; 'ptzctl params list' names them all."};
}

// The group, or null after refusing the call.
PTZDynamicalProperties *group_of_call(const std::shared_ptr<ParamStore> &store, const CallPtr &call,
                                      const std::string &group)
{
    if (store == nullptr) {
        call->refuse({ErrorKind::not_ready, "There are no parameters yet. Try again in a moment."});
        return nullptr;
    }
    PTZDynamicalProperties *properties = store->group(group);
    if (properties == nullptr)
        call->refuse(unknown(*store, group));
    return properties;
}

} // namespace

std::optional<CallError> check_parameter(const std::optional<ParamInfo> &info, const std::string &group,
                                         const std::string &name, GVariant *value, ParamValue &wanted)
{
    if (!info)
        return unknown_in(group, name);
    if (!info->writable)
        return CallError{ErrorKind::invalid_argument, group + "." + name +
                                                          " is reported by the camera and not to be "
                                                          "set."};
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        if (auto error = check_text(group + "." + name, g_variant_get_string(value, nullptr)))
            return error;
    const auto converted = value_from_variant(info->kind, value);
    if (!converted)
        return CallError{ErrorKind::invalid_argument,
                         group + "." + name + " takes a value of kind " + param_kind_name(info->kind) + "."};
    wanted = *converted;
    const std::string refusal = param_fit(*info, wanted);
    if (!refusal.empty())
        return CallError{ErrorKind::out_of_range, refusal};
    return std::nullopt;
}

namespace {

// Answered when the value is in force and safe.
void set_parameter(PtzService &service, const CallPtr &call, const std::shared_ptr<ParamStore> &store,
                   const std::string &group, const std::string &name, const ParamValue &wanted, PTZDriver *driver)
{
    if (const auto error = give_parameter(service, driver, store, group, name, wanted)) {
        call->refuse(*error);
        return;
    }
    service.param_was_set(group, name, [call, what = group + "." + name](const std::string &problem) {
        if (problem.empty())
            call->answer();
        else
            call->refuse({ErrorKind::not_kept, what + " has its new value, which is lost when the service ends: " +
                                                   "it could not be kept. " + problem});
    });
}

} // namespace

std::optional<CallError> give_parameter(PtzService &service, PTZDriver *driver,
                                        const std::shared_ptr<ParamStore> &store, const std::string &group,
                                        const std::string &name, const ParamValue &wanted)
{
    PTZDynamicalProperties *properties = store->group(group);
    const auto former = properties->find(name);
    const bool had_value = former && !std::holds_alternative<std::monostate>(former->value);
    // Keeps the store: it may be done much later.
    const Changes::Apply apply = [store, group, name](PTZDriver *with) {
        return ptz_driver_param_changed(with, group, name) != FALSE;
    };
    const Changes::Change change{
        group + "." + name,
        [=](PTZDriver *with) { return properties->begin_trial(name, wanted).empty() && apply(with); },
        [=](PTZDriver *) { properties->end_trial(name, false); },
        had_value ? apply : nullptr,
    };
    if (auto error = service.changes().carry_out(driver, change))
        return error;
    properties->end_trial(name, true);
    return std::nullopt;
}

GVariant *param_variant(const ParamValue &value)
{
    if (const auto *number = std::get_if<int>(&value))
        return g_variant_new_int32(*number);
    if (const auto *on = std::get_if<bool>(&value))
        return g_variant_new_boolean(*on);
    return g_variant_new_string(param_value_to_text(value).c_str());
}

void call_list_parameters(PtzService &service, const CallPtr &call)
{
    const char *group = nullptr;
    g_variant_get(call->parameters(), "(&s)", &group);
    const auto store = service.params();
    std::vector<PTZDynamicalProperties *> groups;
    if (*group != '\0') {
        PTZDynamicalProperties *properties = group_of_call(store, call, group);
        if (properties == nullptr)
            return;
        groups.push_back(properties);
    } else if (store != nullptr) {
        groups = store->groups();
    }
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("aa{sv}"));
    for (const PTZDynamicalProperties *properties : groups)
        for (const ParamInfo &info : properties->list())
            add_parameter(&list, info);
    call->answer(g_variant_new("(aa{sv})", &list));
}

void call_get_parameter(PtzService &service, const CallPtr &call)
{
    const char *group = nullptr;
    const char *name = nullptr;
    g_variant_get(call->parameters(), "(&s&s)", &group, &name);
    const auto store = service.params();
    PTZDynamicalProperties *properties = group_of_call(store, call, group);
    if (properties == nullptr)
        return;
    const auto info = properties->find(name);
    if (!info)
        call->refuse(unknown_in(group, name));
    else if (std::holds_alternative<std::monostate>(info->value))
        call->refuse({ErrorKind::unknown_parameter, std::string(group) + "." + name + " has no value at present."});
    else
        call->answer(g_variant_new("(v)", param_variant(info->value)));
}

void call_set_parameter(PtzService &service, const CallPtr &call)
{
    const char *group_text = nullptr;
    const char *name_text = nullptr;
    GVariant *value = nullptr;
    g_variant_get(call->parameters(), "(&s&sv)", &group_text, &name_text, &value);
    const GVariantOwned kept(value);
    const std::string group = group_text;
    const std::string name = name_text;
    const auto store = service.params();
    PTZDynamicalProperties *properties = group_of_call(store, call, group);
    if (properties == nullptr)
        return;
    ParamValue wanted;
    if (const auto error = check_parameter(properties->find(name), group, name, value, wanted)) {
        call->refuse(*error);
        return;
    }
    service.run(call, PtzService::Gate::any_state,
                [&service, call, store, group, name, wanted](PTZDriver *driver, Call &) {
                    set_parameter(service, call, store, group, name, wanted, driver);
                });
}
