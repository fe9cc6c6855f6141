// "fault": what the board is to get wrong, and when.
#include "columns.h"
#include "sim/command_parts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>

namespace sim {
namespace {

constexpr std::string_view kLevels[] = {"low", "high"};
constexpr std::string_view kNever[] = {"never"};
constexpr std::string_view kSteps[] = {"start", "ready", "end"};
static_assert(kCutReady == kCutStart + 1 && kCutEnd == kCutStart + 2);
constexpr std::string_view kAxes[] = {"pan", "tilt", "zoom", "focus"};
constexpr std::string_view kFlags[] = {"stuck", "lies"};
static_assert(std::size(kFlags) == static_cast<std::size_t>(MovingFlag::none));
constexpr std::string_view kSpiWords[] = {"EIO", "EINTR", "EMSGSIZE", "ENODEV"};
static_assert(std::size(kSpiWords) == kSpiErrors.size());
constexpr std::string_view kSensorFaults[] = {"missing", "empty", "garbage", "fifo", "jumping"};
static_assert(std::size(kSensorFaults) == static_cast<std::size_t>(SensorFault::none));
constexpr std::string_view kServiceFaults[] = {"missing", "error", "wrong-type", "silent",
                                               "garbage", "late",  "too-late",   "new-owner"};
static_assert(std::size(kServiceFaults) == static_cast<std::size_t>(ServiceFault::none));

// What stands for an argument in a form, and the words that stand for 0, 1, 2, ...
struct ArgumentRow {
    const char *form;
    std::span<const std::string_view> choices;
};
constexpr ArgumentRow kArguments[] = {
    {"", {}},
    {" DURATION", {}},
    {" DURATION", {}},
    {" low|high", kLevels},
    {" never", kNever},
    {" f8|e0|60|40", {}},
    {" INDEX", {}},
    {" start|ready|INDEX|end", kSteps},
    {" NUMBER", {}},
    {" LINE", {}},
    {" pan|tilt|zoom|focus", kAxes},
    {" stuck|lies", kFlags},
    {" EIO|EINTR|EMSGSIZE|ENODEV", kSpiWords},
    {" missing|empty|garbage|fifo|jumping", kSensorFaults},
    {" missing|error|wrong-type|silent|garbage|late|too-late|new-owner", kServiceFaults}};
static_assert(std::size(kArguments) == static_cast<std::size_t>(FaultArgument::service) + 1);

const ArgumentRow &row(FaultArgument argument)
{
    return kArguments[static_cast<std::size_t>(argument)];
}

std::optional<std::int64_t> number(std::string_view word, int base, std::int64_t most)
{
    const auto value = to_integer<std::uint16_t>(word, base);
    return value && *value <= most ? std::optional<std::int64_t>(*value) : std::nullopt;
}

std::optional<std::int64_t> parse_argument(FaultArgument argument, std::string_view word)
{
    std::int64_t us = 0;
    const std::span<const std::string_view> choices = row(argument).choices;
    const auto found = std::find(choices.begin(), choices.end(), word);
    if (found != choices.end()) {
        const auto index = found - choices.begin();
        return argument == FaultArgument::axis   ? 1 << index
               : argument == FaultArgument::step ? index + kCutStart
                                                 : index;
    }
    switch (argument) {
    case FaultArgument::duration:
        return parse_duration(word, us) ? std::optional(us) : std::nullopt;
    case FaultArgument::tag: {
        const auto tag = number(word, 16, 0xFF);
        return tag == 0xF8 || tag == 0xE0 || tag == 0x60 || tag == 0x40 ? tag : std::nullopt;
    }
    case FaultArgument::index:
    case FaultArgument::step:
        return number(word, 10, 0xFFFF);
    case FaultArgument::model:
        return number(word, 10, 0xFF);
    case FaultArgument::line: {
        const auto line = find_line(word);
        return line ? std::optional<std::int64_t>(1 << static_cast<int>(*line)) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

constexpr char kWhen[] = "WHEN is once, COUNT, forever or for DURATION, with or without 1/N before it (at random)";

// The words that say when a fault strikes.
bool parse_schedule(std::span<const std::string_view> words, std::int64_t now, Schedule &schedule)
{
    if (!words.empty() && words[0].starts_with("1/")) {
        const auto one_in = to_integer<std::uint32_t>(words[0].substr(2));
        if (!one_in || *one_in == 0)
            return false;
        schedule = {.times = Schedule::kForEver, .one_in = *one_in};
        words = words.subspan(1);
    }
    if (words.size() == 2 && words[0] == "for") {
        std::int64_t us = 0;
        schedule.times = Schedule::kForEver;
        const bool good = parse_duration(words[1], us);
        schedule.until = now + us;
        return good;
    }
    if (words.size() != 1)
        return words.empty();
    const auto times = words[0] == "once"      ? 1
                       : words[0] == "forever" ? Schedule::kForEver
                                               : to_integer<std::uint32_t>(words[0]);
    schedule.times = times.value_or(0);
    return times.has_value();
}

// The words behind a fault's name; false when they are not what it takes.
bool parse_fault(const Call &call, FaultArgument argument, Schedule &schedule, std::int64_t &value)
{
    std::span<const std::string_view> words = std::span(call.words).subspan(2);
    std::int64_t us = 0;
    // "silence 5s" is "silence for 5s".
    if (argument == FaultArgument::period && words.size() == 1 && parse_duration(words[0], us)) {
        schedule = {.times = Schedule::kForEver, .until = call.now + us};
        return true;
    }
    if (argument != FaultArgument::none && argument != FaultArgument::period) {
        const auto parsed = words.empty() ? std::nullopt : parse_argument(argument, words[0]);
        if (!parsed)
            return false;
        value = *parsed;
        words = words.subspan(1);
    }
    return parse_schedule(words, call.now, schedule);
}

std::string fault_form(Fault fault)
{
    const bool period = row(fault).argument == FaultArgument::period;
    return std::string("fault ") + row(fault).name + row(row(fault).argument).form + (period ? "|WHEN" : " [WHEN]");
}

} // namespace

CommandResult run_fault(const Call &call)
{
    if (call.words.size() < 2)
        return usage("fault NAME [ARGUMENT] [WHEN]");
    const auto fault = find_fault(call.words[1]);
    if (!fault)
        return wrong("no fault is called \"" + std::string(call.words[1]) + "\"; see krx-sim --help");
    Schedule schedule{.times = row(*fault).times};
    std::int64_t value = 0;
    if (!parse_fault(call, row(*fault).argument, schedule, value))
        return usage(fault_form(*fault) + "; a duration is 5s, 200ms or 300us; " + kWhen);
    call.target.faults.arm(*fault, schedule, value);
    call.target.camera.run(call.now);
    return ok("armed");
}

std::string fault_help()
{
    constexpr std::size_t kWidth = 80;
    constexpr std::size_t kColumn = 38; // of what a fault does
    std::string help;
    for (std::size_t i = 0; i < kFaultCount; ++i) {
        const auto fault = static_cast<Fault>(i);
        std::string form = "  " + fault_form(fault);
        if (form.size() > kWidth)
            form.insert(form.rfind('|', kWidth - 1) + 1, "\n      ");
        if (form.size() + 2 > kColumn) {
            help += form + "\n";
            form.clear();
        }
        form.resize(kColumn - 2, ' ');
        const std::string lasts = row(fault).times == Schedule::kForEver ? " *" : "";
        help += in_columns({{form, row(fault).help + lasts}}, kWidth);
    }
    return help + in_columns({{" ", std::string(kWhen) +
                                        "; without it the fault comes once, those with * for ever. A state "
                                        "(hold-request, glitch, silence, power-loss, stall, sensor, a name on the bus) "
                                        "comes in steps of 100 ms: so long is once."}},
                             kWidth - 1);
}

std::vector<FaultText> fault_texts()
{
    std::vector<FaultText> texts;
    for (std::size_t i = 0; i < kFaultCount; ++i)
        texts.push_back({fault_form(static_cast<Fault>(i)), row(static_cast<Fault>(i)).help});
    return texts;
}

} // namespace sim
