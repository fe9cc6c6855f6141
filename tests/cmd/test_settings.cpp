// The families of settings, each as a table: what goes out for every value, and what is said when it does not.
#include "cmd/brightness.h"
#include "cmd/colour.h"
#include "cmd/day_night.h"
#include "cmd/exposure.h"
#include "cmd/focus.h"
#include "cmd/picture.h"
#include "cmd/sensor_halt.h"
#include "cmd/video.h"
#include "tests/cmd/command_bench.h"

#include <sstream>

namespace {

class Settings : public CommandBench {
  protected:
    Settings() { set_capture_mode("720p25"); }
};

const std::string COMMAND = "ptz_driver_canon_cmd_";

// `pattern` with every "##" replaced.
std::string fill(std::string pattern, const std::string &bytes)
{
    for (std::size_t at; (at = pattern.find("##")) != std::string::npos;)
        pattern.replace(at, 2, bytes);
    return pattern;
}

// "value = bytes, value = bytes" as pairs.
std::vector<std::pair<std::string, std::string>> pairs(const char *list)
{
    std::vector<std::pair<std::string, std::string>> result;
    std::istringstream stream(list);
    for (std::string one; std::getline(stream >> std::ws, one, ',');)
        result.emplace_back(one.substr(0, one.find(" = ")), one.substr(one.find(" = ") + 3));
    return result;
}

#define OPERATION(name) #name, ptz_driver_canon_cmd_##name
#define WITH(operation, type, value, ...)                                                                              \
#operation, [](PTZDriverCanon * self, type value) { return ptz_driver_canon_cmd_##operation(self, __VA_ARGS__); }
#define MEMBER(name) &CameraModel::name, #name

struct LevelCase {
    const char *name;
    gboolean (*run)(PTZDriverCanon *, unsigned);
    const char *argument;
    const Range *CameraModel::*range;
    const char *range_name, *pattern;
    std::array<const char *, 4> bytes; // at 0, 49, 50, 100
    const char *failure;               // between "Failed to send" and "setup command"
};

// clang-format off
const std::array<const char *, 4> DETAIL{"00", "09", "0A", "13"}, COLOUR{"00", "31", "32", "64"},
    DAY_NIGHT{"00", "01", "02", "04"}, WHITE{"00 00", "00 FA", "01 00", "03 FF"};

const LevelCase LEVELS[] = {
    {OPERATION(sharpness), "level", MEMBER(sharpness_range), "04 00 07 00 ##", DETAIL, "sharpness"},
    {WITH(noise_reduction, unsigned, level, "oN", level), "level", MEMBER(nr_range), "04 00 07 01 ##", DETAIL,
     "noise reduction intensity"},
    {OPERATION(defog_effect), "level", MEMBER(defog_effect_range), "04 00 07 06 ##", DETAIL, "defog level"},
    {OPERATION(brightness), "level", MEMBER(brightness_range), "04 00 03 01 ##", {"F8", "00", "00", "08"},
     "brightness"},
    {OPERATION(exposure_response), "level", MEMBER(ae_response_range), "04 00 03 0F ##", {"01", "31", "32", "64"},
     "auto exposure response"},
    {OPERATION(color_level), "level", MEMBER(color_gain_range), "05 00 04 80 00 ##", COLOUR, "color level"},
    {WITH(color_level_by_color, unsigned, level, "colorLEVELgreen", level), "level", MEMBER(color_gain_range),
     "05 00 04 80 04 ##", COLOUR, "color level"},
    {WITH(color_hue, unsigned, level, "COLORHUE", level), "level", MEMBER(hue_range), "05 00 04 81 00 ##", COLOUR,
     "color hue"},
    {OPERATION(white_balance_manual_gain_r), "gain", MEMBER(wb_gain_range), "05 00 04 05 ## 06 00 04 07 01 ##", WHITE,
     "white balance red gain"},
    {OPERATION(white_balance_manual_gain_b), "gain", MEMBER(wb_gain_range), "05 00 04 06 ## 06 00 04 08 01 ##", WHITE,
     "white balance blue gain"},
    {OPERATION(ircut_thresholds), "level", MEMBER(ircf_threshold_range), "04 00 05 02 ##", {"04", "02", "02", "00"},
     "auto day/night threshold"},
    {OPERATION(auto_ircut_filter_hysteresis), "level", MEMBER(ircf_hysteresis_range), "04 00 05 08 ##", DAY_NIGHT,
     "auto day/night hysteresis"},
    {OPERATION(auto_ircut_filter_wait_time), "level", MEMBER(ircf_waittime_range), "04 00 05 09 ##", DAY_NIGHT,
     "auto day/night wating time"},
};
// clang-format on

TEST_F(Settings, LevelsAreScaledThroughTheirRange)
{
    for (const LevelCase &c : LEVELS) {
        SCOPED_TRACE(c.name);
        constexpr unsigned AT[] = {0, 49, 50, 100};
        for (std::size_t i = 0; i < std::size(AT); ++i)
            EXPECT_EQ(outcome(c.run(driver, AT[i])), fill(c.pattern, c.bytes[i])) << AT[i];
        const std::string within =
            fill("(ZENTA_PARAMETER_RANGE_MIN <= ##) && (## <= ZENTA_PARAMETER_RANGE_MAX)", c.argument);
        EXPECT_EQ(outcome(c.run(driver, 101)), refused_by(COMMAND + c.name, within));
        EXPECT_EQ(outcome(c.run(driver, ~0u)), refused_by(COMMAND + c.name, within));
        EXPECT_EQ(outcome(c.run(nullptr, 50)), refused_by(COMMAND + c.name, "self"));
        EXPECT_EQ(outcome_when_deaf([&] { return c.run(driver, 50); }),
                  refused(std::string("Failed to send ") + c.failure + " setup command"));
        model.*c.range = nullptr; // comes before the level
        EXPECT_EQ(outcome(c.run(driver, 101)),
                  refused_by(COMMAND + c.name, std::string("self->cam_model->") + c.range_name));
        model = *vccif_model_krx131();
    }
}

struct TextCase {
    const char *name;
    gboolean (*run)(PTZDriverCanon *, const char *);
    const char *argument, *pattern;
    const char *bytes;       // of each text
    const char *unsupported; // said of the text "x%s"; null: any text is good
    const char *failure;
    const ModeRow *CameraModel::*table = nullptr;
    const char *unavailable = nullptr;
};

// clang-format off
const TextCase TEXTS[] = {
    {OPERATION(wdr), "mode", "04 00 07 09 ##", "OFF = 00, On = 01", "Unsupported WDR mode x%s",
     "Failed to send WDR setup command", &CameraModel::wdr_tbl, "Unavailable WDR table."},
    {OPERATION(gamma), "mode", "04 00 07 0A ##", "STANDARD = 00, straighT = 01", "Unsupported gamma curve mode x%s",
     "Failed to send gamma curve mode setup command", &CameraModel::gamma_tbl, "Unavailable gamma cureve table."},
    {OPERATION(white_balance), "mode", "04 00 04 00 ##",
     "FIXED_indoor = 10, fixed_Outdoor1 = 11, Fixed_outdoor2 = 12, fixed_FLUOR1 = 13, fixed_fluoR2 = 14, Auto = 00, "
     "AUTO_OUTDOOR = 02, auto_Sodium = 01, Sodium = 01, Fixed_Sodium = 16, mercurY = 17, OnePush = 03, MANUAL = 05, "
     "hOLD = 06", "Unsupported white balance mode: x%s", "Failed to send white balance setup command",
     &CameraModel::white_balance_tbl, "Unavailable white balance mode table."},
    {OPERATION(image_stabilizer), "mode", "04 00 06 00 ##", "Off = 00, ON = 01",
     "Unsupported image stabilization mode x%s", "Failed to send image stabilization setup command",
     &CameraModel::image_stabilizer_tbl, "Unavailable image stabilization table."},
    {OPERATION(distortion_correction), "mode", "04 00 06 01 ##", "oFF = 00, oN = 01",
     "Unsupported distortion correction mode x%s", "Failed to send distortion correction setup command",
     &CameraModel::distortion_correction_tbl, "Unavailable distortion correction table."},
    {OPERATION(exposure_window), "window", "04 00 03 06 ##",
     "AUTO = 04, Center = 00, aVERAGE = 01, Full = 01, SPOT = 02, areA = 03", "Unsupported exposure window: x%s",
     "Failed to send exposure window setup command", &CameraModel::exposure_window_tbl,
     "Unavailable exposure window table."},
    {WITH(spot_exposure, const char *, window, window, "oFf"), "window", "04 00 03 06 ##", "Spot = 02, FULL = 01",
     "Unsupported exposure window: x%s", "Failed to spot exposure window setup send command",
     &CameraModel::exposure_window_tbl, "Unavailable exposure window table."},
    {WITH(exposure_mode, const char *, mode, mode, nullptr), "mode", "04 00 03 00 ##", "AUTO = 00, Manual = 03",
     "Unsupported exposure mode: x%s", "Failed to send exposure mode setup command",
     &CameraModel::exposure_mode_tbl, "Unavailable exposure mode table."},
    {WITH(video_mode, const char *, mode, mode, "Interlaced"), "mode", "04 02 08 04 ##",
     "1080P60 = 01 04 02 08 18 01, 720p60 = 00 04 02 08 18 00", "Unsupported video mode: x%s",
     "Failed to send video mode setup command", &CameraModel::video_mode_tbl, "Unavailable video mode table."},
    {OPERATION(defog), "mode", "04 00 07 05 ##", "ON = 01, oFF = 00", "Unsupported defog mode",
     "Failed to send defog setup command"},
    {WITH(noise_reduction, const char *, mode, mode, 100), "mode", "04 00 07 01 ##", "ON = 13, oFF = 00",
     "Unavailable noise reduction mode", "Failed to send noise reduction intensity setup command"},
    {OPERATION(ir_correction), "enabled", "04 00 01 04 ##", "OFF = 00, on = 03, offf = 03", nullptr,
     "Failed to send IR correction frequency setup command"},
    {WITH(color_level_by_color, const char *, color, color, 50), "color", "05 00 04 80 ## 32",
     "COLORLevelMagenta = 01, ColorLevelRed = 02, colorlevelyellow = 03, ColorLevelGREEN = 04, ColorLevelCyan = 05, "
     "ColorLevelBlue = 06", "Unsupported color type", "Failed to send color level setup command"},
    {WITH(color_hue, const char *, color, color, 50), "color", "05 00 04 81 ## 32",
     "ColorHueMASTER = 00, colorHue = 00, ColorHueMagenta = 01, ColorHueRed = 02, ColorHueYellow = 03, "
     "ColorHueGreen = 04, COLORHUECYAN = 05, ColorHueBlue = 06", "Unsupported color type",
     "Failed to send color hue setup command"},
    {OPERATION(focus_auto_mode), "mode", "04 00 01 0B ##", "AUTO = 00, zOOm = 01, interval = 02",
     "Unsupported auto focus mode", "Failed to send auto focus mode setup command"},
    {OPERATION(focus_manual_mode), "mode", "04 00 01 00 ##", "Manual = 01, INF = 04, push = 05",
     "Unsupported manual focus mode", "Failed to send manual focus mode setup command"},
    {OPERATION(auto_focus_sensitivity), "mode", "04 00 01 0A ##", "Normal = 7F, LOW = 40",
     "Unsupported focus sensitivity mode", "Failed to send auto focus sensitivity setup command"},
    {OPERATION(video_output), "mode", "04 02 08 17 ##", "HDMI = 00, sdi = 01", "Unsupported video output type",
     "Failed to send video output setup command"},
    {OPERATION(sdi_mapping_mode), "mode", "04 02 08 1D ##", "level_a = 00, Level_B = 01",
     "Unsupported SDI mapping mode", "Failed to send SDI mapping setup command"},
};
// clang-format on

TEST_F(Settings, TextsInAnyLetterCase)
{
    for (const TextCase &c : TEXTS) {
        SCOPED_TRACE(c.name);
        const auto cases = pairs(c.bytes);
        const char *const good = cases.front().first.c_str();
        for (const auto &[text, bytes] : cases)
            EXPECT_EQ(outcome(c.run(driver, text.c_str())), fill(c.pattern, bytes)) << text;
        EXPECT_EQ(outcome(c.run(driver, nullptr)), refused_by(COMMAND + c.name, c.argument));
        EXPECT_EQ(outcome(c.run(nullptr, "x")), refused_by(COMMAND + c.name, "self"));
        EXPECT_EQ(outcome(c.run(driver, "x%s")),
                  c.unsupported != nullptr ? refused(c.unsupported) : fill(c.pattern, "03"));
        EXPECT_EQ(outcome_when_deaf([&] { return c.run(driver, good); }), refused(c.failure));
        if (c.table != nullptr) {
            model.*c.table = nullptr;
            EXPECT_EQ(outcome(c.run(driver, good)), refused(c.unavailable));
            model = *vccif_model_krx131();
        }
    }
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_video_mode(driver, "1080p50", "progressive")),
              "04 02 08 04 01 04 02 08 18 00");
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_video_mode(driver, "720p60", "zigzag")),
              refused("Unsupported video scan mode"));
}

