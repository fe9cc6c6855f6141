// preset: places under names.
#include "axes.h"
#include "command.h"
#include "move_wait.h"
#include "numbers.h"
#include "preset_file.h"

#include <cstdio>

namespace {

constexpr const char *kHome = "home";
// A call may be 64 kB long.
constexpr gsize kMostOfOneCall = gsize{48} * 1024;

using Words = std::vector<std::string>;

void call(Context &context, const char *method, GVariant *arguments)
{
    context.service().call_of(kPresetsInterface, method, arguments, "()");
}

GVariant *texts_variant(const Words &words)
{
    GVariantBuilder texts;
    g_variant_builder_init(&texts, G_VARIANT_TYPE_STRING_ARRAY);
    for (const std::string &word : words)
        g_variant_builder_add(&texts, "s", valid_text(word).c_str());
    return g_variant_builder_end(&texts);
}

// "pan 10, tilt 5", "ImageSource.WDR=on": the entries of a dictionary on a line.
std::string entries_text(GVariant *dictionary, const char *between)
{
    std::string text;
    for (gsize i = 0; i < g_variant_n_children(dictionary); i++) {
        const GVariantOwned entry(g_variant_get_child_value(dictionary, i));
        const GVariantOwned key(g_variant_get_child_value(entry.get(), 0));
        const GVariantOwned value(g_variant_get_child_value(entry.get(), 1));
        const bool is_number = g_variant_is_of_type(value.get(), G_VARIANT_TYPE_DOUBLE);
        text += (text.empty() ? "" : ", ") + printable(g_variant_get_string(key.get(), nullptr)) + between +
                (is_number ? number_text(g_variant_get_double(value.get()))
                           : printable(g_variant_get_string(value.get(), nullptr)));
    }
    return text;
}

void show_list(Context &context)
{
    const GVariantOwned list = list_presets(context.service());
    if (context.json()) {
        context.object_of("presets", preset_objects(list.get()).get());
        return;
    }
    std::vector<Words> rows{{"NAME", "POSITION", "SETTINGS"}};
    for (gsize i = 0; i < g_variant_n_children(list.get()); i++) {
        const GVariantOwned preset(g_variant_get_child_value(list.get(), i));
        const GVariantOwned name(g_variant_get_child_value(preset.get(), 0));
        const GVariantOwned position(g_variant_get_child_value(preset.get(), 1));
        const GVariantOwned settings(g_variant_get_child_value(preset.get(), 2));
        rows.push_back({printable(g_variant_get_string(name.get(), nullptr)), entries_text(position.get(), " "),
                        entries_text(settings.get(), "=")});
    }
    context.table(rows);
}

void set_preset(Context &context, const std::string &name, const Words &axes, const std::string &settings)
{
    const GTexts split(g_strsplit(settings.c_str(), ",", -1));
    const Words parameters(split.get(), split.get() + g_strv_length(split.get()));
    call(context, "Set",
         g_variant_new("(s@as@as)", valid_text(name).c_str(), texts_variant(axes), texts_variant(parameters)));
    context.done("set");
}

ExitStatus go_to(Context &context, const Arguments &arguments, const std::string &name)
{
    const double speed = arguments.number("--speed").value_or(0);
    FollowedMove move(context.service());
    call(context, "Goto", g_variant_new("(sdu)", valid_text(name).c_str(), speed, move.id()));
    if (!arguments.flag("--wait")) {
        context.done("moving");
        return EXIT_DONE;
    }
    const auto result = move.wait();
    if (!result && !context.json())
        std::fputs("ptzctl: interrupted; the move goes on, 'ptzctl stop' stops it\n", stderr);
    show_move(context, result.value_or(MoveResult{false, "not waited for", {}}));
    return result && result->reached ? EXIT_DONE : EXIT_NOT_REACHED;
}

void show_which(Context &context, const Words &tolerances)
{
    const std::vector<AxisMove> parsed = parse_axes(tolerances, "absolute"); // which may throw
    GVariantBuilder by_axis;
    g_variant_builder_init(&by_axis, G_VARIANT_TYPE("a{sd}"));
    for (const AxisMove &tolerance : parsed)
        g_variant_builder_add(&by_axis, "{sd}", tolerance.axis.c_str(), tolerance.value);
    const GVariantOwned reply =
        context.service().call_of(kPresetsInterface, "Which", g_variant_new("(a{sd})", &by_axis), "(as)");
    context.texts("presets", GVariantOwned(g_variant_get_child_value(reply.get(), 0)));
}

void export_presets(Context &context, const std::string &file)
{
    const std::string json = presets_json(list_presets(context.service()).get(), file == "-" && context.json());
    GErrorSlot error;
    // It takes the place of what is there, which is not to be that of a device.
    const bool replaceable = g_file_test(file.c_str(), G_FILE_TEST_IS_REGULAR) != FALSE ||
                             g_file_test(file.c_str(), G_FILE_TEST_EXISTS) == FALSE;
    if (file == "-")
        context.line(json.substr(0, json.size() - 1));
    else if (!replaceable)
        throw Failure(EXIT_REFUSED, "File",
                      "cannot write '" + printable(file) + "': it is no file; - is standard output");
    else if (!g_file_set_contents(file.c_str(), json.data(), static_cast<gssize>(json.size()), error))
        throw Failure(EXIT_REFUSED, "File", "cannot write '" + printable(file) + "': " + printable(error->message));
    else
        context.done("written");
}

// The list in pieces of which each fits a call.
std::vector<GVariantOwned> parts_of(GVariant *list)
{
    std::vector<GVariantOwned> parts;
    GVariantBuilder part;
    const GVariantType *type = g_variant_get_type(list);
    g_variant_builder_init(&part, type);
    gsize size = 0;
    for (gsize i = 0; i < g_variant_n_children(list); i++) {
        const GVariantOwned preset(g_variant_get_child_value(list, i));
        const gsize more = g_variant_get_size(preset.get()) + 16; // and what aligns it
        if (more > kMostOfOneCall) {
            g_variant_builder_clear(&part);
            throw Failure(EXIT_REFUSED, "NoPresetList",
                          "preset " + std::to_string(i + 1) + " is longer than 48 kB; nothing was taken");
        }
        if (size + more > kMostOfOneCall) {
            parts.emplace_back(g_variant_ref_sink(g_variant_builder_end(&part)));
            g_variant_builder_init(&part, type);
            size = 0;
        }
        size += more;
        g_variant_builder_add_value(&part, preset.get());
    }
    parts.emplace_back(g_variant_ref_sink(g_variant_builder_end(&part)));
    return parts;
}

void import_presets(Context &context, const std::string &file, bool alone)
{
    const GVariantOwned list = presets_from_json(read_preset_file(file), file);
    const std::vector<GVariantOwned> parts = parts_of(list.get());
    for (guint32 i = 0; i < parts.size(); i++)
        call(context, "Import",
             g_variant_new("(uub@a(sa{sd}a{ss}))", i, static_cast<guint32>(parts.size()), alone, parts[i].get()));
    context.done(std::to_string(g_variant_n_children(list.get())) + " taken");
}

// An option that the word does not go with would be overlooked.
void expect_fitting_options(const Arguments &arguments, const std::string &word)
{
    const bool moves = word == "goto" || (word == "home" && arguments.words().size() == 1);
    const bool sets = word == "set" || (word == "home" && !moves);
    for (const auto &[option, fits] : {std::pair("--speed", moves), std::pair("--wait", moves),
                                       std::pair("--settings", sets), std::pair("--alone", word == "import")})
        if (arguments.flag(option) && !fits)
            throw usage_failure(std::string(option) + " is not for that" + see_help(arguments.command()));
}

} // namespace

