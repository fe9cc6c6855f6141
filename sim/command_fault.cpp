// "fault": what the board is to get wrong.
#include "sim/command_parts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>

namespace sim {
namespace {

CommandResult refuse(const Call &call)
{
    const auto line = call.words.size() == 3 ? find_line(call.words[2]) : std::nullopt;
    if (!line)
        return usage("fault refuse LINE, such as cam_power");
    call.target.lines.refuse(*line, true);
    return ok("armed");
}

// How often: once without a word.
std::optional<std::int64_t> parse_times(const Words &words, std::size_t index)
{
    if (words.size() == index)
        return 1;
    if (words.size() != index + 1)
        return std::nullopt;
    if (words[index] == "forever")
        return Faults::kForEver;
    const auto times = to_integer<std::int64_t>(words[index]);
    return times && *times >= 0 ? times : std::nullopt;
}

// A status block's tag, or the index of a chunk.
bool parse_number(FaultArgument argument, std::string_view word, std::int64_t &value)
{
    const auto number = to_integer<std::uint16_t>(word, argument == FaultArgument::tag ? 16 : 10);
    value = number.value_or(0);
    return number &&
           (argument != FaultArgument::tag || *number == 0xF8 || *number == 0xE0 || *number == 0x60 || *number == 0x40);
}

constexpr std::string_view kLevels[] = {"low", "high"};
constexpr std::string_view kNever[] = {"never"};
constexpr std::string_view kSteps[] = {"start", "ready", "end"};
static_assert(kCutReady == kCutStart + 1 && kCutEnd == kCutStart + 2);
constexpr std::string_view kServiceFaults[] = {"missing", "error", "wrong-type", "silent", "garbage"};
static_assert(std::size(kServiceFaults) == static_cast<std::size_t>(ServiceFault::none));

// The words that stand for 0, 1, 2, ...
std::span<const std::string_view> choices_of(FaultArgument argument)
{
    switch (argument) {
    case FaultArgument::level:
        return kLevels;
    case FaultArgument::never:
        return kNever;
    case FaultArgument::step:
        return kSteps;
    default:
        return kServiceFaults;
    }
}

// The words behind a fault's name; false when they are not what it takes.
bool parse_fault(const Call &call, FaultArgument argument, std::optional<std::int64_t> &times, std::int64_t &value)
{
    const Words &words = call.words;
    times = Faults::kForEver;
    switch (argument) {
    case FaultArgument::times:
        times = parse_times(words, 2);
        return times.has_value();
    case FaultArgument::duration:
        times = parse_times(words, 3);
        return times && parse_duration(words[2], value);
    case FaultArgument::tag:
    case FaultArgument::index:
        times = parse_times(words, 3);
        return times && parse_number(argument, words[2], value);
    case FaultArgument::period:
        if (words.size() != 3 || !parse_duration(words[2], value))
            return false;
        value += call.now;
        return true;
    default:
        break;
    }
    if (words.size() != 3)
        return false;
    times = argument == FaultArgument::step ? 1 : Faults::kForEver;
    const std::span<const std::string_view> choices = choices_of(argument);
    const auto found = std::find(choices.begin(), choices.end(), words[2]);
    if (found != choices.end()) {
        value = found - choices.begin() + (argument == FaultArgument::step ? kCutStart : 0);
        return true;
    }
    return argument == FaultArgument::step && parse_number(FaultArgument::index, words[2], value);
}

std::string fault_form(Fault fault)
{
    constexpr std::array<const char *, 9> kForms{" [COUNT|forever]",
                                                 " DURATION [COUNT|forever]",
                                                 " DURATION",
                                                 " low|high",
                                                 " never",
                                                 " f8|e0|60|40 [COUNT|forever]",
                                                 " INDEX [COUNT|forever]",
                                                 " start|ready|INDEX|end",
                                                 " missing|error|wrong-type|silent|garbage"};
    return std::string("fault ") + row(fault).name + kForms[static_cast<std::size_t>(row(fault).argument)];
}

CommandResult arm(const Call &call, Fault fault)
{
    Faults &faults = call.target.faults;
    std::optional<std::int64_t> times;
    std::int64_t value = 0;
    if (!parse_fault(call, row(fault).argument, times, value))
        return usage(fault_form(fault) + "; a duration is 5s, 200ms or 300us");
    faults.arm(fault, *times, value);
    // These two act from now on rather than at the next occasion.
    if (fault == Fault::silence || fault == Fault::hold_request)
        faults.strike(fault);
    call.target.camera.faults_changed(call.now);
    call.target.services.tell(ServiceChange::faults);
    return ok("armed");
}

} // namespace

CommandResult run_fault(const Call &call)
{
    if (call.words.size() < 2)
        return usage("fault NAME [ARGUMENT]");
    if (call.words[1] == "refuse")
        return refuse(call);
    const auto found = find_fault(call.words[1]);
    if (!found)
        return wrong("no fault is called \"" + std::string(call.words[1]) + "\"; see krx-sim --help");
    return arm(call, *found);
}

std::string fault_help()
{
    constexpr std::size_t kColumn = 46;
    std::string help =
        "  fault refuse LINE                           hosts that ask for the line are told it is busy\n";
    for (std::size_t i = 0; i < static_cast<std::size_t>(Fault::count); ++i) {
        const auto fault = static_cast<Fault>(i);
        std::string form = "  " + fault_form(fault);
        if (form.size() < kColumn)
            form.resize(kColumn, ' ');
        else
            form += "\n" + std::string(kColumn, ' ');
        help += form + row(fault).help + "\n";
    }
    return help;
}

} // namespace sim
