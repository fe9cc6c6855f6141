// special, params, mode, speed-factor: what changes how the camera works.
#include "command.h"
#include "json.h"
#include "numbers.h"

#include <algorithm>
#include <array>

namespace {

// A text value as it stands, any other as JSON writes it: "on", 25, true.
std::string value_text(GVariant *value)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING))
        return printable(g_variant_get_string(value, nullptr));
    return json_from_variant(value);
}

std::string lookup_text(GVariant *entry, const char *key)
{
    VariantOwned value(g_variant_lookup_value(entry, key, nullptr));
    return value ? value_text(value.get()) : "";
}

// What a parameter takes: "1..9999", "auto, manual", or its kind.
std::string accepted_text(GVariant *entry)
{
    VariantOwned choices(g_variant_lookup_value(entry, "choices", G_VARIANT_TYPE("a(ss)")));
    std::string text;
    for (gsize i = 0; choices && i < g_variant_n_children(choices.get()); i++) {
        VariantOwned choice(g_variant_get_child_value(choices.get(), i));
        const char *value = nullptr;
        g_variant_get(choice.get(), "(&s&s)", &value, nullptr);
        text += (text.empty() ? "" : ", ") + printable(value);
    }
    if (!text.empty())
        return text;
    const std::string minimum = lookup_text(entry, "minimum");
    return minimum.empty() ? lookup_text(entry, "kind") : minimum + ".." + lookup_text(entry, "maximum");
}

void list_params(Context &context, const std::string &group)
{
    VariantOwned reply =
        context.service().call("ListParameters", g_variant_new("(s)", valid_text(group).c_str()), "(aa{sv})");
    VariantOwned list(g_variant_get_child_value(reply.get(), 0));
    if (context.json()) {
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "parameters", list.get());
        context.object(g_variant_builder_end(&object));
        return;
    }
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        VariantOwned entry(g_variant_get_child_value(list.get(), i));
        const std::string name = lookup_text(entry.get(), "group") + " " + lookup_text(entry.get(), "name");
        VariantOwned value(g_variant_lookup_value(entry.get(), "value", nullptr));
        context.line(format_text("%-40s %-16s (%s)", name.c_str(), value ? value_text(value.get()).c_str() : "-",
                                 accepted_text(entry.get()).c_str()));
    }
}

void get_param(Context &context, const std::string &group, const std::string &name)
{
    VariantOwned reply = context.service().call(
        "GetParameter", g_variant_new("(ss)", valid_text(group).c_str(), valid_text(name).c_str()), "(v)");
    VariantOwned boxed(g_variant_get_child_value(reply.get(), 0));
    VariantOwned value(g_variant_get_variant(boxed.get()));
    if (!context.json()) {
        context.line(value_text(value.get()));
        return;
    }
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "group", g_variant_new_string(valid_text(group).c_str()));
    g_variant_builder_add(&object, "{sv}", "name", g_variant_new_string(valid_text(name).c_str()));
    g_variant_builder_add(&object, "{sv}", "value", value.get());
    context.object(g_variant_builder_end(&object));
}

// One of the words of a choice, or Failure naming them all.
void require_choice(const std::string &word, const char *what, std::initializer_list<const char *> choices)
{
    if (std::find(choices.begin(), choices.end(), word) != choices.end())
        return;
    std::string list;
    for (const char *choice : choices)
        list += (list.empty() ? "" : ", ") + std::string(choice);
    throw usage_failure(std::string("no ") + what + " '" + printable(word) + "'; there are " + list);
}

void list_special_commands(Context &context)
{
    VariantOwned reply = context.service().call("ListSpecialCommands", nullptr, "(as)");
    VariantOwned list(g_variant_get_child_value(reply.get(), 0));
    if (context.json()) {
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "commands", list.get());
        context.object(g_variant_builder_end(&object));
        return;
    }
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        VariantOwned entry(g_variant_get_child_value(list.get(), i));
        context.line(printable(g_variant_get_string(entry.get(), nullptr)));
    }
}

} // namespace

ExitStatus run_special(Context &context, Arguments &arguments)
{
    const std::vector<std::string> words = arguments.words(0, 1);
    if (words.empty() || words[0] == "list") {
        list_special_commands(context);
        return EXIT_DONE;
    }
    context.service().call("RunSpecialCommand", g_variant_new("(s)", valid_text(words[0]).c_str()), "()");
    context.done("done");
    return EXIT_DONE;
}

ExitStatus run_params(Context &context, Arguments &arguments)
{
    const std::vector<std::string> words = arguments.words(0, 4);
    const std::string verb = words.empty() ? "list" : words[0];
    require_choice(verb, "verb of params", {"list", "get", "set"});
    if (verb == "list" && words.size() <= 2) {
        list_params(context, words.size() == 2 ? words[1] : "");
    } else if (verb == "get" && words.size() == 3) {
        get_param(context, words[1], words[2]);
    } else if (verb == "set" && words.size() == 4) {
        context.service().call("SetParameter",
                               g_variant_new("(ssv)", valid_text(words[1]).c_str(), valid_text(words[2]).c_str(),
                                             g_variant_new_string(valid_text(words[3]).c_str())),
                               "()");
        context.done("set");
    } else {
        throw usage_failure("write params list [GROUP], params get GROUP NAME or params set GROUP NAME VALUE");
    }
    return EXIT_DONE;
}

ExitStatus run_mode(Context &context, Arguments &arguments)
{
    const std::vector<std::string> words = arguments.words(2, 2);
    require_choice(words[0], "mode", {"iris", "focus", "backlight"});
    const bool backlight = words[0] == "backlight";
    if (backlight)
        require_choice(words[1], "backlight mode", {"on", "off"});
    else
        require_choice(words[1], "mode of iris and focus", {"auto", "manual"});
    const char *method = backlight ? "SetBacklightMode" : words[0] == "iris" ? "SetIrisMode" : "SetFocusMode";
    context.service().call(method, g_variant_new("(s)", words[1].c_str()), "()");
    context.done("set");
    return EXIT_DONE;
}

ExitStatus run_speed_factor(Context &context, Arguments &arguments)
{
    const std::vector<std::string> words = arguments.words(2, 2);
    require_choice(words[0], "word before the percent", {"on", "off"});
    const int percent = parse_integer(words[1], "the percent", G_MININT16, G_MAXINT16);
    context.service().call("SetSpeedFactor", g_variant_new("(bn)", words[0] == "on", percent), "()");
    context.done("set");
    return EXIT_DONE;
}