ExitStatus run_preset(Context &context, const Arguments &arguments)
{
    const Words &words = arguments.words();
    const std::string word = words.empty() ? "list" : words[0];
    const std::string name = words.size() > 1 ? words[1] : "";
    const auto rest = [&](std::size_t from) {
        return Words(words.begin() + static_cast<std::ptrdiff_t>(from), words.end());
    };
    expect_fitting_options(arguments, word);
    const std::string settings = arguments.value("--settings").value_or("");
    if (word == "goto" || (word == "home" && name.empty()))
        return go_to(context, arguments, word == "home" ? kHome : name);
    if (word == "list") {
        show_list(context);
    } else if (word == "set") {
        set_preset(context, name, rest(2), settings);
    } else if (word == "home") {
        set_preset(context, kHome, {}, settings);
    } else if (word == "which") {
        show_which(context, rest(1));
    } else if (word == "export") {
        export_presets(context, name.empty() ? "-" : name);
    } else if (word == "import") {
        import_presets(context, name, arguments.flag("--alone"));
    } else if (word == "rename") {
        call(context, "Rename", g_variant_new("(ss)", valid_text(name).c_str(), valid_text(words[2]).c_str()));
        context.done("renamed");
    } else {
        call(context, "Remove", g_variant_new("(s)", valid_text(name).c_str()));
        context.done("removed");
    }
    return EXIT_DONE;
}
