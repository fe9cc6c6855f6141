// metrics: numbers over time.
#include "command.h"

#include <sstream>

namespace {

// "name{labels} value"
void show_sample(Context &context, const std::string &line)
{
    const std::size_t name_end = line.find_first_of("{ ");
    const std::size_t value_at = line.rfind(' ');
    if (name_end == std::string::npos)
        return;
    GVariantBuilder object;
    g_variant_builder_init(&object, G_VARIANT_TYPE_VARDICT);
    const auto add = [&](const char *key, GVariant *value) { g_variant_builder_add(&object, "{sv}", key, value); };
    add("name", g_variant_new_string(line.substr(0, name_end).c_str()));
    // {key="value",key="value"}
    for (std::size_t at = name_end + 1; line[name_end] == '{' && line[at] != '}';) {
        const std::size_t quote = line.find('"', at), end = line.find('"', quote + 1);
        if (end == std::string::npos)
            break;
        add(line.substr(at, quote - at - 1).c_str(),
            g_variant_new_string(line.substr(quote + 1, end - quote - 1).c_str()));
        at = end + (line[end + 1] == ',' ? 2 : 1);
    }
    add("value", g_variant_new_double(g_ascii_strtod(line.c_str() + value_at, nullptr)));
    context.object(g_variant_builder_end(&object));
}

} // namespace

ExitStatus run_metrics(Context &context, const Arguments & /*unused*/)
{
    const GVariantOwned text = context.service().result("GetMetrics", nullptr, "(s)");
    std::istringstream lines(g_variant_get_string(text.get(), nullptr));
    for (std::string line; std::getline(lines, line);) {
        if (!context.json())
            context.line(printable(line));
        else if (!line.starts_with('#'))
            show_sample(context, line);
    }
    return EXIT_DONE;
}
