// krx-sim: a simulated camera board in a folder.
#include "glib_owned.h"
#include "sim/bus.h"
#include "sim/options.h"
#include "sim/progress.h"
#include "sim/replay.h"
#include "sim/script.h"
#include "sim/trace.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <glib-unix.h>
#include <glib.h>
#include <unistd.h>

namespace {

gboolean quit(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop));
    return G_SOURCE_CONTINUE;
}

void print_counts(const char *what, const sim::Counts &counts)
{
    std::printf("%s:%s\n", what, counts.empty() ? " none" : "");
    for (const auto &[name, count] : counts)
        std::printf("  %6u %s\n", count, name.c_str());
}

int run(const sim::Arguments &arguments)
{
    sim::Options options = arguments.board;
    sim::ProgressBar bar;
    options.print = [&bar, detail = arguments.detail](sim::Detail kind, std::int64_t us, std::string_view text) {
        const std::string time = sim::trace_time(us);
        if (kind <= detail)
            bar.print("[" + std::string(time.size() < 12 ? 12 - time.size() : 0, ' ') + time + "] " +
                      std::string(text));
    };
    if (isatty(STDOUT_FILENO) != 0 && arguments.detail != sim::Detail::offences)
        options.progress = [&bar](std::optional<unsigned> percent) { bar.show(percent); };
    sim::Board board(std::move(options));
    auto problem = arguments.script.empty() ? std::nullopt : sim::load_script(arguments.script, board);
    if (!problem)
        problem = board.start();
    if (problem) {
        std::fprintf(stderr, "krx-sim: %s\n", problem->c_str());
        return 1;
    }
    const GMainLoopOwned loop(g_main_loop_new(nullptr, FALSE));
    g_unix_signal_add(SIGINT, quit, loop.get());
    g_unix_signal_add(SIGTERM, quit, loop.get());
    {
        const sim::Bus bus(board);
        std::unique_ptr<sim::View> view;
        if (arguments.view) {
            view = std::make_unique<sim::View>(board, *arguments.view);
            if (const auto no_view = view->start()) {
                std::fprintf(stderr, "krx-sim: %s\n", no_view->c_str());
                return 1;
            }
            std::printf("view %s\n", view->address().c_str());
        }
        std::printf("ready\n");
        g_main_loop_run(loop.get());
    }
    board.stop();
    print_counts("Records", board.records());
    print_counts("Faults", board.faults());
    print_counts("Offences", board.offences());
    return arguments.strict && !board.offences().empty() ? 3 : 0;
}

int run_replay(const sim::Arguments &arguments)
{
    std::ifstream file(arguments.replay);
    if (!file || file.peek() == std::ifstream::traits_type::eof()) {
        std::fprintf(stderr, "krx-sim: cannot read the trace %s\n", arguments.replay.c_str());
        return 1;
    }
    sim::Options options = arguments.board;
    options.manual_time = true;
    options.trace_path.clear();
    std::string line; // the head of the trace says how the block sends its headers
    while (file.peek() == '#' && std::getline(file, line))
        options.camera.big_endian = sim::trace_byte_order(line).value_or(options.camera.big_endian);
    file.seekg(0);
    sim::Board board(std::move(options));
    const sim::ReplayReport report = sim::replay(file, board, [](const std::string &text) { std::puts(text.c_str()); });
    std::printf("%zu bursts and %zu levels compared, %zu otherwise\n", report.bursts, report.levels, report.otherwise);
    if (report.malformed != 0)
        std::fprintf(stderr, "krx-sim: %zu lines are none of a trace\n", report.malformed);
    if (report.cut)
        std::fprintf(stderr, "krx-sim: the trace was cut within its last line\n");
    return report.malformed != 0 || report.cut ? 1 : report.otherwise != 0 ? 3 : 0;
}

} // namespace

int main(int argc, char **argv)
{
    // Lines are read while they appear, also through a pipe.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    try {
        int status = 0;
        const auto arguments = sim::parse_arguments(argc, argv, status);
        return !arguments ? status : arguments->replay.empty() ? run(*arguments) : run_replay(*arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "krx-sim: %s\n", error.what());
        return 1;
    }
}
