// move and stop: what makes the camera move and how to wait for it.
#include "camera.h"
#include "command.h"
#include "move_wait.h"

#include <algorithm>
#include <cstdio>

namespace {

struct MoveOptions {
    std::string default_type = "absolute";
    double speed = 0; // percent, 0: as fast as the camera goes
    bool preset = false;
    bool wait = false;
    std::optional<double> seconds; // of a continuous move
};

MoveOptions take_options(const Arguments &arguments)
{
    MoveOptions options;
    int types = 0;
    for (const char *type : {"absolute", "relative", "continuous"}) {
        if (arguments.flag(std::string("--") + type)) {
            options.default_type = type;
            types++;
        }
    }
    if (types > 1)
        throw usage_failure("--absolute, --relative and --continuous exclude each other; mix types as in pan=rel:5");
    options.speed = arguments.number("--speed").value_or(0);
    options.seconds = arguments.number("--for");
    options.preset = arguments.flag("--preset");
    options.wait = arguments.flag("--wait");
    return options;
}

// Whether a continuous move ended as continuous moves do.
bool is_expected_end(const std::string &reason)
{
    return reason == "stopped" || reason == "replaced" || reason == "limit";
}

} // namespace

ExitStatus run_move(Context &context, const Arguments &arguments)
{
    const MoveOptions options = take_options(arguments);
    const std::vector<AxisMove> moves = parse_axes(arguments.words(), options.default_type);
    const auto is_continuous = [](const AxisMove &move) { return move.type == "continuous"; };
    const auto is_place = [](const AxisMove &move) { return move.type == "absolute"; };
    // A continuous move with all speeds 0 is over at once: nobody has to hold it.
    const bool runs_on = std::any_of(moves.begin(), moves.end(),
                                     [&](const auto &move) { return is_continuous(move) && move.value != 0; });
    if (options.speed != 0 && std::all_of(moves.begin(), moves.end(), is_continuous))
        throw usage_failure("--speed is for absolute and relative moves; the value of a continuous move is its speed");
    if (options.seconds && !runs_on)
        throw usage_failure("--for is for continuous moves; use --wait to wait for the end of this one");

    if (options.preset && !std::all_of(moves.begin(), moves.end(), is_place))
        throw usage_failure("--preset is for absolute moves; a preset is a place");

    Service &service = context.service();
    if (!runs_on && !options.wait) {
        send_move(service, moves, options.speed, options.preset);
        context.done("moving");
        return EXIT_DONE;
    }
    FollowedMove move(service);
    move.send(moves, options.speed, options.preset);
    auto result = move.wait(options.seconds);
    // The service stops the continuous move of a client that leaves the bus, so we stay.
    if (!result && runs_on) {
        service.call("Stop", nullptr, "()");
        result = move.wait();
    }
    if (!result && !context.json())
        std::fputs("ptzctl: interrupted; the move goes on, 'ptzctl stop' stops it\n", stderr);
    show_move(context, result.value_or(MoveResult{false, "not waited for", {}}));
    const bool good = result && (result->reached || (runs_on && is_expected_end(result->reason)));
    return good ? EXIT_DONE : EXIT_NOT_REACHED;
}

ExitStatus run_stop(Context &context, const Arguments & /*unused*/)
{
    context.service().call("Stop", nullptr, "()");
    context.done("stopped");
    return EXIT_DONE;
}
