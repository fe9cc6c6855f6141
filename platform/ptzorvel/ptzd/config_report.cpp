// What is wrong in the driver's configuration: what the driver finds, and what it names that is not there.
#include "glib_owned.h"
#include "host/driver_host.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ugpio/ugpio.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

// Calls `look` for each name in a list of the report, with the beginning of a message of it.
template <typename Look>
void for_each(GVariant *report, gsize list, Look look)
{
    const GVariantOwned all(g_variant_get_child_value(report, list));
    for (gsize i = 0; i < g_variant_n_children(all.get()); ++i) {
        const char *place = nullptr;
        const char *key = nullptr;
        const char *name = nullptr;
        g_variant_get_child(all.get(), i, "(&s&s&s)", &place, &key, &name);
        look(std::string(place) + ": warning: " + key + ": ", name);
    }
}

bool on_a_simulated_board()
{
    const char *board = std::getenv("PTZ_BOARD");
    return board != nullptr && *board != '\0';
}

} // namespace

std::vector<std::string> DriverHost::config_problems() const
{
    GValue value = G_VALUE_INIT;
    if (!read(DRIVER_HOST_CONFIG, &value))
        return {};
    const GVariantOwned report(g_value_dup_variant(&value));
    g_value_unset(&value);
    std::vector<std::string> problems;
    const GVariantOwned found(g_variant_get_child_value(report.get(), 0));
    for (gsize i = 0; i < g_variant_n_children(found.get()); ++i) {
        const char *line = nullptr;
        g_variant_get_child(found.get(), i, "&s", &line);
        problems.emplace_back(line);
    }
    for_each(report.get(), 1, [&](const std::string &place, const char *name) {
        if (ugpio_is_named(name) == 0)
            problems.push_back(place + "there is no GPIO line called " + name);
    });
    for_each(report.get(), 2, [&](const std::string &place, const char *name) {
        if (!on_a_simulated_board() && access(name, R_OK | W_OK) != 0)
            problems.push_back(place + name + ": " + std::strerror(errno));
    });
    return problems;
}
