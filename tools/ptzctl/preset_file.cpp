#include "preset_file.h"

#include "failure.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <json-glib/json-glib.h>
#include <stdexcept>
#include <vector>

namespace {

constexpr std::size_t kLongestFile = std::size_t{1} << 20; // bytes
constexpr auto kMostBrackets = 20000;                      // that open something; 256 names may be full of them

using Parser = GOwned<JsonParser, g_object_unref>;
using Node = GOwned<JsonNode, json_node_unref>;

// What is wrong in a file, in words.
using Wrong = std::runtime_error;

JsonObject *object_of(JsonNode *node, const std::string &what)
{
    if (node == nullptr || !JSON_NODE_HOLDS_OBJECT(node))
        throw Wrong(what + " has to be an object");
    return json_node_get_object(node);
}

std::vector<std::string> members_of(JsonObject *object)
{
    const GOwned<GList, g_list_free> list(json_object_get_members(object));
    std::vector<std::string> names;
    for (const GList *at = list.get(); at != nullptr; at = at->next)
        names.emplace_back(static_cast<const char *>(at->data));
    return names;
}

// What is called otherwise may be misspelt.
void expect_members(JsonObject *object, const std::vector<std::string> &known)
{
    for (const std::string &name : members_of(object))
        if (std::find(known.begin(), known.end(), name) == known.end())
            throw Wrong("nothing is called \"" + name + "\" there");
}

GType value_type(JsonNode *node)
{
    return JSON_NODE_HOLDS_VALUE(node) ? json_node_get_value_type(node) : G_TYPE_INVALID;
}

double number_of(JsonNode *node, const std::string &name)
{
    const GType type = value_type(node);
    const double number = type == G_TYPE_DOUBLE || type == G_TYPE_INT64 ? json_node_get_double(node) : NAN;
    if (!std::isfinite(number))
        throw Wrong(name + " has to be a number");
    return number;
}

std::string text_of(JsonNode *node, const std::string &name)
{
    const GType type = value_type(node);
    if (type == G_TYPE_STRING)
        return json_node_get_string(node);
    if (type == G_TYPE_BOOLEAN)
        return json_node_get_boolean(node) != FALSE ? "true" : "false";
    if (type == G_TYPE_INT64)
        return std::to_string(json_node_get_int(node));
    throw Wrong(name + " has to be a text, a whole number, true or false");
}

// A preset as the bus has it; settings may be missing. Floating.
GVariant *preset_of(JsonObject *preset, const std::string &name)
{
    expect_members(preset, {"name", "position", "settings"});
    JsonObject *position = object_of(json_object_get_member(preset, "position"), "its position");
    std::vector<std::pair<std::string, double>> places;
    for (const std::string &axis : members_of(position))
        places.emplace_back(axis, number_of(json_object_get_member(position, axis.c_str()), axis));
    std::vector<std::pair<std::string, std::string>> values;
    if (JsonNode *settings = json_object_get_member(preset, "settings")) {
        JsonObject *all = object_of(settings, "what it has as settings");
        for (const std::string &parameter : members_of(all))
            values.emplace_back(parameter, text_of(json_object_get_member(all, parameter.c_str()), parameter));
    }
    GVariantBuilder entry;
    g_variant_builder_init(&entry, G_VARIANT_TYPE("(sa{sd}a{ss})"));
    g_variant_builder_add(&entry, "s", name.c_str());
    g_variant_builder_open(&entry, G_VARIANT_TYPE("a{sd}"));
    for (const auto &[axis, place] : places)
        g_variant_builder_add(&entry, "{sd}", axis.c_str(), place);
    g_variant_builder_close(&entry);
    g_variant_builder_open(&entry, G_VARIANT_TYPE("a{ss}"));
    for (const auto &[parameter, value] : values)
        g_variant_builder_add(&entry, "{ss}", parameter.c_str(), value.c_str());
    g_variant_builder_close(&entry);
    return g_variant_builder_end(&entry);
}

GVariantOwned list_of(JsonNode *root)
{
    JsonObject *top = object_of(root, "the whole");
    expect_members(top, {"presets"});
    JsonNode *presets = json_object_get_member(top, "presets");
    if (presets == nullptr || !JSON_NODE_HOLDS_ARRAY(presets))
        throw Wrong("it has no list called \"presets\"");
    JsonArray *array = json_node_get_array(presets);
    std::vector<GVariantOwned> entries;
    for (guint i = 0; i < json_array_get_length(array); i++) {
        std::string which = "preset " + std::to_string(i + 1);
        try {
            JsonObject *preset = object_of(json_array_get_element(array, i), "it");
            JsonNode *named = json_object_get_member(preset, "name");
            if (named == nullptr)
                throw Wrong("it has no name");
            const std::string name = text_of(named, "its name");
            which += " (" + name + ")";
            entries.emplace_back(g_variant_ref_sink(preset_of(preset, name)));
        } catch (const Wrong &wrong) {
            throw Wrong(which + ": " + wrong.what());
        }
    }
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa{sd}a{ss})"));
    for (const GVariantOwned &entry : entries)
        g_variant_builder_add_value(&list, entry.get());
    return GVariantOwned(g_variant_ref_sink(g_variant_builder_end(&list)));
}

} // namespace

