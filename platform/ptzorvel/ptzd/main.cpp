// ptzd: runs one camera driver plug-in as the PTZ service of the system bus.
#include "glib_owned.h"
#include "ptzorvel/ptzd/board_lock.h"
#include "ptzorvel/ptzd/bus_relay.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/param_file.h"
#include "ptzorvel/ptzd/plugin.h"
#include "ptzorvel/ptzd/service.h"
#include "ptzorvel/ptzd/trace.h"
#include "ptzorvel/ptzd/trace_watch.h"

#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <future>
#include <malloc.h>
#include <syslog.h>
#include <unistd.h>
#include <utility>

namespace {

enum ExitStatus { EXIT_OK = 0, EXIT_NO_DRIVER = 1, EXIT_USAGE = 2, EXIT_NO_BUS = 3 };

constexpr double kLongestTimeout = 1e6; // seconds
constexpr int kMostTraceMib = 1 << 20;

struct CommandLine {
    char *plugin = nullptr;
    char *state_dir = nullptr;
    char *metrics = nullptr;
    char *trace = nullptr;
    int trace_size = 64;
    int channel = 1;
    int id = 0;
    double start_timeout = 180;
    double link_timeout = 30;
    gboolean foreground = FALSE;
    gboolean check = FALSE;
    gboolean version = FALSE;

    CommandLine() = default;
    CommandLine(const CommandLine &) = delete;
    CommandLine &operator=(const CommandLine &) = delete;
    ~CommandLine()
    {
        g_free(plugin);
        g_free(state_dir);
        g_free(metrics);
        g_free(trace);
    }
};

// Everything that may end the loop; outlives the service.
struct Run {
    GMainLoopOwned loop{g_main_loop_new(nullptr, FALSE)};
    PtzService *service = nullptr;
    int status = EXIT_OK;
    bool ending = false;
    bool signalled = false;

