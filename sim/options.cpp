#include "sim/options.h"

#include "glib_owned.h"
#include "sim/command.h"

#include <cstdio>

namespace sim {
namespace {

constexpr int kMostMib = 1 << 20;

struct Raw {
    char *board = nullptr;
    char *script = nullptr;
    char *trace = nullptr;
    char *replay = nullptr;
    char *time_scale = nullptr;
    gint64 seed = 1;
    gboolean real_wire_time = FALSE;
    gboolean force = FALSE;
    gboolean big_endian = FALSE;
    gboolean invert_lines = FALSE;
    gboolean quiet = FALSE;
    gboolean verbose = FALSE;
    gboolean strict = FALSE;
    gboolean version = FALSE;
    int trace_limit = 0;
    bool view = false;
    std::string view_where;
    gboolean view_controls = FALSE;

    ~Raw()
    {
        g_free(board);
        g_free(script);
        g_free(trace);
        g_free(replay);
        g_free(time_scale);
    }
};

bool usage_error(const char *message)
{
    g_printerr("krx-sim: %s\nTry \"krx-sim --help\".\n", message);
    return false;
}

// --view alone, or with an address.
gboolean take_view(const gchar *, const gchar *value, gpointer data, GError **)
{
    Raw &raw = *static_cast<Raw *>(data);
    raw.view = true;
    raw.view_where = value ? value : "";
    return TRUE;
}

bool parse(Raw &raw, int argc, char **argv)
{
    const GOptionEntry entries[] = {
        {"board", 'b', 0, G_OPTION_ARG_FILENAME, &raw.board, "Folder of the board: sockets and configuration", "DIR"},
        {"script", 's', 0, G_OPTION_ARG_FILENAME, &raw.script, "Commands to carry out, each with its time", "FILE"},
        {"trace", 't', 0, G_OPTION_ARG_FILENAME, &raw.trace, "Write every burst to FILE (see ptzctl decode)", "FILE"},
        {"trace-limit", 0, 0, G_OPTION_ARG_INT, &raw.trace_limit, "Keep the last of the trace, in FILE.1 and FILE",
         "MIB"},
        {"replay", 0, 0, G_OPTION_ARG_FILENAME, &raw.replay, "Play a trace; say what is answered otherwise", "FILE"},
        {"time-scale", 'x', 0, G_OPTION_ARG_STRING, &raw.time_scale,
         "Let time run N times faster (else PTZ_TIME_SCALE)", "N"},
        {"real-wire-time", 'w', 0, G_OPTION_ARG_NONE, &raw.real_wire_time, "Bursts last as long as on a wire", nullptr},
        {"seed", 0, 0, G_OPTION_ARG_INT64, &raw.seed, "Seed of everything faults leave to chance", "N"},
        {"big-endian", 0, 0, G_OPTION_ARG_NONE, &raw.big_endian, "Send frame headers high byte first", nullptr},
        {"invert-lines", 0, 0, G_OPTION_ARG_NONE, &raw.invert_lines, "Power is active low, resets are active high",
         nullptr},
        {"force", 'f', 0, G_OPTION_ARG_NONE, &raw.force, "Overwrite existing configuration files", nullptr},
        {"quiet", 'q', 0, G_OPTION_ARG_NONE, &raw.quiet, "Print offences only", nullptr},
        {"verbose", 'v', 0, G_OPTION_ARG_NONE, &raw.verbose, "Also print status reads and line changes", nullptr},
        {"view", 0, G_OPTION_FLAG_OPTIONAL_ARG, G_OPTION_ARG_CALLBACK, reinterpret_cast<gpointer>(take_view),
         "Show the picture on a page (127.0.0.1, free port)", "ADDRESS:PORT"},
        {"view-controls", 0, 0, G_OPTION_ARG_NONE, &raw.view_controls, "The page may change light, heat and faults",
         nullptr},
        {"strict", 0, 0, G_OPTION_ARG_NONE, &raw.strict, "Exit with status 3 when an offence was counted", nullptr},
        {"version", 0, 0, G_OPTION_ARG_NONE, &raw.version, "Print the version and end", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    const GOptionContextOwned context(g_option_context_new("- a simulated camera board"));
    g_option_context_set_summary(context.get(),
                                 "Simulates a pan-tilt-zoom camera board: SPI link, GPIO lines and the camera\n"
                                 "block behind them. Prints \"ready\" when hosts may connect; ends on SIGINT or\n"
                                 "SIGTERM and then prints its counts.\n\n"
                                 "  krx-sim --board /tmp/board &\n"
                                 "  export PTZ_DATA_DIR=/tmp/board PTZ_BOARD=/tmp/board\n"
                                 "  ptzd --plugin libptz_driver_canon.so");
    const std::string description =
        "Commands, from a script (\"at 1.5s COMMAND\" per line) or over D-Bus\n(com.orna.KrxSim):\n" + command_help() +
        view_help() +
        "\nExit status: 0 ended as asked, 1 could not run, 2 usage error, 3 offences\ncounted with --strict, or a "
        "replayed trace is answered otherwise.";
    g_option_context_set_description(context.get(), description.c_str());
    // In a group of its own data: the callback above needs it.
    GOptionGroup *group = g_option_group_new("krx-sim", "", "", &raw, nullptr);
    g_option_group_add_entries(group, entries);
    g_option_context_set_main_group(context.get(), group);
    GErrorSlot error;
    if (!g_option_context_parse(context.get(), &argc, &argv, error)) {
        return usage_error(error->message);
    }
    if (argc > 1)
        return usage_error("unexpected words on the command line");
    if (raw.version)
        return true;
    if (raw.trace_limit < 0 || raw.trace_limit > kMostMib)
        return usage_error("--trace-limit takes a number of MiB up to 1048576; 0: no limit");
    if (raw.view_controls && !raw.view)
        return usage_error("--view-controls needs --view");
    if (!raw.replay && (!raw.board || !*raw.board))
        return usage_error("--board DIR is missing");
    return true;
}

// The factor on the command line, else in the environment that the whole system shares, else 1.
bool parse_time_scale(const char *option, double &scale)
{
    const char *text = option ? option : g_getenv("PTZ_TIME_SCALE");
    if (!text || !*text)
        return true;
    char *end = nullptr;
    scale = g_ascii_strtod(text, &end);
    if (*end == '\0' && scale > 0 && scale <= 1e6)
        return true;
    return usage_error(option ? "--time-scale takes a number above 0" : "PTZ_TIME_SCALE has to be a number above 0");
}

} // namespace

std::optional<Arguments> parse_arguments(int argc, char **argv, int &status)
{
    Raw raw;
    status = 2;
    Arguments arguments;
    if (!parse(raw, argc, argv) || !parse_time_scale(raw.time_scale, arguments.board.time_scale))
        return std::nullopt;
    status = 0;
    if (raw.version) {
        std::puts("krx-sim " KRX_SIM_VERSION);
        return std::nullopt;
    }
    arguments.board.folder = raw.board ? raw.board : "";
    arguments.board.real_wire_time = raw.real_wire_time;
    arguments.board.overwrite_conf = raw.force;
    arguments.board.seed = static_cast<std::uint64_t>(raw.seed);
    arguments.board.trace_path = raw.trace ? raw.trace : "";
    arguments.board.trace_bytes = static_cast<std::uint64_t>(raw.trace_limit) << 20;
    arguments.board.camera.big_endian = raw.big_endian;
    if (raw.invert_lines) {
        arguments.board.camera.power_active_low = true;
        arguments.board.camera.resets_active_low = false;
        arguments.board.camera.fpga_reset_active_low = false;
    }
    arguments.script = raw.script ? raw.script : "";
    arguments.replay = raw.replay ? raw.replay : "";
    arguments.detail = raw.quiet ? Detail::offences : raw.verbose ? Detail::everything : Detail::records;
    arguments.strict = raw.strict;
    if (raw.view)
        arguments.view = {raw.view_where, raw.board, raw.view_controls != FALSE};
    return arguments;
}

} // namespace sim
