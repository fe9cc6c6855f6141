// krx-simctl: tells the simulated camera board what to be and what to get wrong, and shows how it is.
#include "columns.h"
#include "glib_owned.h"
#include "sim/command.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

enum ExitStatus { EXIT_OK = 0, EXIT_REFUSED = 1, EXIT_USAGE = 2, EXIT_NO_BOARD = 3 };

using Words = std::vector<std::string>;

constexpr char kName[] = "com.orna.KrxSim";
constexpr char kPath[] = "/com/orna/KrxSim";
constexpr std::pair<const char *, const char *> kShown[] = {{"State", "what the camera block is doing"},
                                                            {"Values", "positions, temperature and the like"},
                                                            {"Lines", "levels of the GPIO lines"},
                                                            {"Settings", "what the block works with, by record"},
                                                            {"Offences", "what hosts did against the protocol"},
                                                            {"Faults", "faults that struck"},
                                                            {"Records", "records that came"}};

std::size_t terminal_width()
{
    winsize size{};
    return isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 80;
}

int complain(int status, const std::string &problem)
{
    std::fprintf(stderr, "krx-simctl: %s\n", problem.c_str());
    return status;
}

std::string joined(const Words &words)
{
    std::string line;
    for (const std::string &word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

// Null, and the exit status, when that fails.
GVariantOwned call(const char *interface, const char *method, GVariant *arguments, int &status)
{
    const GVariantOwned owned(g_variant_ref_sink(arguments));
    GErrorSlot error;
    const GOwned<GDBusConnection, g_object_unref> bus(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
    if (!bus) {
        status = complain(EXIT_NO_BOARD,
                          std::string("no system bus (") + error->message + "); name one with DBUS_SYSTEM_BUS_ADDRESS");
        return nullptr;
    }
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    GVariantOwned reply(g_dbus_connection_call_sync(bus.get(), kName, kPath, interface, method, owned.get(), nullptr,
                                                    G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, error));
    if (reply)
        return reply;
    const bool absent = g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) != FALSE ||
                        g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) != FALSE;
    const bool denied = g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED) != FALSE;
    g_dbus_error_strip_remote_error(error.get());
    status = complain(absent ? EXIT_NO_BOARD : EXIT_REFUSED,
                      absent ? "there is no krx-sim on this bus; start it, or name its bus with DBUS_SYSTEM_BUS_ADDRESS"
                      : denied ? "the bus does not let you do that; members of the group ptz may"
                               : error->message);
    return nullptr;
}

int tell(const Words &words)
{
    int status = EXIT_OK;
    const GVariantOwned reply = call(kName, "Command", g_variant_new("(s)", joined(words).c_str()), status);
    const char *text = nullptr;
    if (reply) {
        g_variant_get(reply.get(), "(&s)", &text);
        std::puts(text);
    }
    return status;
}

void print_value(GVariant *value)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
        std::puts(g_variant_get_string(value, nullptr));
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (gsize i = 0; i < g_variant_n_children(value); i++) {
        const GVariantOwned entry(g_variant_get_child_value(value, i));
        const GVariantOwned key(g_variant_get_child_value(entry.get(), 0));
        const GVariantOwned held(g_variant_get_child_value(entry.get(), 1));
        const GText text(g_variant_print(held.get(), FALSE));
        rows.push_back({g_variant_get_string(key.get(), nullptr), text.get()});
    }
    std::fputs(rows.empty() ? "none\n" : in_columns(rows, terminal_width()).c_str(), stdout);
}

int show(const Words &words)
{
    const auto *row = std::find_if(std::begin(kShown), std::end(kShown), [&](const auto &shown) {
        return words.size() == 2 && g_ascii_strcasecmp(words[1].c_str(), shown.first) == 0;
    });
    if (row == std::end(kShown)) {
        std::string known;
        for (const auto &[name, text] : kShown)
            known += std::string(known.empty() ? "" : "|") + GText(g_ascii_strdown(name, -1)).get();
        return complain(EXIT_USAGE, "usage: show " + known);
    }
    int status = EXIT_OK;
    const GVariantOwned reply =
        call("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kName, row->first), status);
    if (!reply)
        return status;
    const GVariantOwned boxed(g_variant_get_child_value(reply.get(), 0));
    print_value(GVariantOwned(g_variant_get_variant(boxed.get())).get());
    return EXIT_OK;
}

int list_faults(const Words &words)
{
    std::vector<std::vector<std::string>> rows;
    for (const sim::FaultText &fault : sim::fault_texts())
        if (words.size() == 1 || fault.form.find(words[1]) != std::string::npos)
            rows.push_back({fault.form.substr(std::string_view("fault ").size()), fault.text});
    if (rows.empty())
        return complain(EXIT_USAGE, "no fault is called \"" + words[1] + "\"; 'krx-simctl faults' lists them");
    for (const auto &row : rows)
        std::printf("%s\n    %s\n", row[0].c_str(), row[1].c_str());
    return EXIT_OK;
}

// For shells, in the form that ptzctl has.
int complete(Words words)
{
    const std::string begun = words.empty() ? "" : words.back();
    if (!words.empty())
        words.pop_back();
    Words offers = sim::next_words(words);
    if (words.empty())
        offers.insert(offers.end(), {"faults", "show"});
    if (words == Words{"show"})
        for (const auto &[name, text] : kShown)
            offers.emplace_back(GText(g_ascii_strdown(name, -1)).get());
    std::puts("words");
    for (const std::string &offer : offers)
        if (offer.starts_with(begun))
            std::puts(offer.c_str());
    return EXIT_OK;
}

int help()
{
    std::string shown;
    for (const auto &[name, text] : kShown)
        shown += "  show " + std::string(GText(g_ascii_strdown(name, -1)).get()) + ": " + text + "\n";
    std::printf(
        "Usage: krx-simctl COMMAND...\n\n"
        "Tells the simulated camera board on the system bus what to be and what to get\nwrong, and shows how it "
        "is.\n\n"
        "  krx-simctl set temperature 61\n"
        "  krx-simctl fault silence for 5s\n"
        "  krx-simctl clear faults\n\n"
        "Here:\n  faults [NAME]: every fault, what it takes and what it does\n%s\nThe board's own commands:\n%s\n"
        "Exit status: 0 done, 1 refused, 2 usage error, 3 no bus or no krx-sim on it.\n",
        shown.c_str(), sim::command_help().c_str());
    return EXIT_OK;
}

} // namespace

int main(int argc, char *argv[])
{
    Words words(argv + 1, argv + argc);
    if (words.empty())
        return complain(EXIT_USAGE, "a command is missing; see krx-simctl --help");
    const std::string first = words[0];
    if (first == "--complete")
        return complete({words.begin() + 1, words.end()});
    if (first == "--help" || first == "-h")
        return help();
    if (first == "--version") {
        std::puts("krx-simctl " KRX_SIM_VERSION);
        return EXIT_OK;
    }
    if (first == "faults" && words.size() <= 2)
        return list_faults(words);
    if (first == "show")
        return show(words);
    if (!g_utf8_validate(joined(words).c_str(), -1, nullptr))
        return complain(EXIT_USAGE, "a command is UTF-8");
    const Words known = sim::next_words({});
    if (std::find(known.begin(), known.end(), first) == known.end())
        return complain(EXIT_USAGE, "there is no command \"" + first + "\"; see krx-simctl --help");
    return tell(words);
}
