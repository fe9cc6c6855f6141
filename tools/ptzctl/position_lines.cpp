#include "position_lines.h"

#include "command.h"

#include <string_view>

namespace {

using DateTime = GOwned<GDateTime, g_date_time_unref>;

// "2026-11-23T15:18:27.123456Z", of microseconds since 1970.
std::string time_text(gint64 us)
{
    const DateTime time(g_date_time_new_from_unix_utc(us / G_USEC_PER_SEC));
    const GText text(time ? g_date_time_format(time.get(), "%Y-%m-%dT%H:%M:%S") : nullptr);
    return (text ? text.get() : "?") + format_text(".%06dZ", static_cast<int>(us % G_USEC_PER_SEC));
}

void add_time(GVariantBuilder *line, gint64 us)
{
    g_variant_builder_add(line, "{sv}", "time", g_variant_new_string(time_text(us).c_str()));
}

void add_numbers(GVariantBuilder *line, GVariant *numbers)
{
    for (const auto &[name, value] : position_from(numbers))
        g_variant_builder_add(line, "{sv}", name.c_str(), g_variant_new_double(value));
}

} // namespace

void show_position_line(Context &context, const char *name, GVariant *parameters)
{
    GVariantBuilder line;
    g_variant_builder_init(&line, G_VARIANT_TYPE_VARDICT);
    GVariant *position = nullptr;
    if (std::string_view(name) == "PositionChanged" &&
        g_variant_is_of_type(parameters, G_VARIANT_TYPE("(xda{sd}a{sd}as)"))) {
        gint64 time = 0;
        double age = 0;
        GVariant *fields = nullptr;
        GVariant *moving = nullptr;
        g_variant_get(parameters, "(xd@a{sd}@a{sd}@as)", &time, &age, &position, &fields, &moving);
        add_time(&line, time);
        g_variant_builder_add(&line, "{sv}", "age", g_variant_new_double(age));
        add_numbers(&line, position);
        add_numbers(&line, fields);
        g_variant_builder_add(&line, "{sv}", "moving", moving);
        g_variant_unref(fields);
        g_variant_unref(moving);
    } else if (std::string_view(name) == "MoveDone" && g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ubsa{sd})"))) {
        guint32 id = 0;
        gboolean reached = FALSE;
        const char *reason = nullptr;
        g_variant_get(parameters, "(ub&s@a{sd})", &id, &reached, &reason, &position);
        add_time(&line, g_get_real_time());
        g_variant_builder_add(&line, "{sv}", "done", g_variant_new_uint32(id));
        g_variant_builder_add(&line, "{sv}", "reached", g_variant_new_boolean(reached));
        g_variant_builder_add(&line, "{sv}", "reason", g_variant_new_string(reason));
        add_numbers(&line, position);
    } else {
        g_variant_builder_clear(&line);
        return;
    }
    g_variant_unref(position);
    context.object(g_variant_builder_end(&line));
}
