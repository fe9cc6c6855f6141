#include "sim/records.h"

#include <algorithm>
#include <cstdio>

namespace sim {
namespace {

constexpr Choice kFocusModes[] = {{0, "auto"},       {1, "manual"},   {2, "drive far"},
                                  {3, "drive near"}, {4, "infinity"}, {5, "one-push"}};
constexpr Choice kIrCorrection[] = {{0, "off"}, {3, "on"}};
constexpr Choice kSensitivity[] = {{127, "normal"}, {64, "low"}};
constexpr Choice kAfModes[] = {{0, "auto"}, {1, "zoom"}, {2, "interval"}};
constexpr Choice kExposureModes[] = {{0, "auto"},    {2, "flickerreduced"}, {3, "manual"}, {4, "iris"},
                                     {5, "shutter"}, {6, "flickerfree"},    {7, "motion"}, {8, "lownoise"},
                                     {9, "gain"},    {10, "bright"},        {11, "dciris"}};
constexpr Choice kWindows[] = {{0, "center"}, {1, "full"}, {2, "spot"}, {3, "area"}, {4, "auto"}};
constexpr Choice kWhiteBalances[] = {
    {0, "auto"},           {1, "sodium"},        {2, "outdoor"},    {3, "one-push"},   {5, "manual"},
    {6, "hold"},           {16, "fixed indoor"}, {17, "outdoor 1"}, {18, "outdoor 2"}, {19, "fluorescent 1"},
    {20, "fluorescent 2"}, {22, "fixed sodium"}, {23, "mercury"}};
constexpr Choice kColours[] = {{0, "all"},   {1, "magenta"}, {2, "red"}, {3, "yellow"},
                               {4, "green"}, {5, "cyan"},    {6, "blue"}};
constexpr Choice kOffOn[] = {{0, "off"}, {1, "on"}};
constexpr Choice kFlag[] = {{1, "set"}};
constexpr Choice kDayNight[] = {{0, "fixed"}, {1, "automatic"}};
constexpr Choice kIrCut[] = {{0, "in place"}, {1, "removed"}};
constexpr Choice kGammas[] = {{0, "standard"}, {1, "straight"}};
constexpr Choice kSystem[] = {{0x0000, "software reset"}, {0x0001, "halt sensor"}, {0x0100, "resume sensor"}};
constexpr Choice kAxes[] = {{1, "pan"}, {2, "tilt"}};
constexpr Choice kRotations[] = {{0, "none"}, {1, "180 degrees"}};
constexpr Choice kVideoModes[] = {{0, "720 lines"}, {1, "1080 lines"}};
constexpr Choice kOutputs[] = {{0, "HDMI"}, {1, "SDI"}};
constexpr Choice kScans[] = {{0, "progressive"}, {1, "interlaced"}};
constexpr Choice kLevels[] = {{0, "level A"}, {1, "level B"}};

constexpr Param byte(std::int32_t low, std::int32_t high, Unit unit = Unit::none)
{
    return {.width = 1, .low = low, .high = high, .unit = unit};
}
constexpr Param word(std::int32_t low, std::int32_t high, Unit unit = Unit::none)
{
    return {.width = 2, .low = low, .high = high, .unit = unit};
}
constexpr Param quad(std::int32_t low, std::int32_t high, Unit unit)
{
    return {.width = 4, .low = low, .high = high, .unit = unit};
}
template <std::size_t N>
constexpr Param one_of(const Choice (&choices)[N], std::uint8_t width = 1)
{
    return {.width = width, .low = 0, .high = 0xFFFF, .choices = choices};
}

constexpr Param kShutter = byte(0, 54, Unit::shutter);
constexpr Param kIris = byte(4, 32, Unit::f_number);
constexpr Param kPan = quad(-170'000, 170'000, Unit::degrees);
constexpr Param kTilt = quad(-20'000, 90'000, Unit::degrees);
constexpr Param kSpeed = quad(200, 100'000, Unit::degrees_per_second);

constexpr RecordRow kRows[] = {
    {"Focus mode", Rec::focus_mode, 0x00, 0x01, 0x00, {one_of(kFocusModes)}},
    {"Focus position", Rec::focus_position, 0x00, 0x01, 0x01, {word(1144, 2048)}},
    {"Focus speed", Rec::focus_speed, 0x00, 0x01, 0x03, {byte(0, 7)}},
    {"IR correction", Rec::ir_correction, 0x00, 0x01, 0x04, {one_of(kIrCorrection)}},
    {"Auto focus sensitivity", Rec::af_sensitivity, 0x00, 0x01, 0x0A, {one_of(kSensitivity)}},
    {"Auto focus mode", Rec::af_mode, 0x00, 0x01, 0x0B, {one_of(kAfModes)}},
    {"Auto focus interval time", Rec::af_interval, 0x00, 0x01, 0x0C, {byte(0, 255)}},
    {"Auto focus activity time", Rec::af_activity, 0x00, 0x01, 0x0D, {byte(0, 255)}},
    {"Auto focus near limit", Rec::af_near_limit, 0x00, 0x01, 0x10, {byte(0, 11, Unit::near_distance)}},
    {"Zoom stop", Rec::zoom_stop, 0x00, 0x02, 0x00},
    {"Zoom optical position", Rec::zoom_optical, 0x00, 0x02, 0x01, {word(0, 2440)}},
    {"Zoom digital position", Rec::zoom_digital, 0x00, 0x02, 0x02, {word(0, 2816, Unit::magnification)}},
    {"Zoom speed", Rec::zoom_speed, 0x00, 0x02, 0x03, {byte(0, 7)}},
    {"Zoom magnification", Rec::zoom_magnification, 0x00, 0x02, 0x06, {word(0, 7424, Unit::magnification)}},
    {"Exposure mode", Rec::exposure_mode, 0x00, 0x03, 0x00, {one_of(kExposureModes)}},
    {"Brightness level", Rec::brightness, 0x00, 0x03, 0x01, {byte(-8, 8)}},
    {"Iris level A", Rec::iris_a, 0x00, 0x03, 0x02, {kIris}},
    {"Shutter", Rec::shutter, 0x00, 0x03, 0x03, {kShutter}},
    {"Gain", Rec::gain, 0x00, 0x03, 0x04, {byte(0, 32, Unit::gain)}},
    {"Exposure window", Rec::exposure_window, 0x00, 0x03, 0x06, {one_of(kWindows)}},
    {"Maximum gain", Rec::max_gain, 0x00, 0x03, 0x07, {byte(0, 8, Unit::max_gain)}},
    {"Shutter limits", Rec::shutter_limits, 0x00, 0x03, 0x0E, {kShutter, kShutter}},
    {"Auto exposure response", Rec::ae_response, 0x00, 0x03, 0x0F, {byte(1, 100)}},
    {"Spot exposure position",
     Rec::spot_position,
     0x00,
     0x03,
     0x10,
     {word(13, 243), word(13, 243), word(26, 230), word(26, 230)}},
    {"Iris level B", Rec::iris_b, 0x00, 0x03, 0x15, {kIris}, Rec::iris_a},
    {"White balance mode", Rec::wb_mode, 0x00, 0x04, 0x00, {one_of(kWhiteBalances)}},
    {"White balance red gain", Rec::wb_red, 0x00, 0x04, 0x05, {word(0, 1023)}},
    {"White balance blue gain", Rec::wb_blue, 0x00, 0x04, 0x06, {word(0, 1023)}},
    {"White balance red gain set", Rec::wb_red_set, 0x00, 0x04, 0x07, {one_of(kFlag), word(0, 1023)}, Rec::wb_red},
    {"White balance blue gain set", Rec::wb_blue_set, 0x00, 0x04, 0x08, {one_of(kFlag), word(0, 1023)}, Rec::wb_blue},
    {"One-push white balance", Rec::wb_one_push, 0x00, 0x04, 0x09},
    {"Colour level", Rec::colour_level, 0x00, 0x04, 0x80, {one_of(kColours), byte(0, 100)}},
    {"Colour hue", Rec::colour_hue, 0x00, 0x04, 0x81, {one_of(kColours), byte(0, 100)}},
    {"Chroma suppression", Rec::chroma, 0x00, 0x04, 0x82, {byte(0, 3)}},
    {"Day/night mode", Rec::day_night_mode, 0x00, 0x05, 0x00, {one_of(kDayNight)}},
    {"IR-cut filter", Rec::ir_cut, 0x00, 0x05, 0x01, {one_of(kIrCut)}, Rec::day_night_mode},
    {"Day/night threshold", Rec::day_night_threshold, 0x00, 0x05, 0x02, {byte(0, 4)}},
    {"Day/night hysteresis", Rec::day_night_hysteresis, 0x00, 0x05, 0x08, {byte(0, 4)}},
    {"Day/night waiting time", Rec::day_night_wait, 0x00, 0x05, 0x09, {byte(0, 4)}},
    {"Image stabilization", Rec::stabilization, 0x00, 0x06, 0x00, {one_of(kOffOn)}},
    {"Distortion correction", Rec::distortion, 0x00, 0x06, 0x01, {one_of(kOffOn)}},
    {"Sharpness", Rec::sharpness, 0x00, 0x07, 0x00, {byte(0, 19)}},
    {"Noise reduction", Rec::noise_reduction, 0x00, 0x07, 0x01, {byte(0, 19)}},
    {"Defog", Rec::defog, 0x00, 0x07, 0x05, {one_of(kOffOn)}},
    {"Defog effect", Rec::defog_effect, 0x00, 0x07, 0x06, {byte(0, 19)}},
    {"WDR", Rec::wdr, 0x00, 0x07, 0x09, {one_of(kOffOn)}},
    {"Gamma", Rec::gamma, 0x00, 0x07, 0x0A, {one_of(kGammas)}},
    {"System", Rec::system, 0x00, 0x08, 0x00, {one_of(kSystem, 2)}},
    {"Pan speed", Rec::pan_speed, 0x01, 0x02, 0x00, {kSpeed}},
    {"Tilt speed", Rec::tilt_speed, 0x01, 0x03, 0x00, {kSpeed}},
    {"Pan/tilt position", Rec::pan_tilt_position, 0x01, 0x04, 0x00, {kPan, kTilt}},
    {"Pan/tilt stop", Rec::pan_tilt_stop, 0x01, 0x05, 0x00, {one_of(kAxes)}},
    {"Pan position", Rec::pan_position, 0x01, 0x08, 0x00, {kPan}},
    {"Tilt position", Rec::tilt_position, 0x01, 0x09, 0x00, {kTilt}},
    {"Rotation", Rec::rotation, 0x02, 0x08, 0x03, {one_of(kRotations)}},
    {"Video mode", Rec::video_mode, 0x02, 0x08, 0x04, {one_of(kVideoModes)}},
    {"Video output", Rec::video_output, 0x02, 0x08, 0x17, {one_of(kOutputs)}},
    {"Scan mode", Rec::scan_mode, 0x02, 0x08, 0x18, {one_of(kScans)}, Rec::video_mode},
    {"Capture frame rate", Rec::frame_rate, 0x02, 0x08, 0x19, {byte(0, 5, Unit::frame_rate)}},
    {"SDI mapping", Rec::sdi_mapping, 0x02, 0x08, 0x1D, {one_of(kLevels)}},
    {"Sensor capture mode", Rec::sensor_capture_mode, 0x02, 0x10, 0xEF, {byte(0, 2, Unit::sensor_rate)}},
};
static_assert(std::size(kRows) == kRecCount);
static_assert([] {
    for (std::size_t i = 0; i < kRecCount; ++i) {
        if (static_cast<std::size_t>(kRows[i].id) != i)
            return false;
    }
    return true;
}());

const RecordRow *find_row(std::uint8_t cls, std::uint8_t group, std::uint8_t item)
{
    const auto found = std::find_if(std::begin(kRows), std::end(kRows), [&](const RecordRow &candidate) {
        return candidate.cls == cls && candidate.group == group && candidate.item == item;
    });
    return found == std::end(kRows) ? nullptr : &*found;
}

std::size_t parameter_bytes(const RecordRow &wanted)
{
    std::size_t total = 0;
    for (const Param &param : wanted.params)
        total += param.width;
    return total;
}

std::int32_t read_value(const Param &param, const std::uint8_t *bytes)
{
    std::uint32_t value = 0;
    for (unsigned i = 0; i < param.width; ++i)
        value = value << 8 | bytes[i];
    if (param.low < 0 && param.width == 1)
        return static_cast<std::int8_t>(value);
    return static_cast<std::int32_t>(value);
}

bool in_range(const Param &param, std::int32_t value)
{
    if (!param.choices.empty())
        return std::any_of(param.choices.begin(), param.choices.end(),
                           [value](const Choice &choice) { return choice.value == value; });
    return value >= param.low && value <= param.high && (param.unit != Unit::shutter || shutter_exists(value));
}

// Fills in the values; a value out of range is an offence, and is limited unless only certain values exist.
void read_values(Record &record)
{
    const std::uint8_t *bytes = record.bytes.data() + 4;
    record.usable = true;
    for (std::size_t i = 0; i < record.values.size(); ++i) {
        const Param &param = record.row->params[i];
        if (param.width == 0)
            break;
        const std::int32_t value = read_value(param, bytes);
        bytes += param.width;
        record.values[i] = value;
        if (in_range(param, value))
            continue;
        record.problem = "value-range";
        record.usable = record.usable && param.choices.empty() && param.unit != Unit::shutter;
        record.values[i] = std::clamp(value, param.low, param.high);
    }
}

std::int32_t last_value(const Record &record)
{
    std::int32_t last = 0;
    for (std::size_t i = 0; i < record.values.size() && record.row->params[i].width != 0; ++i)
        last = record.values[i];
    return last;
}

void check_order(const Record *previous, Record &record)
{
    const Rec wanted = record.row->follows;
    if (wanted == Rec::count)
        return;
    if (!previous || !previous->row || previous->row->id != wanted) {
        record.problem = "record-order";
        return;
    }
    // The filter is only switched by hand; scan mode has a value of its own.
    if (record.row->id == Rec::ir_cut ? previous->values[0] != 0
                                      : record.row->id != Rec::scan_mode && last_value(*previous) != last_value(record))
        record.problem = "record-order";
}

Record parse_record(std::span<const std::uint8_t> bytes, const Record *previous)
{
    Record record{bytes};
    record.row = find_row(bytes[1], bytes[2], bytes[3]);
    if (!record.row) {
        record.problem = "record-unknown";
    } else if (parameter_bytes(*record.row) + 4 != bytes.size()) {
        record.problem = "record-size";
    } else {
        read_values(record);
        check_order(previous, record);
    }
    return record;
}

std::string hex(std::span<const std::uint8_t> bytes)
{
    std::string text;
    char digits[4];
    for (const std::uint8_t value : bytes) {
        std::snprintf(digits, sizeof digits, " %02X", value);
        text += digits;
    }
    return text;
}

std::string describe_value(const Param &param, std::int32_t value)
{
    for (const Choice &choice : param.choices) {
        if (choice.value == value)
            return std::string(" ") + choice.text;
    }
    return " " + std::to_string(value) + in_words(param.unit, value);
}

} // namespace

const RecordRow &row(Rec id)
{
    return kRows[static_cast<std::size_t>(id)];
}

std::vector<Record> parse_records(std::span<const std::uint8_t> payload)
{
    std::vector<Record> records;
    while (!payload.empty()) {
        const std::size_t size = payload[0] + std::size_t{1};
        if (size < 4 || size > payload.size()) {
            Record broken{payload};
            broken.problem = "record-length";
            records.push_back(broken);
            break;
        }
        const Record *previous = records.empty() ? nullptr : &records.back();
        records.push_back(parse_record(payload.first(size), previous));
        payload = payload.subspan(size);
    }
    return records;
}

std::string describe(const Record &record)
{
    if (!record.row || (!record.usable && std::string_view(record.problem) != "value-range"))
        return std::string(record.row ? record.row->name : "Record") + hex(record.bytes) + " [" + record.problem + "]";
    std::string text = record.row->name;
    const std::uint8_t *bytes = record.bytes.data() + 4;
    for (const Param &param : record.row->params) {
        if (param.width == 0)
            break;
        text += describe_value(param, read_value(param, bytes));
        bytes += param.width;
    }
    if (record.problem)
        text += std::string(" [") + record.problem + "]";
    return text;
}

} // namespace sim
