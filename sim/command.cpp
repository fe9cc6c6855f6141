#include "sim/command.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

namespace sim {
namespace {

using Words = std::vector<std::string_view>;

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

template <typename T>
std::optional<T> to_integer(std::string_view word, int base = 10)
{
    T value{};
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, base);
    if (error != std::errc{} || end != word.data() + word.size())
        return std::nullopt;
    return value;
}

std::optional<double> to_real(std::string_view word)
{
    double value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc{} || end != word.data() + word.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

CommandResult ok(std::string text)
{
    return {true, std::move(text)};
}
CommandResult wrong(std::string text)
{
    return {false, std::move(text)};
}
CommandResult usage(const std::string &form)
{
    return wrong("usage: " + form);
}

// Without needless digits.
std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", value);
    return text.data();
}

struct Call {
    const Words &words;
    const CommandTarget &target;
    std::int64_t now;
};

// The quantities that take one real number within a range.
struct Quantity {
    const char *name;
    double low;
    double high;
    const char *unit;
    void (*apply)(const Call &, double);
};

constexpr Quantity kQuantities[] = {
    {"pan", -170, 170, "degrees",
     [](const Call &call, double value) { call.target.camera.pan.place(value * 1000, call.now); }},
    {"tilt", -20, 90, "degrees",
     [](const Call &call, double value) { call.target.camera.tilt.place(value * 1000, call.now); }},
    {"zoom", 1, 360, "x",
     [](const Call &call, double value) { call.target.camera.place_magnification(value, call.now); }},
    {"focus", 1144, 2048, "steps",
     [](const Call &call, double value) { call.target.camera.focus.place(value, call.now); }},
    {"temperature", -60, 150, "degrees Celsius",
     [](const Call &call, double value) {
         call.target.camera.temperature = value;
         call.target.folder.write_temperature(value);
     }},
    {"scene-light", -7, 22, "stops",
     [](const Call &call, double value) { call.target.camera.set_scene_light(value, call.now); }},
    {"capture-frequency", 0, 1000, "Hz",
     [](const Call &call, double value) {
         call.target.services.capture_frequency = static_cast<std::uint32_t>(value);
         call.target.services.tell(ServiceChange::capture_frequency);
     }},
    {"rotation", -360, 360, "degrees",
     [](const Call &call, double value) {
         call.target.services.rotation = static_cast<std::int32_t>(value);
         call.target.services.tell(ServiceChange::rotation);
     }},
    {"sensor-frequency", 0, 2, "code",
     [](const Call &call, double value) { call.target.camera.capture_frequency = static_cast<std::uint32_t>(value); }},
    {"model", 0, 255, "number",
     [](const Call &call, double value) { call.target.camera.options().model = static_cast<std::uint32_t>(value); }},
};

// The delays that can be changed while the board runs.
struct Delay {
    const char *name;
    std::int64_t CameraOptions::*field;
};
constexpr Delay kDelays[] = {{"power-good", &CameraOptions::power_good_us},
                             {"boot", &CameraOptions::boot_us},
                             {"lens", &CameraOptions::lens_us},
                             {"request-delay", &CameraOptions::request_us}};

void force(Camera &camera, const ForcedBits &bits, bool release)
{
    std::erase_if(camera.forced, [&](const ForcedBits &other) {
        return other.tag == bits.tag && other.offset == bits.offset && other.mask == bits.mask;
    });
    if (!release)
        camera.forced.push_back(bits);
}

CommandResult set_status_bit(const Call &call)
{
    const Words &words = call.words;
    constexpr const char *kUsage = "set status-bit lens|pan-tilt 0..7 on|off|auto";
    if (words.size() != 5 || (words[2] != "lens" && words[2] != "pan-tilt") ||
        (words[4] != "on" && words[4] != "off" && words[4] != "auto"))
        return usage(kUsage);
    const auto bit = to_integer<unsigned>(words[3]);
    if (!bit || *bit > 7)
        return usage(kUsage);
    const auto mask = static_cast<std::uint8_t>(1u << *bit);
    const bool lens = words[2] == "lens";
    const ForcedBits bits{static_cast<std::uint8_t>(lens ? 0xF8 : 0xE0), static_cast<std::uint16_t>(lens ? 29 : 4),
                          mask, words[4] == "on" ? mask : std::uint8_t{0}};
    force(call.target.camera, bits, words[4] == "auto");
    return ok("done");
}

CommandResult set_byte(const Call &call)
{
    const Words &words = call.words;
    constexpr const char *kUsage = "set byte f8|e0|60|40 OFFSET HEX-VALUE|auto, the offset above 3 and in the block";
    if (words.size() != 5)
        return usage(kUsage);
    const auto tag = to_integer<std::uint8_t>(words[2], 16);
    const auto offset = to_integer<std::uint16_t>(words[3]);
    const auto value = to_integer<std::uint8_t>(words[4], 16);
    if (!tag || !offset || *offset < 4 || *offset > 527 || (!value && words[4] != "auto"))
        return usage(kUsage);
    force(call.target.camera, {*tag, *offset, 0xFF, value.value_or(0)}, !value);
    return ok("done");
}

CommandResult set_firmware(const Call &call)
{
    const auto value = call.words.size() == 3 ? to_integer<std::uint32_t>(call.words[2], 16) : std::nullopt;
    if (!value)
        return usage("set firmware HEX-VERSION");
    call.target.camera.options().fw_revision = *value;
    return ok("done");
}

CommandResult set_video_capture_mode(const Call &call)
{
    if (call.words.size() != 3)
        return usage("set video-capture-mode TEXT, such as 1080p50");
    call.target.services.video_capture_mode = call.words[2];
    call.target.services.tell(ServiceChange::video_capture_mode);
    return ok("done");
}

CommandResult set_quantity(const Call &call)
{
    const Words &words = call.words;
    for (const Quantity &quantity : kQuantities) {
        if (words[1] != quantity.name)
            continue;
        const auto value = words.size() == 3 ? to_real(words[2]) : std::nullopt;
        if (!value || *value < quantity.low || *value > quantity.high)
            return usage("set " + std::string(quantity.name) + " VALUE, " + number(quantity.low) + " to " +
                         number(quantity.high) + " " + quantity.unit);
        quantity.apply(call, *value);
        return ok("done");
    }
    for (const Delay &delay : kDelays) {
        std::int64_t us = 0;
        if (words[1] != delay.name)
            continue;
        if (words.size() != 3 || !parse_duration(words[2], us))
            return usage("set " + std::string(delay.name) + " DURATION, such as 5s, 200ms or 300us");
        call.target.camera.options().*delay.field = us;
        return ok("done");
    }
    return wrong("nothing is called \"" + std::string(words[1]) + "\"; see krx-sim --help");
}

CommandResult set(const Call &call)
{
    if (call.words.size() < 2)
        return usage("set NAME VALUE");
    if (call.words[1] == "status-bit")
        return set_status_bit(call);
    if (call.words[1] == "byte")
        return set_byte(call);
    if (call.words[1] == "firmware")
        return set_firmware(call);
    if (call.words[1] == "video-capture-mode")
        return set_video_capture_mode(call);
    return set_quantity(call);
}

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

constexpr std::array<std::string_view, 5> kServiceFaults{"missing", "error", "wrong-type", "silent", "garbage"};
static_assert(kServiceFaults.size() == static_cast<std::size_t>(ServiceFault::none));

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
    case FaultArgument::period:
        if (words.size() != 3 || !parse_duration(words[2], value))
            return false;
        value += call.now;
        return true;
    case FaultArgument::level:
        value = words.size() == 3 && words[2] == "high" ? 1 : 0;
        return words.size() == 3 && (value == 1 || words[2] == "low");
    case FaultArgument::never:
        return words.size() == 3 && words[2] == "never";
    case FaultArgument::service:
        value = std::find(kServiceFaults.begin(), kServiceFaults.end(), words.size() == 3 ? words[2] : "") -
                kServiceFaults.begin();
        return value < static_cast<std::int64_t>(kServiceFaults.size());
    }
    return false;
}

