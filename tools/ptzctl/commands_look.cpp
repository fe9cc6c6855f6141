// state, position, fov, angle-to-zoom, capabilities, published: what the camera says about itself.
#include "camera.h"
#include "command.h"
#include "json.h"
#include "loop.h"
#include "numbers.h"

namespace {

constexpr unsigned kPositionEveryMs = 200;

// The axes in the order in which people expect them.
constexpr const char *kAngles[] = {"pan", "tilt"};
constexpr const char *kPositions[] = {"zoom", "focus", "iris", "brightness"};

// Where the camera looks, and what that is worth.
struct View {
    Position position;
    std::optional<double> age; // seconds
    std::string link;          // empty: a service that does not tell
};

View view_of(Service &service)
{
    View view;
    view.position = service.position(&view.age);
    const GVariantOwned status = service.result("GetStatus", nullptr, "(a{sv})");
    const char *link = "";
    g_variant_lookup(status.get(), "link", "&s", &link);
    view.link = link;
    return view;
}

std::vector<std::string> view_lines(const View &view)
{
    const Position &position = view.position;
    std::vector<std::string> lines;
    for (const char *axis : kAngles) {
        if (const auto found = position.find(axis); found != position.end())
            lines.push_back(format_text("%-10s %9.3f deg", axis, found->second));
    }
    for (const char *axis : kPositions) {
        if (const auto found = position.find(axis); found != position.end())
            lines.push_back(format_text("%-10s %9.0f%s", axis, found->second, found->second < 0 ? " (not known)" : ""));
    }
    if (view.age)
        lines.push_back(format_text("%-10s %9.3f s", "age", *view.age));
    if (!view.link.empty())
        lines.push_back(format_text("%-10s %9s", "link", printable(view.link).c_str()));
    return lines;
}

GVariant *view_object(const View &view)
{
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    for (const auto &[axis, value] : view.position)
        g_variant_builder_add(&object, "{sv}", axis.c_str(), g_variant_new_double(value));
    if (view.age)
        g_variant_builder_add(&object, "{sv}", "age", g_variant_new_double(*view.age));
    if (!view.link.empty())
        g_variant_builder_add(&object, "{sv}", "link", g_variant_new_string(view.link.c_str()));
    return g_variant_builder_end(&object);
}

GVariant *state_object(const std::pair<int, std::string> &state)
{
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&object, "{sv}", "state", g_variant_new_int32(state.first));
    g_variant_builder_add(&object, "{sv}", "text", g_variant_new_string(state.second.c_str()));
    return g_variant_builder_end(&object);
}

void show_state(Context &context, const std::pair<int, std::string> &state)
{
    if (context.json())
        context.object(state_object(state));
    else
        context.line(std::to_string(state.first) + " " + printable(state.second));
}

// "  key  value" lines of a dictionary of dictionaries, a heading above each.
void show_groups(Context &context, GVariant *groups)
{
    GVariantIter iterator;
    g_variant_iter_init(&iterator, groups);
    const char *name = nullptr;
    GVariant *fields = nullptr;
    while (g_variant_iter_loop(&iterator, "{&s@a{sv}}", &name, &fields)) {
        context.line(printable(name));
        for (gsize i = 0; i < g_variant_n_children(fields); i++) {
            GVariantOwned entry(g_variant_get_child_value(fields, i));
            const char *key = nullptr;
            GVariant *value = nullptr;
            g_variant_get(entry.get(), "{&sv}", &key, &value);
            GVariantOwned owned(value);
            context.line(format_text("  %-26s %s", printable(key).c_str(), json_from_variant(value).c_str()));
        }
    }
}

} // namespace

ExitStatus run_state(Context &context, Arguments &arguments)
{
    const auto wanted = arguments.value("--wait");
    const auto within = arguments.value("--within");
    arguments.words(0, 0);
    if (!wanted && within)
        throw usage_failure("--within says how long --wait may take; give --wait STATE too");
    if (!wanted) {
        show_state(context, context.service().state());
        return EXIT_DONE;
    }
    const int number = parse_integer(*wanted, "--wait", 0, 7);
    const double seconds = within ? parse_number(*within, "--within", 0, kLongestWait) : 60;
    show_state(context, wait_for_state(context.service(), number, seconds));
    return EXIT_DONE;
}

