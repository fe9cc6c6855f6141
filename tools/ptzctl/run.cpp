// The program: picks the command, runs it, says what went wrong.
#include "command.h"

#include "json.h"
#include "numbers.h"

#include <algorithm>
#include <clocale>
#include <cstdio>

namespace {

constexpr double kTimeout = 600; // seconds: an upgrade within a reset may take minutes

std::string general_help()
{
    std::string text = "Usage: ptzctl [--json] [--timeout SECONDS] COMMAND [ARGUMENT...]\n"
                       "\n"
                       "Talks to ptzd, the PTZ service, over the system bus (DBUS_SYSTEM_BUS_ADDRESS).\n"
                       "\n"
                       "Commands:\n";
    for (const Command &command : all_commands())
        text += format_text("  %-14s %s\n", command.name, command.summary);
    return text + "\n"
                  "Options, before or after the command:\n"
                  "  --json              write JSON, one object per line, errors included: {\"error\":...}\n"
                  "  --timeout SECONDS   how long one call may take (600)\n"
                  "  --help, --version\n"
                  "\n"
                  "'ptzctl COMMAND --help' explains a command, with examples.\n"
                  "\n"
                  "Exit status: 0 done; 1 refused or failed, or a trace with lines that cannot be read; 2 the command\n"
                  "line means nothing; 3 no bus, or no ptzd on it; 4 no answer in the time given;\n"
                  "5 a move that was waited for did not come to its place.\n";
}

const Command &find_command(const std::string &name)
{
    for (const Command &command : all_commands()) {
        if (name == command.name)
            return command;
    }
    throw usage_failure("there is no command '" + printable(name) + "'; 'ptzctl --help' lists them");
}

ExitStatus say(bool json, const std::string &text)
{
    Context context(json, kTimeout);
    std::string_view shown = text;
    if (shown.ends_with('\n'))
        shown.remove_suffix(1);
    context.line(json ? "{\"text\":" + json_text(shown) + "}" : std::string(shown));
    return EXIT_DONE;
}

// Everything up to "--" is looked through for the options that stand anywhere.
ExitStatus run_words(std::vector<std::string> words, bool json)
{
    Arguments general("COMMAND", std::move(words));
    general.flag("--json");
    const bool help = general.flag("--help") || general.flag("-h");
    const auto timeout_text = general.value("--timeout");
    const double timeout = timeout_text ? parse_number(*timeout_text, "--timeout", 0.001, 86400) : kTimeout;
    if (general.flag("--version"))
        return say(json, "ptzctl " PTZCTL_VERSION);

    const std::optional<std::string> name = general.take_first();
    if (!name || *name == "help") {
        const auto topic = name ? general.take_first() : std::nullopt;
        if (topic)
            return say(json, find_command(*topic).help);
        if (name || help)
            return say(json, general_help());
        throw usage_failure("no command given; 'ptzctl --help' lists them");
    }
    const Command &command = find_command(*name);
    if (help)
        return say(json, command.help);
    general.set_command(command.name);
    Context context(json, timeout);
    return command.run(context, general);
}

} // namespace

int run_ptzctl(std::vector<std::string> words)
{
    std::setlocale(LC_CTYPE, "");
    const auto options_end = std::find(words.begin(), words.end(), "--");
    const bool json = std::find(words.begin(), options_end, "--json") != options_end;
    try {
        return run_words(std::move(words), json);
    } catch (const Failure &failure) {
        if (json)
            std::printf("{\"error\":%s,\"code\":%s}\n", json_text(failure.what()).c_str(),
                        json_text(failure.code()).c_str());
        else
            std::fprintf(stderr, "ptzctl: %s\n", failure.what());
        return failure.status();
    }
}
