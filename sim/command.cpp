#include "sim/command.h"

#include "sim/command_parts.h"

#include <algorithm>

namespace sim {
namespace {

Words split(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    Words words;
    for (;;) {
        const std::size_t begin = line.find_first_not_of(kBlanks);
        if (begin == std::string_view::npos)
            return words;
        line.remove_prefix(begin);
        const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
}

CommandResult clear(const Call &call)
{
    const std::string_view what = call.words.size() == 1 ? "all" : call.words[1];
    if (call.words.size() > 2 || (what != "all" && what != "faults" && what != "status" && what != "offences"))
        return usage(kClearForm);
    if (what == "all" || what == "faults") {
        call.target.faults.clear();
        call.target.camera.faults_cleared(call.now);
    }
    if (what == "all" || what == "status")
        call.target.camera.forced.clear();
    if (what == "offences")
        call.target.journal.clear_offences();
    return ok("cleared");
}

CommandResult seed(const Call &call)
{
    const auto value = call.words.size() == 2 ? to_integer<std::uint64_t>(call.words[1]) : std::nullopt;
    if (!value)
        return usage(kSeedForm);
    call.target.faults.seed(*value);
    return ok("done");
}

} // namespace

CommandResult run_command(std::string_view line, const CommandTarget &target, std::int64_t now)
{
    const Words words = split(line);
    const Call call{words, target, now};
    if (words.empty())
        return wrong("an empty command; try \"set pan 12.5\"");
    if (words[0] == "set")
        return run_set(call);
    if (words[0] == "fault")
        return run_fault(call);
    if (words[0] == "clear")
        return clear(call);
    if (words[0] == "seed")
        return seed(call);
    return wrong("unknown command \"" + std::string(words[0]) + "\"; there are set, fault, clear and seed");
}

std::string command_help()
{
    return set_help() + "  " + kSeedForm + "\n  " + kClearForm + "\n" + fault_help();
}

bool parse_duration(std::string_view text, std::int64_t &us)
{
    double scale = 1e6;
    for (const auto &[suffix, factor] : {std::pair<std::string_view, double>{"us", 1}, {"ms", 1e3}, {"s", 1e6}}) {
        if (text.size() > suffix.size() && text.ends_with(suffix)) {
            text.remove_suffix(suffix.size());
            scale = factor;
            break;
        }
    }
    const auto value = to_real(text);
    if (!value || *value < 0 || *value * scale > 1e15)
        return false;
    us = std::llround(*value * scale);
    return true;
}

} // namespace sim
