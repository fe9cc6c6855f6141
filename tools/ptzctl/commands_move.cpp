// move and stop: what makes the camera move and how to wait for it.
#include "camera.h"
#include "command.h"
#include "numbers.h"

#include <algorithm>

namespace {

struct MoveOptions {
    std::string default_type = "absolute";
    double speed = 0; // percent, 0: as fast as the camera goes
    bool preset = false;
    bool wait = false;
    std::optional<double> seconds; // of a continuous move
};

MoveOptions take_options(Arguments &arguments)
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
    if (auto speed = arguments.value("--speed"))
        options.speed = parse_number(*speed, "--speed", 0, 100);
    if (auto seconds = arguments.value("--for"))
        options.seconds = parse_number(*seconds, "--for", 0, kLongestWait);
    options.preset = arguments.flag("--preset");
    options.wait = arguments.flag("--wait");
    return options;
}

} // namespace

ExitStatus run_move(Context &context, Arguments &arguments)
{
    const MoveOptions options = take_options(arguments);
    const std::vector<AxisMove> moves = parse_axes(arguments.words(1, 6), options.default_type);
    const auto is_continuous = [](const AxisMove &move) { return move.type == "continuous"; };
    // A continuous move with all speeds 0 is over at once: nobody has to hold it.
    const bool runs_on = std::any_of(moves.begin(), moves.end(),
                                     [&](const auto &move) { return is_continuous(move) && move.value != 0; });
    if (options.speed != 0 && std::all_of(moves.begin(), moves.end(), is_continuous))
        throw usage_failure("--speed is for absolute and relative moves; the value of a continuous move is its speed");
    if (options.seconds && !runs_on)
        throw usage_failure("--for is for continuous moves; use --wait to wait for the end of this one");

    Service &service = context.service();
    send_move(service, moves, options.speed, options.preset);
    if (!runs_on) {
        if (!options.wait)
            context.done("moving");
        else
            context.done(stay(service) ? "the camera stands still" : "not waiting; the move goes on");
        return EXIT_DONE;
    }
    // The service stops the continuous move of a client that leaves the bus, so we stay.
    const bool over = stay(service, options.seconds);
    if (!over || options.seconds)
        service.call("Stop", nullptr, "()");
    context.done(over && !options.seconds ? "the camera stands still" : "stopped");
    return EXIT_DONE;
}

ExitStatus run_stop(Context &context, Arguments &arguments)
{
    arguments.words(0, 0);
    context.service().call("Stop", nullptr, "()");
    context.done("stopped");
    return EXIT_DONE;
}