GVariantOwned list_presets(Service &service)
{
    const GVariantOwned reply = service.call_of(kPresetsInterface, "List", nullptr, "(a(sa{sd}a{ss}))");
    return GVariantOwned(g_variant_get_child_value(reply.get(), 0));
}

GVariantOwned preset_objects(GVariant *list)
{
    constexpr const char *kNames[] = {"name", "position", "settings"};
    GVariantBuilder objects;
    g_variant_builder_init(&objects, G_VARIANT_TYPE("aa{sv}"));
    for (gsize i = 0; i < g_variant_n_children(list); i++) {
        const GVariantOwned preset(g_variant_get_child_value(list, i));
        g_variant_builder_open(&objects, G_VARIANT_TYPE_VARDICT);
        for (gsize field = 0; field < std::size(kNames); field++)
            g_variant_builder_add(&objects, "{sv}", kNames[field],
                                  GVariantOwned(g_variant_get_child_value(preset.get(), field)).get());
        g_variant_builder_close(&objects);
    }
    return GVariantOwned(g_variant_ref_sink(g_variant_builder_end(&objects)));
}

std::string presets_json(GVariant *list, bool on_a_line)
{
    const GVariantOwned objects = preset_objects(list);
    GVariant *entry = g_variant_new_dict_entry(g_variant_new_string("presets"), g_variant_new_variant(objects.get()));
    const GVariantOwned whole(g_variant_ref_sink(g_variant_new_array(nullptr, &entry, 1)));
    const Node root(json_gvariant_serialize(whole.get()));
    return std::string(GText(json_to_string(root.get(), on_a_line ? FALSE : TRUE)).get()) + "\n";
}

GVariantOwned presets_from_json(const std::string &json, const std::string &file)
{
    const Parser parser(json_parser_new());
    GErrorSlot error;
    try {
        // The parser goes as deep as they are nested, on the stack.
        if (std::count_if(json.begin(), json.end(), [](char c) { return c == '[' || c == '{'; }) > kMostBrackets)
            throw Wrong("it has more brackets than any list of presets");
        if (!json_parser_load_from_data(parser.get(), json.data(), static_cast<gssize>(json.size()), error))
            throw Wrong(std::string("it is not JSON (") + error->message + ")");
        return list_of(json_parser_get_root(parser.get()));
    } catch (const Wrong &wrong) {
        throw Failure(EXIT_REFUSED, "NoPresetList",
                      "'" + printable(file) + "' is no list of presets: " + printable(wrong.what()) +
                          "; nothing was taken");
    }
}

std::string read_preset_file(const std::string &file)
{
    const auto unreadable = [&](const char *why) {
        return Failure(EXIT_REFUSED, "File", "cannot read '" + printable(file) + "': " + why);
    };
    const GOwned<FILE, std::fclose> opened(file == "-" ? nullptr : std::fopen(file.c_str(), "re"));
    FILE *stream = file == "-" ? stdin : opened.get();
    if (stream == nullptr)
        throw unreadable(g_strerror(errno));
    std::string text(kLongestFile + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), stream));
    if (std::ferror(stream) != 0)
        throw unreadable(g_strerror(errno));
    if (text.size() > kLongestFile)
        throw unreadable("it is longer than 1 MB, which no list of presets is");
    return text;
}