    // Closes the camera, then ends the loop with that status. Main thread.
    void end(int with_status)
    {
        if (ending)
            return;
        ending = true;
        status = with_status;
        service->close([this] { g_main_loop_quit(loop.get()); });
    }
};

bool is_timeout(double seconds)
{
    return seconds >= 0 && seconds <= kLongestTimeout; // which is not said of a NaN
}

bool parse(int *argc, char ***argv, CommandLine &line)
{
    const GOptionEntry entries[] = {
        {"plugin", 'p', 0, G_OPTION_ARG_FILENAME, &line.plugin, "Driver plug-in (default: see below)", "FILE"},
        {"channel", 'c', 0, G_OPTION_ARG_INT, &line.channel, "Number of the video channel (default: 1)", "N"},
        {"id", 'i', 0, G_OPTION_ARG_INT, &line.id, "Number of the driver on that channel (default: 0)", "N"},
        {"state-dir", 0, 0, G_OPTION_ARG_FILENAME, &line.state_dir, "Keep values in this folder (default: see below)",
         "DIR"},
        {"start-timeout", 0, 0, G_OPTION_ARG_DOUBLE, &line.start_timeout,
         "Give a silent start up (default: 180; 0: never)", "SECONDS"},
        {"link-timeout", 0, 0, G_OPTION_ARG_DOUBLE, &line.link_timeout, "Reset a silent block (default: 30; 0: never)",
         "SECONDS"},
        {"metrics", 0, 0, G_OPTION_ARG_FILENAME, &line.metrics, "Write numbers over time there every 10 s", "FILE"},
        {"trace", 't', 0, G_OPTION_ARG_FILENAME, &line.trace, "Record all traffic with the camera block", "FILE"},
        {"trace-size", 0, 0, G_OPTION_ARG_INT, &line.trace_size, "The last of it, in FILE.1 and FILE (default: 64)",
         "MIB"},
        {"foreground", 'f', 0, G_OPTION_ARG_NONE, &line.foreground, "Show log messages on standard error too", nullptr},
        {"check", 0, 0, G_OPTION_ARG_NONE, &line.check, "Say what is wrong in the configuration, and end", nullptr},
        {"version", 0, 0, G_OPTION_ARG_NONE, &line.version, "Show the version and end", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
    };
    const GOptionContextOwned context(g_option_context_new("- the PTZ service"));
    g_option_context_add_main_entries(context.get(), entries, nullptr);
    g_option_context_set_description(
        context.get(), "Runs the driver plug-in and serves it as com.orna.PTZ on the system bus until\n"
                       "it gets SIGTERM or SIGINT, which end it within 20 seconds; while a firmware\n"
                       "upgrade gets on, it is waited for. A second signal ends it at once. It stays in\n"
                       "the foreground.\n\n"
                       "Parameters that were set keep their values in DIR/parameters.conf; presets\n"
                       "are in DIR/presets.conf, the last firmware upgrade in DIR/upgrade.conf. A start\n"
                       "is given up, and a block reset, that has been without a good answer for the\n"
                       "time-out.\n\n"
                       "Without --plugin it loads\n"
                       "  " PTZD_DEFAULT_PLUGIN "\n\n"
                       "Environment:\n"
                       "  STATE_DIRECTORY          folder to keep parameter values in\n"
                       "                           (default: $PTZ_BOARD, else /var/lib/ptz)\n"
                       "  DBUS_SYSTEM_BUS_ADDRESS  the system bus\n"
                       "  PTZ_DATA_DIR             folder of the configuration (default: /usr/share/ptz)\n"
                       "  PTZ_BOARD                folder of a simulated board\n"
                       "  PTZ_TIME_SCALE           run this many times faster (simulated camera)\n\n"
                       "Exit status: 0 ended by a signal, 1 no usable driver or --check found\n"
                       "something, 2 wrong arguments, 3 no bus, or another PTZ service on it or for\n"
                       "this board.\n");
    GErrorSlot error;
    const bool good = g_option_context_parse(context.get(), argc, argv, error) != FALSE && *argc == 1;
    const bool timed = is_timeout(line.start_timeout) && is_timeout(line.link_timeout);
    const bool sized = 1 <= line.trace_size && line.trace_size <= kMostTraceMib;
    if (!good || !timed || !sized)
        std::fprintf(stderr, "ptzd: %s Try ptzd --help.\n",
                     error    ? error->message
                     : !good  ? "There is nothing to name but options."
                     : !timed ? "A time-out has to be a number of seconds, 0 to 1000000."
                              : "A trace has to have a number of MiB, 1 to 1048576.");
    return good && timed && sized;
}

bool log_is_shown = false; // on standard error too

int complain(int status, const std::string &problem)
{
    if (!log_is_shown)
        std::fprintf(stderr, "ptzd: %s\n", problem.c_str());
    syslog(LOG_ERR, "%s", problem.c_str());
    return status;
}

// How many times as fast a simulated camera's time runs.
bool parse_time_scale(double &scale)
{
    const char *text = g_getenv("PTZ_TIME_SCALE");
    if (text == nullptr || *text == '\0')
        return true;
    char *end = nullptr;
    scale = g_ascii_strtod(text, &end);
    return *end == '\0' && scale >= 1e-3 && scale <= 1e6;
}

// A line for each thing that is wrong in the configuration. The driver is made and not opened.
int check(PTZDriverNewFunc driver_new, const CommandLine &line)
{
    // What the driver and GLib say of it is said better below.
    setlogmask(LOG_MASK(LOG_EMERG));
    g_log_set_default_handler([](const char *, GLogLevelFlags, const char *, gpointer) {}, nullptr);
    PTZDriver *driver = driver_new(line.channel, line.id);
    if (driver == nullptr)
        return complain(EXIT_NO_DRIVER, "The plug-in made no driver.");
    DriverHost host;
    host.attach(driver, 1);
    const auto problems = host.config_problems();
    host.detach();
    g_object_unref(driver);
    for (const std::string &problem : problems)
        std::puts(problem.c_str());
    return problems.empty() ? EXIT_OK : EXIT_NO_DRIVER;
}

gboolean on_signal(gpointer data)
{
    auto *run = static_cast<Run *>(data);
    // The camera may take its time; whoever asks twice does not want to wait. Who asks once, after the bus has gone,
    // does.
    if (std::exchange(run->signalled, true)) {
        std::fputs("ptzd: Ended before the camera was closed.\n", stderr);
        _exit(EXIT_NO_DRIVER);
    }
    run->end(EXIT_OK);
    return G_SOURCE_CONTINUE;
}

void on_bus_closed(GDBusConnection *, gboolean, GError *, gpointer data)
{
    complain(EXIT_NO_BUS, "The bus has gone. Closing the camera and ending; start ptzd again when there is a bus.");
    static_cast<Run *>(data)->end(EXIT_NO_BUS);
}

struct DriverProblem {
    Run *run;
    std::string text;
};

gboolean on_driver_problem(gpointer data)
{
    const std::unique_ptr<DriverProblem> problem(static_cast<DriverProblem *>(data));
    problem->run->end(complain(EXIT_NO_DRIVER, problem->text));
    return G_SOURCE_REMOVE;
}

// Where to; how much; and what its head says.
Trace::Options trace_options(const CommandLine &line, const PtzService::Options &options)
{
    const char *folder = g_getenv("PTZ_DATA_DIR");
    Trace::Options trace;
    trace.path = line.trace != nullptr ? line.trace : options.state_dir + "/ptzd.trace";
    trace.most_bytes = static_cast<std::uint64_t>(line.trace_size) << 20;
    trace.time_scale = options.time_scale;
    trace.config_folder = folder != nullptr && *folder != '\0' ? folder : "/usr/share/ptz";
    trace.state_folder = options.state_dir;
    trace.watch = trace_watch;
    return trace;
}

// Begun before the driver is made, so that it has all; a trace that cannot be had is no reason to end.
void begin_trace(Trace &trace)
{
    std::promise<void> begun;
    trace.begin([&begun](const std::string &problem) {
        if (!problem.empty())
            complain(EXIT_OK, "The trace cannot be written: " + problem + ". The camera goes on without it.");
        begun.set_value();
    });
    begun.get_future().wait();
}

int serve(GDBusConnection *connection, const PtzService::Options &options)
{
    std::string problem;
    Run run;
    const auto service = PtzService::create(connection, options, problem);
    if (service == nullptr)
        return complain(EXIT_NO_BUS, problem);
    run.service = service.get();
    const TraceEar ear(connection, *options.trace); // behind the service's guard: what that drops nobody acts on
    const gulong closed = g_signal_connect(connection, "closed", G_CALLBACK(on_bus_closed), &run);
    const guint terminate = g_unix_signal_add(SIGTERM, on_signal, &run);
    const guint interrupt = g_unix_signal_add(SIGINT, on_signal, &run);
    service->start([&run](const std::string &text) { g_idle_add(on_driver_problem, new DriverProblem{&run, text}); });
    g_main_loop_run(run.loop.get());
    g_source_remove(terminate);
    g_source_remove(interrupt);
    g_signal_handler_disconnect(connection, closed);
    return run.status;
}

} // namespace

int main(int argc, char *argv[])
{
    mallopt(M_ARENA_MAX, 1); // the threads allocate little at a time; a heap for each would only lie there
    CommandLine line;
    if (!parse(&argc, &argv, line))
        return EXIT_USAGE;
    if (line.version) {
        std::puts("ptzd " PTZD_VERSION);
        return EXIT_OK;
    }
    log_is_shown = line.foreground != FALSE || isatty(STDERR_FILENO) != 0;
    openlog("ptzd", log_is_shown ? LOG_PID | LOG_PERROR : LOG_PID, LOG_DAEMON);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failure like any other

    std::string problem;
    PtzService::Options options;
    if (!parse_time_scale(options.time_scale))
        return complain(EXIT_USAGE, "PTZ_TIME_SCALE has to be a number between 0.001 and 1000000.");
    options.driver_new = load_plugin(line.plugin != nullptr ? line.plugin : PTZD_DEFAULT_PLUGIN, problem);
    if (options.driver_new == nullptr)
        return complain(EXIT_NO_DRIVER, problem);
    if (line.check != FALSE)
        return check(options.driver_new, line);
    options.video_channel = line.channel;
    options.id = line.id;
    options.start_timeout_s = line.start_timeout;
    options.link_timeout_s = line.link_timeout;
    options.metrics_file = line.metrics != nullptr ? line.metrics : "";
    options.state_dir = line.state_dir != nullptr ? line.state_dir : default_state_folder();

    const GText bus(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    const auto relay = BusRelay::create(problem);
    // Everything in the process reaches the bus through it, the driver too.
    if (relay != nullptr)
        g_setenv("DBUS_SYSTEM_BUS_ADDRESS", relay->address().c_str(), TRUE);
    GErrorSlot error;
    const GOwned<GDBusConnection, g_object_unref> connection(
        relay != nullptr ? g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error) : nullptr);
    if (!connection)
        return complain(EXIT_NO_BUS, "There is no system bus: " + (error ? error->message : problem) +
                                         ". Start dbus-daemon, or name a bus with DBUS_SYSTEM_BUS_ADDRESS.");
    g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    BoardLock board(line.channel, line.id);
    if (!board.take(bus != nullptr ? bus.get() : "", problem))
        return complain(EXIT_NO_BUS, problem);
    Trace trace(trace_options(line, options));
    options.trace = &trace;
    if (line.trace != nullptr)
        begin_trace(trace);
    const int status = serve(connection.get(), options);
    g_dbus_connection_flush_sync(connection.get(), nullptr, nullptr);
    closelog();
    return status;
}