struct NumberCase {
    const char *name;
    gboolean (*run)(PTZDriverCanon *, int);
    const char *pattern;
    const char *bytes;                                 // of each number
    std::vector<std::pair<int, std::string>> refusals; // number, what is said
    const char *failure;
};

#define UNSIGNED(operation) WITH(operation, int, number, static_cast<unsigned>(number))

// clang-format off
const std::string UNSUPPORTED = "error: Unsupported ";
const std::string NO_POSITION = guard_line("ptz_driver_canon_cmd_auto_focus_limit",
                                           "(ZENTA_RANGE_MIN <= focus_limit) && (focus_limit <= ZENTA_RANGE_MAX)");
const std::string NO_LEVEL = guard_line("ptz_driver_canon_cmd_manual_bright_level",
                                        "(ZENTA_PARAMETER_RANGE_MIN <= level) && (level <= ZENTA_PARAMETER_RANGE_MAX)");

const NumberCase NUMBERS[] = {
    {UNSIGNED(chroma_suppress), "04 00 04 82 ##", "0 = 00, 3 = 03",
     {{4, UNSUPPORTED + "chroma suppression level: 4"}, {-1, UNSUPPORTED + "chroma suppression level: -1"}},
     "Failed to send chroma suppression setup command"},
    {"white_balance_onepush",
     [](PTZDriverCanon *self, int) { return ptz_driver_canon_cmd_white_balance_onepush(self); },
     "03 00 04 09", "0 = ", {}, "Failed to send one push white balance setup command"},
    {OPERATION(ircut), "04 00 05 00 ##",
     "1 = 00 04 00 05 01 00, 2 = 00 04 00 05 01 01, 3 = 01, 9 = 00 04 00 05 01 00", {},
     "Failed to send day/night mode setup command"},
    {OPERATION(rotate), "04 02 08 03 ##", "0 = 00, 180 = 01", {{90, UNSUPPORTED + "rotation mode"}},
     "Failed to send rotate setup command"},
    {OPERATION(halt_sensor), "05 00 08 00 ##", "1 = 00 01, 0 = 01 00", {},
     "Failed to send image sensor halt mode setup command"},
    {OPERATION(auto_focus_limit), "04 00 01 10 ##", "1 = 00, 2123 = 00, 2124 = 01, 9999 = 0B",
     {{0, NO_POSITION}, {-1, NO_POSITION}, {10000, NO_POSITION}}, "Failed to send auto focus limitation setup command"},
    {UNSIGNED(focus_active_time), "04 00 01 0D ##", "0 = 00, 255 = FF",
     {{256, UNSUPPORTED + "auto focus activity time"}}, "Failed to send auto focus activity time setup command"},
    {UNSIGNED(focus_interval_time), "04 00 01 0C ##", "0 = 00, 255 = FF",
     {{-1, UNSUPPORTED + "auto focus interval time"}}, "Failed to send auto focus interval time setup command"},
    {WITH(shutter, int, level, level, FALSE), "04 00 03 03 ##", "0 = 36, 50 = 1E, 100 = 00, -1 = 13, -25 = 00",
     {{101, UNSUPPORTED + "shutter speed: 101"}, {-26, UNSUPPORTED + "shutter speed: -26"}},
     "Failed to send shutter speed setup command"},
    {WITH(shutter, int, time, time, TRUE), "04 00 03 03 ##", "100 = 35, 20001 = 16, -2 = 0E", // 100: the row of 111 us
     {{1000001, UNSUPPORTED + "shutter speed: 1000001"}}, "Failed to send shutter speed setup command"},
    {WITH(max_exposure_time, int, limit, "oN", limit), "05 00 03 0E ## 36", "100000 = 0E, -25 = 00",
     {{-26, UNSUPPORTED + "long shutter limit: -26"}}, "Failed to send shutter limits setup command"},
    {OPERATION(gain), "04 00 03 04 ##", "0 = 00, 51 = 11, 100 = 20",
     {{101, UNSUPPORTED + "gain: 101"},
      {-1, guard_line("vccif_percent_to_vcc_gain", "percent >= 0") + " | " + UNSUPPORTED + "gain: -1"}},
     "Failed to send gain setup command"},
    {WITH(max_gain, int, percent, "any", percent), "04 00 03 07 ##", "0 = 00, 14 = 02, 100 = 08",
     {{101, UNSUPPORTED + "maximum gain: 101"}, {-1, UNSUPPORTED + "maximum gain: -1"}},
     "Failed to send gain setup command"},
    {WITH(iris, int, value, value, TRUE), "04 00 03 02 ## 04 00 03 15 ##", "0 = 04, 30 = 0C, 99 = 1F, 100 = 20",
     {{101, guard_line("vccif_percent_to_vcc_iris", "percent >= 0") + " | " + UNSUPPORTED + "iris value: 101"},
      {-5, UNSUPPORTED + "iris value: -5"}}, // 105 percent: the value as it was given
     "Failed to send iris level setup command"},
    {WITH(iris, int, value, value, FALSE), "04 00 03 02 ## 04 00 03 15 ##", "5 = 1E",
     {{101, UNSUPPORTED + "iris value: 101"}}, "Failed to send iris level setup command"},
    {UNSIGNED(manual_bright_level), "04 00 03 02 ##", // opens the iris, then raises the gain
     "0 = 04 04 00 03 15 04 04 00 03 04 00, 49 = 1F 04 00 03 15 1F 04 00 03 04 00, "
     "50 = 20 04 00 03 15 20 04 00 03 04 00, 51 = 20 04 00 03 15 20 04 00 03 04 01, "
     "100 = 20 04 00 03 15 20 04 00 03 04 20",
     {{101, NO_LEVEL}, {-1, NO_LEVEL}}, "Failed to send manual bright level setup command"},
};
// clang-format on

TEST_F(Settings, NumbersAtTheirEdges)
{
    for (const NumberCase &c : NUMBERS) {
        SCOPED_TRACE(c.name);
        const auto cases = pairs(c.bytes);
        for (const auto &[number, bytes] : cases)
            EXPECT_EQ(outcome(c.run(driver, std::stoi(number))), fill(c.pattern, bytes)) << number;
        for (const auto &[number, said] : c.refusals)
            EXPECT_EQ(outcome(c.run(driver, number)), "refused | " + said);
        EXPECT_EQ(outcome(c.run(nullptr, 0)), refused_by(COMMAND + c.name, "self"));
        EXPECT_EQ(outcome_when_deaf([&] { return c.run(driver, std::stoi(cases.front().first)); }), refused(c.failure));
    }
}

TEST_F(Settings, HaltSettlesASecondAfterFreshStatus)
{
    ptz_driver_canon_utils_halt_sensor_and_settle(driver);
    EXPECT_EQ(port.take_payloads(), (Lines{"05 00 08 00 00 01"}));
    EXPECT_EQ(port.reads, 1 + 1); // one before, and cmd_retries after while no status comes
    EXPECT_EQ(clock.slept_us(), 1000000);
}

} // namespace
