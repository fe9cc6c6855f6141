// The program: picks the command, runs it, says what went wrong.
#include "command.h"

#include "help.h"
#include "json.h"

#include <algorithm>
#include <clocale>
#include <cstdio>

namespace {

constexpr double kTimeout = 600; // seconds: an upgrade within a reset may take minutes

ExitStatus say(Context &context, const std::string &text)
{
    const std::string shown = text.substr(0, text.find_last_not_of('\n') + 1);
    context.line(context.json() ? "{\"text\":" + json_text(shown) + "}" : shown);
    return EXIT_DONE;
}

ExitStatus report(const Failure &failure, bool json, const std::string &more)
{
    const std::string text = failure.what() + more;
    if (json)
        std::printf("{\"error\":%s,\"code\":%s}\n", json_text(text).c_str(), json_text(failure.code()).c_str());
    else
        std::fprintf(stderr, "ptzctl: %s\n", text.c_str());
    return failure.status();
}

// What an interrupted command leaves behind.
std::string rest_of(const Failure &failure, const Command *command)
{
    if (failure.status() != EXIT_INTERRUPTED)
        return "";
    const bool goes_on = command != nullptr && command->left_behind != nullptr;
    return std::string("; ") + (goes_on ? command->left_behind : "nothing was changed");
}

ExitStatus run_command(const Arguments &arguments)
{
    Context context(arguments.flag("--json"), arguments.number("--timeout").value_or(kTimeout));
    const Command *command = arguments.command();
    if (arguments.flag("--version"))
        return say(context, "ptzctl " PTZCTL_VERSION);
    if (arguments.flag("--help"))
        return say(context, command != nullptr ? command_help(*command) : general_help());
    try {
        return command->run(context, arguments);
    } catch (const Failure &failure) {
        return report(failure, context.json(), rest_of(failure, command));
    }
}

} // namespace

ExitStatus run_help(Context &context, const Arguments &arguments)
{
    if (arguments.words().empty())
        return say(context, general_help());
    const Command *command = find_command(arguments.words()[0]);
    if (command == nullptr)
        throw usage_failure("there is no command '" + printable(arguments.words()[0]) + "'" + see_help(nullptr));
    return say(context, command_help(*command));
}

int run_ptzctl(std::vector<std::string> words)
{
    std::setlocale(LC_CTYPE, "");
    // For shells and for data/man/ptzctl.1; people have no use for them.
    if (!words.empty() && words[0] == "--complete") {
        std::fputs(completions({words.begin() + 1, words.end()}).c_str(), stdout);
        return EXIT_DONE;
    }
    if (words == std::vector<std::string>{"--manual"}) {
        std::fputs(manual_page().c_str(), stdout);
        return EXIT_DONE;
    }
    const auto options_end = std::find(words.begin(), words.end(), "--");
    const bool json = std::find(words.begin(), options_end, "--json") != options_end;
    try {
        return run_command(Arguments(std::move(words)));
    } catch (const Failure &failure) {
        return report(failure, json, "");
    }
}
