// replay: a trace played to the real driver, whose doings are compared with it.
#include "command.h"
#include "loop.h"
#include "replay_board.h"
#include "replay_bus.h"

#include <filesystem>
#include <fstream>

namespace {

constexpr unsigned kLookEveryMs = 2; // the driver reads its status every 1.6 ms
constexpr double kTimeScale = 20;
constexpr double kSlowDown = 4; // from one try to the next
// A driver that has read its status so often without doing what is next will not do it any more; nor will one that has
// not been heard of for so long.
constexpr std::size_t kMostIdleReads = 600;
constexpr gint64 kLongestSilenceUs = 90 * gint64{G_USEC_PER_SEC};

// A folder that is gone when the replay is.
class Folder {
  public:
    Folder()
    {
        GErrorSlot error;
        const GText path(g_dir_make_tmp("ptzctl-replay-XXXXXX", error));
        if (!path)
            throw Failure(EXIT_REFUSED, "Board", "no folder for the replay: " + printable(error->message));
        path_ = path.get();
    }
    ~Folder()
    {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    const std::string &path() const { return path_; }

  private:
    std::string path_;
};

// The devices of the ports become those of the replay's board.
std::string with_devices(const std::string &text, const std::string &folder)
{
    std::string result;
    std::string port = "0";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        std::string line = text.substr(at, end - at);
        line.erase(0, line.find_first_not_of(" \t")); // as the reader of the file does
        if (line.starts_with('['))
            port = line.find("PORT1]") != std::string::npos ? "1" : "0";
        else if (line.starts_with("Device"))
            line = "Device=" + folder + "/spi" + port;
        result += line + "\n";
        at = end + 1;
    }
    return result;
}

void write_configuration(const ReplayTrace &trace, const std::string &folder)
{
    for (const auto &[name, text] : trace.files)
        std::ofstream(folder + "/" + name) << (name == "krx_port.conf" ? with_devices(text, folder) : text);
}

struct Watch {
    ReplayBoard &board;
    ReplayBus &bus;
    std::size_t progress = 0;
    gint64 since = steady_now();

    // Whether there is more to come.
    bool look()
    {
        for (const ReplayEvent *event : board.due())
            bus.make(*event);
        const ReplayBoard::State state = board.state();
        if (state.progress != progress) {
            progress = state.progress;
            since = steady_now();
        }
        return !state.finished && state.difference.empty() && !stuck(state) && !bus.ptzd_ended();
    }

    bool stuck(const ReplayBoard::State &state) const
    {
        return state.idle_reads > kMostIdleReads || steady_now() - since > kLongestSilenceUs;
    }
};

struct Outcome {
    bool finished = false;
    std::string difference; // empty: none
    std::string place;      // where it was not gone on, unless finished
};

Outcome play(const ReplayTrace &trace, const std::string &plugin, double time_scale)
{
    const Folder folder;
    write_configuration(trace, folder.path());
    ReplayBoard board(trace);
    board.start(folder.path());
    ReplayBus bus(trace, folder.path());
    bus.start_ptzd(plugin, time_scale);
    Watch watch{board, bus};
    if (run_loop(kLookEveryMs, [&] { return watch.look(); }) == LoopEnd::Interrupted)
        throw Interrupted();
    const ReplayBoard::State state = board.state();
    const bool ended = bus.ptzd_ended();
    // A driver that has ended leaves out reads at its end, and nothing else.
    Outcome outcome{state.finished || (ended && !board.has_act_left()), state.difference, ""};
    if (outcome.finished || !state.difference.empty())
        return outcome;
    outcome.place = state.next->place();
    // Nobody asks for what a trace of the simulator has after its start.
    if (trace.requests != 0 || ended)
        outcome.difference = outcome.place + ": in the trace the driver sends \"" + state.next->words() +
                             "\", now it sends nothing" + (ended ? "; ptzd has ended: " + bus.last_words() : "");
    return outcome;
}

} // namespace

ExitStatus run_replay(Context &context, const Arguments &arguments)
{
    const ReplayTrace trace(arguments.words()[0]);
    const std::string plugin = arguments.value("--plugin").value_or("");
    double time_scale = arguments.number("--time-scale").value_or(kTimeScale);
    Outcome outcome = play(trace, plugin, time_scale);
    // A machine that was busy elsewhere for some milliseconds has cost a fast camera a status or two, and ptzd acts on
    // that: a difference counts when it is seen twice, or with a camera that is not fast.
    for (std::string seen; outcome.difference != seen && time_scale > 1;) {
        seen = outcome.difference;
        time_scale = std::max(time_scale / kSlowDown, 1.0);
        outcome = play(trace, plugin, time_scale);
    }
    if (!outcome.difference.empty())
        throw Failure(EXIT_REFUSED, "Different", outcome.difference);
    if (trace.cut_at != 0)
        throw Failure(EXIT_REFUSED, "Cut",
                      "the trace was cut in line " + std::to_string(trace.cut_at) +
                          "; up to there the driver does the same");
    context.done(!outcome.finished
                     ? "the driver does the same up to " + outcome.place +
                           "; what follows was asked for, and the trace has no requests (krx-sim records none)"
                     : "the driver does the same: " + std::to_string(trace.events.size()) + " events, " +
                           std::to_string(trace.requests) + " of them requests");
    return EXIT_DONE;
}
