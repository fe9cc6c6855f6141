// params: listing, reading, setting and resetting parameters.
#include "camera.h"
#include "command.h"
#include "json.h"

namespace {

// What a parameter takes: "1..9999", "auto, manual", or its kind.
std::string range_text(GVariant *entry)
{
    std::string text;
    for (const auto &[value, label] : parameter_choices(entry))
        text += (text.empty() ? "" : ", ") + printable(value);
    gboolean writable = TRUE;
    g_variant_lookup(entry, "writable", "b", &writable);
    if (!text.empty() || !writable)
        return writable ? text : "reported by the camera";
    const std::string minimum = lookup_text(entry, "minimum");
    if (!minimum.empty())
        return minimum + ".." + lookup_text(entry, "maximum");
    const std::string kind = lookup_text(entry, "kind");
    return kind == "boolean" ? "true, false" : kind == "integer" ? "a whole number" : "a text";
}

void list_params(Context &context, const std::string &group)
{
    const GVariantOwned list = list_parameters(context.service(), valid_text(group));
    if (context.json()) {
        context.object_of("parameters", list.get());
        return;
    }
    std::vector<std::vector<std::string>> rows{{"NAME", "VALUE", "TAKES"}};
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        const GVariantOwned value(g_variant_lookup_value(entry.get(), "value", nullptr));
        rows.push_back({lookup_text(entry.get(), "group") + "." + lookup_text(entry.get(), "name"),
                        value ? value_text(value.get()) : "-", range_text(entry.get())});
    }
    context.table(rows);
}

struct ParamName {
    std::string group;
    std::string name;
};

ParamName name_of(const std::string &word)
{
    const std::size_t dot = word.find('.');
    return {valid_text(word.substr(0, dot)), valid_text(word.substr(dot + 1))};
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

void reset_param(Service &service, const ParamName &param)
{
    const GVariantOwned list = list_parameters(service, param.group);
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned entry(g_variant_get_child_value(list.get(), i));
        if (lookup_text(entry.get(), "name") == param.name)
            return set_parameter(service, param.group, param.name, lookup_text(entry.get(), "default"));
    }
    throw Failure(EXIT_REFUSED, "UnknownParameter",
                  "there is no parameter '" + printable(param.group + "." + param.name) +
                      "'; 'ptzctl params list' lists them all");
}

} // namespace

ExitStatus run_params(Context &context, const Arguments &arguments)
{
    const std::vector<std::string> &words = arguments.words();
    if (words.empty() || words[0] == "list") {
        list_params(context, words.size() > 1 ? words[1] : "");
        return EXIT_DONE;
    }
    const ParamName param = name_of(words[1]);
    if (words[0] == "get") {
        get_param(context, param);
        return EXIT_DONE;
    }
    if (words[0] == "set")
        set_parameter(context.service(), param.group, param.name, valid_text(words[2]));
    else
        reset_param(context.service(), param);
    context.done("set");
    return EXIT_DONE;
}