ExitStatus run_position(Context &context, Arguments &arguments)
{
    const bool watch = arguments.flag("--watch");
    const auto seconds_text = arguments.value("--for");
    arguments.words(0, 0);
    if (seconds_text && !watch)
        throw usage_failure("--for says how long to watch; give --watch too");
    const double seconds = seconds_text ? parse_number(*seconds_text, "--for", 0, kLongestWait) : G_MAXINT;

    Service &service = context.service();
    if (!watch) {
        const View view = view_of(service);
        if (context.json())
            context.object(view_object(view));
        else
            for (const std::string &line : view_lines(view))
                context.line(line);
        return EXIT_DONE;
    }
    const gint64 start = steady_now();
    View last;
    run_loop(kPositionEveryMs, [&] {
        const View view = view_of(service);
        const bool changed = view.position != last.position || view.link != last.link;
        if (changed && context.json()) {
            context.object(view_object(view));
        } else if (changed) {
            std::string text;
            for (const std::string &line : view_lines(view))
                text += (text.empty() ? "" : " | ") + line;
            context.line(text);
        }
        last = view;
        return static_cast<double>(steady_now() - start) < seconds * 1e6;
    });
    return EXIT_DONE;
}

ExitStatus run_fov(Context &context, Arguments &arguments)
{
    arguments.words(0, 0);
    GVariantOwned fields = context.service().result("GetFieldOfView", nullptr, "(a{sd})");
    if (context.json()) {
        context.object(fields.get());
        return EXIT_DONE;
    }
    for (const char *name : {"angle", "widest", "horizontal", "vertical"}) {
        double degrees = 0;
        if (g_variant_lookup(fields.get(), name, "d", &degrees))
            context.line(format_text("%-10s %9.3f deg%s", name, degrees, degrees < 0 ? " (not known)" : ""));
    }
    return EXIT_DONE;
}

ExitStatus run_angle_to_zoom(Context &context, Arguments &arguments)
{
    const auto scale_text = arguments.value("--scale");
    const double angle = parse_number(arguments.words(1, 1)[0], "the angle");
    const double scale = scale_text ? parse_number(*scale_text, "--scale") : 100;

    GVariantOwned zoom = context.service().result("AngleToZoom", g_variant_new("(dd)", angle, scale), "(d)");
    if (context.json())
        context.object_of("zoom", zoom.get());
    else
        context.line(value_text(zoom.get()));
    return EXIT_DONE;
}

ExitStatus run_capabilities(Context &context, Arguments &arguments)
{
    const std::vector<std::string> words = arguments.words(0, 1);
    const std::string category = words.empty() ? "" : words[0];
    context.texts("capabilities", context.service().result("GetCapabilities",
                                                           g_variant_new("(s)", valid_text(category).c_str()), "(as)"));
    return EXIT_DONE;
}

ExitStatus run_published(Context &context, Arguments &arguments)
{
    arguments.words(0, 0);
    Service &service = context.service();
    GVariantOwned published = service.result("GetPublished", nullptr, "(a{sa{sv}})");
    GVariantOwned caches = service.result("GetDataCaches", nullptr, "(a{sa{sv}})");
    GVariantOwned video = service.result("GetVideo", nullptr, "(a{sb})");
    if (context.json()) {
        GVariantBuilder object;
        g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&object, "{sv}", "published", published.get());
        g_variant_builder_add(&object, "{sv}", "caches", caches.get());
        g_variant_builder_add(&object, "{sv}", "video", video.get());
        context.object(g_variant_builder_end(&object));
        return EXIT_DONE;
    }
    context.line("Status cache");
    show_groups(context, published.get());
    context.line("Data caches");
    show_groups(context, caches.get());
    for (const char *name : {"blanked", "frozen"}) {
        gboolean on = FALSE;
        if (g_variant_lookup(video.get(), name, "b", &on))
            context.line(format_text("Picture %s: %s", name, on ? "yes" : "no"));
    }
    return EXIT_DONE;
}
