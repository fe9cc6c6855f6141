// wait: until something is so.
#include "command.h"
#include "condition.h"
#include "loop.h"
#include "numbers.h"

namespace {

constexpr unsigned kLookEveryMs = 50;
constexpr double kLongestS = 600; // unless --timeout says otherwise

} // namespace

ExitStatus run_wait(Context &context, const Arguments &arguments)
{
    const auto text = arguments.value("--for");
    if (!text)
        throw usage_failure("say what to wait for with --for" + see_help(arguments.command()));
    const Condition condition = parse_condition(*text);
    const double seconds = arguments.number("--timeout").value_or(kLongestS);
    const gint64 deadline = steady_now() + static_cast<gint64>(seconds * 1e6);
    bool holds_now = false;
    std::string now;
    const LoopEnd end = run_loop(kLookEveryMs, [&] {
        holds_now = holds(condition, context.service(), now);
        return !holds_now && steady_now() < deadline;
    });
    if (!holds_now && end == LoopEnd::Interrupted)
        throw Interrupted();
    if (!holds_now)
        throw Failure(EXIT_NO_ANSWER, "NoAnswer",
                      "not " + printable(*text) + " within " + number_text(seconds) + " s; it is at: " + now);
    context.done(printable(*text));
    return EXIT_DONE;
}