std::string fault_form(Fault fault)
{
    constexpr std::array<const char *, 6> kForms{" [COUNT|forever]", " DURATION [COUNT|forever]",
                                                 " DURATION",        " low|high",
                                                 " never",           " missing|error|wrong-type|silent|garbage"};
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

CommandResult fault(const Call &call)
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

CommandResult clear(const Call &call)
{
    const std::string_view what = call.words.size() == 1 ? "all" : call.words[1];
    if (call.words.size() > 2 || (what != "all" && what != "faults" && what != "status" && what != "offences"))
        return usage("clear [faults|status|offences]");
    if (what == "all" || what == "faults") {
        call.target.faults.clear();
        for (std::size_t i = 0; i < kLines.size(); ++i)
            call.target.lines.refuse(static_cast<Line>(i), false);
        call.target.camera.faults_changed(call.now);
        call.target.services.tell(ServiceChange::faults);
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
        return usage("seed NUMBER");
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
        return set(call);
    if (words[0] == "fault")
        return fault(call);
    if (words[0] == "clear")
        return clear(call);
    if (words[0] == "seed")
        return seed(call);
    return wrong("unknown command \"" + std::string(words[0]) + "\"; there are set, fault, clear and seed");
}

std::string command_help()
{
    constexpr std::size_t kColumn = 46;
    std::string help = "  set NAME VALUE       ";
    for (const Quantity &quantity : kQuantities)
        help += std::string(quantity.name) + " ";
    help += "\n  set NAME DURATION    ";
    for (const Delay &delay : kDelays)
        help += std::string(delay.name) + " ";
    help += "\n  set firmware HEX-VERSION\n"
            "  set video-capture-mode TEXT\n"
            "  set status-bit lens|pan-tilt BIT on|off|auto\n"
            "  set byte f8|e0|60|40 OFFSET HEX-VALUE|auto\n"
            "  seed NUMBER\n"
            "  clear [faults|status|offences]\n"
            "  fault refuse LINE                           hosts that ask for the line are told it is busy\n";
    for (std::size_t i = 0; i < static_cast<std::size_t>(Fault::count); ++i) {
        const auto fault = static_cast<Fault>(i);
        std::string form = "  " + fault_form(fault);
        form.resize(std::max<std::size_t>(form.size() + 1, kColumn), ' ');
        help += form + row(fault).help + "\n";
    }
    return help;
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
