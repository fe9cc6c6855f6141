// params: listing, reading and setting parameters.
#include "camera.h"
#include "command.h"
#include "json.h"

namespace {

// The lookup's value as a text; "" when there is none.
std::string lookup_text(GVariant *entry, const char *key)
{
    GVariantOwned value(g_variant_lookup_value(entry, key, nullptr));
    return value ? value_text(value.get()) : "";
}

// What a parameter takes besides its kind: "1..9999", "auto, manual", or nothing.
std::string range_text(GVariant *entry)
{
    GVariantOwned choices(g_variant_lookup_value(entry, "choices", G_VARIANT_TYPE("a(ss)")));
    std::string text;
    for (gsize i = 0; choices && i < g_variant_n_children(choices.get()); i++) {
        GVariantOwned choice(g_variant_get_child_value(choices.get(), i));
        const char *value = nullptr;
        g_variant_get(choice.get(), "(&s&s)", &value, nullptr);
        text += (text.empty() ? "" : ", ") + printable(value);
    }
    gboolean writable = TRUE;
    g_variant_lookup(entry, "writable", "b", &writable);
    if (!text.empty() || !writable)
        return writable ? text : "reported by the camera";
    const std::string minimum = lookup_text(entry, "minimum");
    return minimum.empty() ? "" : minimum + ".." + lookup_text(entry, "maximum");
}

void list_params(Context &context, const std::string &group)
{
    GVariantOwned list =
        context.service().result("ListParameters", g_variant_new("(s)", valid_text(group).c_str()), "(aa{sv})");
    if (context.json()) {
        context.object_of("parameters", list.get());
        return;
    }
    context.line(format_text("%-11s %-26s %-8s %-26s %s", "GROUP", "NAME", "KIND", "VALUE", "RANGE"));
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        GVariantOwned value(g_variant_lookup_value(entry.get(), "value", nullptr));
        context.line(format_text("%-11s %-26s %-8s %-26s %s", lookup_text(entry.get(), "group").c_str(),
                                 lookup_text(entry.get(), "name").c_str(), lookup_text(entry.get(), "kind").c_str(),
                                 value ? value_text(value.get()).c_str() : "-", range_text(entry.get()).c_str()));
    }
}

struct ParamName {
    std::string group;
    std::string name;
};

// Takes "Group.Name", or "Group" "Name", out of the words behind the verb.
ParamName take_name(std::vector<std::string> &words)
{
    const std::size_t dot = words[0].find('.');
    if (dot == std::string::npos && words.size() < 2)
        throw usage_failure("'" + printable(words[0]) +
                            "' names no parameter; write GROUP.NAME, for example Limit.MaxZoom");
    const bool one_word = dot != std::string::npos;
    const ParamName name =
        one_word ? ParamName{words[0].substr(0, dot), words[0].substr(dot + 1)} : ParamName{words[0], words[1]};
    words.erase(words.begin(), words.begin() + (one_word ? 1 : 2));
    return {valid_text(name.group), valid_text(name.name)};
}

void get_param(Context &context, const ParamName &param)
{
    GVariantOwned value = get_parameter(context.service(), param.group, param.name);
    if (!context.json()) {
        context.line(value_text(value.get()));
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "group", g_variant_new_string(param.group.c_str()));
    g_variant_builder_add(&object, "{sv}", "name", g_variant_new_string(param.name.c_str()));
    g_variant_builder_add(&object, "{sv}", "value", value.get());
    context.object(g_variant_builder_end(&object));
}

} // namespace

ExitStatus run_params(Context &context, Arguments &arguments)
{
    std::vector<std::string> words = arguments.words(0, 4);
    const std::string verb = words.empty() ? "list" : words[0];
    require_choice(verb, "verb of params", {"list", "get", "set"});
    if (!words.empty())
        words.erase(words.begin());
    if (verb == "list" && words.size() <= 1) {
        list_params(context, words.empty() ? "" : words[0]);
        return EXIT_DONE;
    }
    const auto param = verb != "list" && !words.empty() ? std::optional(take_name(words)) : std::nullopt;
    if (!param || words.size() != (verb == "get" ? 0 : 1))
        throw usage_failure("write params list [GROUP], params get GROUP.NAME or params set GROUP.NAME VALUE");
    if (verb == "get") {
        get_param(context, *param);
    } else {
        set_parameter(context.service(), param->group, param->name, valid_text(words[0]));
        context.done("set");
    }
    return EXIT_DONE;
}
