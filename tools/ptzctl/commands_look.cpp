// state, position, fov, angle-to-zoom, capabilities, published: what the camera says about itself.
#include "camera.h"
#include "command.h"
#include "json.h"
#include "loop.h"
#include "numbers.h"

#include <algorithm>
#include <cmath>

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
    view.link = lookup_text(service.status().get(), "link");
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
        std::vector<std::vector<std::string>> rows{{printable(name)}};
        for (gsize i = 0; i < g_variant_n_children(fields); i++) {
            GVariantOwned entry(g_variant_get_child_value(fields, i));
            const char *key = nullptr;
            GVariant *value = nullptr;
            g_variant_get(entry.get(), "{&sv}", &key, &value);
            GVariantOwned owned(value);
            rows.push_back({"  " + printable(key), json_from_variant(value)});
        }
        context.table(rows);
    }
}

// A view on one line, which a terminal holds.
std::string view_line(const View &view)
{
    std::string line;
    const auto add = [&](const char *axis, const char *format) {
        if (const auto found = view.position.find(axis); found != view.position.end())
            line += (line.empty() ? "" : " ") + std::string(axis) + format_text(format, found->second);
    };
    for (const char *axis : kAngles)
        add(axis, " %.3f");
    for (const char *axis : kPositions)
        add(axis, " %.0f");
    return line + (view.link.empty() ? "" : " " + printable(view.link));
}

// Where a zoom ends by the parameter of that, which not every driver has.
int zoom_limit(Service &service)
{
    try {
        const GVariantOwned limit = get_parameter(service, "Limit", "MaxZoom");
        return g_variant_is_of_type(limit.get(), G_VARIANT_TYPE_INT32) ? g_variant_get_int32(limit.get()) : G_MAXINT;
    } catch (const Failure &failure) {
        if (failure.code() != "UnknownParameter")
            throw;
        return G_MAXINT;
    }
}

// The position for a move; one step beyond the limit is as good as the limit.
int within_limit(int zoom, int limit)
{
    if (zoom - 1 > limit)
        throw Failure(EXIT_REFUSED, "OutOfRange",
                      format_text("that is zoom %d, and a zoom ends at %d; 'ptzctl params set Limit.MaxZoom %d' lets "
                                  "it go there",
                                  zoom, limit, zoom));
    return std::min(zoom, limit);
}

double ask_zoom(Service &service, double angle, double scale)
{
    return g_variant_get_double(service.result("AngleToZoom", g_variant_new("(dd)", angle, scale), "(d)").get());
}

} // namespace

ExitStatus run_state(Context &context, const Arguments &arguments)
{
    const auto wanted = arguments.value("--wait");
    const auto within = arguments.number("--within");
    if (!wanted && within)
        throw usage_failure("--within says how long --wait may take; give --wait STATE too");
    if (!wanted) {
        show_state(context, context.service().state());
        return EXIT_DONE;
    }
    show_state(context, wait_for_state(context.service(), find_state(*wanted)->number, within.value_or(60)));
    return EXIT_DONE;
}

ExitStatus run_position(Context &context, const Arguments &arguments)
{
    const bool watch = arguments.flag("--watch");
    const auto seconds = arguments.number("--for");
    if (seconds && !watch)
        throw usage_failure("--for says how long to watch; give --watch too");

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
        if (changed && context.json())
            context.object(view_object(view));
        else if (changed)
            context.line(view_line(view));
        last = view;
        return static_cast<double>(steady_now() - start) < seconds.value_or(G_MAXINT) * 1e6;
    });
    return EXIT_DONE;
}

ExitStatus run_fov(Context &context, const Arguments & /*unused*/)
{
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

// The driver gives the nearest position that it has for any angle: whether that shows it, is found by asking further.
ExitStatus run_angle_to_zoom(Context &context, const Arguments &arguments)
{
    constexpr double kNarrowest = 0.001; // degrees
    constexpr double kWider = 1.02;      // some positions of zoom, at every one
    const double angle = parse_number(arguments.words()[0], "ANGLE");
    const double scale = arguments.number("--scale").value_or(100);
    Service &service = context.service();
    const GVariantOwned fields = service.result("GetFieldOfView", nullptr, "(a{sd})");
    double widest = 0;
    if (g_variant_lookup(fields.get(), "widest", "d", &widest) && angle * 100 / scale > widest)
        throw Failure(EXIT_REFUSED, "OutOfRange",
                      format_text("%.10g degrees are more than the lens shows; it is at most %.10g degrees wide",
                                  angle * 100 / scale, widest));
    const double zoom = ask_zoom(service, angle, scale);
    const double last = ask_zoom(service, kNarrowest, 100);
    if (zoom >= last && ask_zoom(service, std::min(angle * kWider, 180.0), scale) >= last)
        throw Failure(EXIT_REFUSED, "OutOfRange",
                      format_text("%.10g degrees are less than the camera shows at its last zoom position, %.0f",
                                  angle * 100 / scale, last));
    const int position = within_limit(static_cast<int>(std::lround(zoom)), zoom_limit(service));
    if (context.json())
        context.object_of("zoom", g_variant_new_int32(position));
    else
        context.line(std::to_string(position));
    return EXIT_DONE;
}

ExitStatus run_capabilities(Context &context, const Arguments &arguments)
{
    const char *category = arguments.words().empty() ? "" : arguments.words()[0].c_str();
    context.texts("capabilities", context.service().result("GetCapabilities", g_variant_new("(s)", category), "(as)"));
    return EXIT_DONE;
}

ExitStatus run_published(Context &context, const Arguments & /*unused*/)
{
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
