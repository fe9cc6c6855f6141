// "set": what the board is to be.
#include "columns.h"
#include "sim/command_parts.h"

#include <array>
#include <cstdio>

namespace sim {
namespace {

// Without needless digits.
std::string number(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", value);
    return text.data();
}

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
     [](const Call &call, double value) { call.target.camera.temperature = value; }},
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
     [](const Call &call, double value) {
         call.target.camera.set_kept({call.target.camera.kept().firmware, static_cast<std::uint32_t>(value)});
     }},
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
                             {"upgrade-ready", &CameraOptions::upgrade_ready_us},
                             {"upgrade-write", &CameraOptions::upgrade_write_us},
                             {"request-delay", &CameraOptions::request_us}};

void force(Camera &camera, const ForcedBits &bits, bool release)
{
    std::erase_if(camera.forced, [&](const ForcedBits &other) {
        return other.tag == bits.tag && other.offset == bits.offset && other.mask == bits.mask;
    });
    if (!release)
        camera.forced.push_back(bits);
}

constexpr char kStatusBitForm[] = "set status-bit lens|pan-tilt 0|1|2|3|4|5|6|7 on|off|auto";
constexpr char kByteForm[] = "set byte f8|e0|60|40 OFFSET HEX-VALUE|auto";
constexpr char kFirmwareForm[] = "set firmware HEX-VERSION";
constexpr char kCaptureForm[] = "set video-capture-mode TEXT";

CommandResult set_status_bit(const Call &call)
{
    const Words &words = call.words;
    if (words.size() != 5 || (words[2] != "lens" && words[2] != "pan-tilt") ||
        (words[4] != "on" && words[4] != "off" && words[4] != "auto"))
        return usage(kStatusBitForm);
    const auto bit = to_integer<unsigned>(words[3]);
    if (!bit || *bit > 7)
        return usage(kStatusBitForm);
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
    if (words.size() != 5)
        return usage(std::string(kByteForm) + ", the offset above 3 and in the block");
    const auto tag = to_integer<std::uint8_t>(words[2], 16);
    const auto offset = to_integer<std::uint16_t>(words[3]);
    const auto value = to_integer<std::uint8_t>(words[4], 16);
    if (!tag || !offset || *offset < 4 || *offset > 527 || (!value && words[4] != "auto"))
        return usage(std::string(kByteForm) + ", the offset above 3 and in the block");
    force(call.target.camera, {*tag, *offset, 0xFF, value.value_or(0)}, !value);
    return ok("done");
}

CommandResult set_firmware(const Call &call)
{
    std::string_view digits = call.words.size() == 3 ? call.words[2] : "";
    if (digits.starts_with("0x"))
        digits.remove_prefix(2);
    const auto value = to_integer<std::uint32_t>(digits, 16);
    if (!value)
        return usage(kFirmwareForm);
    call.target.camera.set_kept({*value, call.target.camera.kept().sensor_frequency});
    return ok("done");
}

CommandResult set_video_capture_mode(const Call &call)
{
    if (call.words.size() != 3)
        return usage(std::string(kCaptureForm) + ", such as 1080p50");
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

} // namespace

CommandResult run_set(const Call &call)
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

std::string set_help()
{
    std::string quantities;
    for (const Quantity &quantity : kQuantities)
        quantities += std::string(quantity.name) + " ";
    std::string delays;
    for (const Delay &delay : kDelays)
        delays += std::string(delay.name) + " ";
    return in_columns({{"  set NAME VALUE", quantities}, {"  set NAME DURATION", delays}}, 80) + "  " + kFirmwareForm +
           "\n  " + kCaptureForm + "\n  " + kStatusBitForm + "\n  " + kByteForm + "\n";
}

std::vector<std::string> set_forms()
{
    std::vector<std::string> forms{kFirmwareForm, kCaptureForm, kStatusBitForm, kByteForm};
    for (const Quantity &quantity : kQuantities)
        forms.push_back("set " + std::string(quantity.name) + " VALUE");
    for (const Delay &delay : kDelays)
        forms.push_back("set " + std::string(delay.name) + " DURATION");
    return forms;
}

} // namespace sim
