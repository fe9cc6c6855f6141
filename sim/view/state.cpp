#include "sim/view/state.h"

#include "sim/trace.h"
#include "sim/units.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace sim::view {
namespace {

std::string number(double value, int digits)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    // No "-0.0": it is not another position.
    const bool zero = std::string_view(text.data()).find_first_of("123456789") == std::string_view::npos;
    return text.data() + (zero && text[0] == '-' ? 1 : 0);
}

std::string quoted(std::string_view words)
{
    std::string text = "\"";
    for (const char letter : words) {
        if (letter == '"' || letter == '\\')
            text += '\\';
        if (static_cast<unsigned char>(letter) >= 0x20)
            text += letter;
    }
    return text + "\"";
}

// "F2", "1/60 s", "6.02 dB": what stands in the brackets of a record.
std::string in_short(Unit unit, std::int32_t code)
{
    const std::string words = in_words(unit, code);
    return words.size() > 3 ? words.substr(2, words.size() - 3) : "-";
}

class Object {
  public:
    Object &add(std::string_view name, const std::string &json)
    {
        text_ += (text_.empty() ? "" : ",") + quoted(name) + ":" + json;
        return *this;
    }
    Object &add(std::string_view name, bool value) { return add(name, std::string(value ? "true" : "false")); }
    Object &add(std::string_view name, double value, int digits) { return add(name, number(value, digits)); }
    std::string text() const { return "{" + text_ + "}"; }

  private:
    std::string text_;
};

// The first setting that makes up what a person calls the picture's processing, in words.
std::string settings_text(const Snapshot &board, const Look &look)
{
    const auto setting = [&](Rec id) { return board.settings[static_cast<std::size_t>(id)][0]; };
    const auto choice = [&](Rec id) {
        for (const Choice &each : row(id).params[0].choices) {
            if (each.value == setting(id))
                return quoted(each.text);
        }
        return number(setting(id), 0);
    };
    return Object()
        .add("exposure mode", choice(Rec::exposure_mode))
        .add("white balance", choice(Rec::wb_mode))
        .add("IR-cut filter", choice(Rec::ir_cut))
        .add("gamma", choice(Rec::gamma))
        .add("WDR", choice(Rec::wdr))
        .add("defog", choice(Rec::defog))
        .add("sharpness", number(setting(Rec::sharpness), 0))
        .add("noise reduction", number(setting(Rec::noise_reduction), 0))
        .add("rotation", number(look.roll, 0))
        .text();
}

} // namespace

std::string state_text(const Shown &shown)
{
    const auto &[board, look, records, talking, controls] = shown;
    const Reading &reading = board.reading;
    Object lines;
    for (std::size_t i = 0; i < kLines.size(); ++i) {
        // The request line goes up and down with every burst: "talking" says it better.
        if (static_cast<Line>(i) != Line::request)
            lines.add(kLines[i].name, board.lines[i]);
    }
    std::string faults;
    for (std::size_t i = 0; i < kFaultCount; ++i) {
        if (board.armed[i])
            faults += (faults.empty() ? "" : ",") + quoted(row(static_cast<Fault>(i)).name);
    }
    std::string heard;
    for (const HeardRecord &record : records)
        heard += (heard.empty() ? "[" : ",[") + quoted(trace_time(record.us)) + "," + quoted(record.text) + "]";
    return Object()
        .add("controls", controls)
        .add("words", quoted(picture_in_words(board, look)))
        .add("state", quoted(text(reading.state)))
        .add("video", look.video)
        .add("frozen", look.frozen)
        .add("talking", talking)
        .add("pan", reading.pan, 2)
        .add("tilt", reading.tilt, 2)
        .add("zoom", reading.magnification, 2)
        .add("focus", reading.focus, 0)
        .add("hfov", 2 * half_width(reading.magnification), 2)
        .add("vfov", 2 * half_height(reading.magnification), 2)
        .add("moving", "[" + std::to_string(reading.pan_moving) + "," + std::to_string(reading.tilt_moving) + "," +
                           std::to_string(reading.zoom_moving) + "," + std::to_string(reading.focus_moving) + "]")
        .add("iris", quoted(in_short(Unit::f_number, reading.exposure.iris)))
        .add("shutter", quoted(in_short(Unit::shutter, reading.exposure.shutter)))
        .add("gain", quoted(in_short(Unit::gain, reading.exposure.gain)))
        .add("light", board.scene_light, 1)
        .add("temperature", reading.temperature, 1)
        .add("offences", number(static_cast<double>(board.offence_count), 0))
        .add("settings", settings_text(board, look))
        .add("lines", lines.text())
        .add("faults", "[" + faults + "]")
        .add("records", "[" + heard + "]")
        .text();
}

std::string picture_in_words(const Snapshot &board, const Look &look)
{
    const Reading &reading = board.reading;
    if (reading.state != BlockState::running)
        return std::string("Black: the camera block is ") + text(reading.state) + ".";
    if (!look.video)
        return reading.sensor_halted ? "Black: the sensor is halted." : "Black: there is no video output.";
    std::string words = look.frozen ? "Frozen. " : "";
    words += look.grey ? "In grey, the IR-cut filter is out; the" : "In colour; the";
    words += " camera looks " + number(std::fabs(reading.pan), 0) + " degrees to the " +
             (reading.pan < 0 ? "left" : "right") + " and " + number(std::fabs(reading.tilt), 0) + " degrees " +
             (reading.tilt < 0 ? "down" : "up") + ", magnified " + number(reading.magnification, 1) +
             " times, its view is " + number(2 * half_width(reading.magnification), 1) + " degrees wide.";
    if (look.defocus > 2)
        words += " Out of focus.";
    if (look.exposure < -1)
        words += " Dark.";
    else if (look.exposure > 1)
        words += " Too bright.";
    if (look.noise > 8)
        words += " Noisy.";
    if (look.roll != 0)
        words += " Turned by " + number(look.roll, 0) + " degrees.";
    return words;
}

} // namespace sim::view
