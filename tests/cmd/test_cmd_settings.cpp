// The families of settings, each as a table: what goes out for every value, and what is said when it does not.
#include "cmd/ptz_driver_canon_cmd_brightness.h"
#include "cmd/ptz_driver_canon_cmd_color.h"
#include "cmd/ptz_driver_canon_cmd_day_night.h"
#include "cmd/ptz_driver_canon_cmd_exposure.h"
#include "cmd/ptz_driver_canon_cmd_picture.h"
#include "tests/cmd/command_bench.h"

namespace {

class Settings : public CommandBench {
  protected:
    // The bytes of the one packet sent; "" when there is none.
    std::string sent()
    {
        const Lines payloads = port.take_payloads();
        return payloads.size() == 1 ? payloads.front() : payloads.empty() ? "" : "several";
    }

    // What was said by `run` while the camera block took nothing, write warnings left out.
    template <typename Run>
    Lines said_when_deaf(Run run)
    {
        port.deaf = true;
        EXPECT_FALSE(run());
        port.deaf = false;
        Lines lines = log.take();
        std::erase(lines, "warning: Write command failed: -1, retry: 0");
        return lines;
    }
};

// `pattern` with every "##" replaced.
std::string fill(std::string pattern, const std::string &bytes)
{
    for (std::size_t at; (at = pattern.find("##")) != std::string::npos;)
        pattern.replace(at, 2, bytes);
    return pattern;
}

std::string level_guard(const std::string &argument)
{
    return "(ZENTA_PARAMETER_RANGE_MIN <= " + argument + ") && (" + argument + " <= ZENTA_PARAMETER_RANGE_MAX)";
}

struct LevelCase {
    const char *operation;
    gboolean (*run)(PTZDriverCanon *, unsigned);
    const char *argument;
    const Range *CameraModel::*range;
    const char *range_name;
    const char *pattern;
    std::array<const char *, 7> bytes; // at 0, 1, 49, 50, 51, 99, 100
    const char *failure;
};

// clang-format off
const std::array<const char *, 7> DETAIL{"00", "00", "09", "0A", "0A", "12", "13"};
const std::array<const char *, 7> COLOR{"00", "01", "31", "32", "33", "63", "64"};
const std::array<const char *, 7> DAY_NIGHT{"00", "00", "01", "02", "02", "03", "04"};
const std::array<const char *, 7> WHITE{"00 00", "00 05", "00 FA", "01 00", "01 0F", "03 EF", "03 FF"};

const LevelCase LEVELS[] = {
    {"ptz_driver_canon_cmd_sharpness", ptz_driver_canon_cmd_sharpness, "level",
     &CameraModel::sharpness_range, "sharpness_range", "04 00 07 00 ##", DETAIL,
     "Failed to send sharpness setup command"},
    {"ptz_driver_canon_cmd_noise_reduction",
     [](PTZDriverCanon *self, unsigned level) { return ptz_driver_canon_cmd_noise_reduction(self, "oN", level); },
     "level", &CameraModel::nr_range, "nr_range", "04 00 07 01 ##", DETAIL,
     "Failed to send noise reduction intensity setup command"},
    {"ptz_driver_canon_cmd_defog_effect", ptz_driver_canon_cmd_defog_effect, "level",
     &CameraModel::defog_effect_range, "defog_effect_range", "04 00 07 06 ##", DETAIL,
     "Failed to send defog level setup command"},
    {"ptz_driver_canon_cmd_brightness", ptz_driver_canon_cmd_brightness, "level",
     &CameraModel::brightness_range, "brightness_range", "04 00 03 01 ##", {"F8", "F9", "00", "00", "00", "07", "08"},
     "Failed to send brightness setup command"},
    {"ptz_driver_canon_cmd_exposure_response", ptz_driver_canon_cmd_exposure_response, "level",
     &CameraModel::ae_response_range, "ae_response_range", "04 00 03 0F ##",
     {"01", "01", "31", "32", "33", "63", "64"}, "Failed to send auto exposure response setup command"},
    {"ptz_driver_canon_cmd_color_level", ptz_driver_canon_cmd_color_level, "level",
     &CameraModel::color_gain_range, "color_gain_range", "05 00 04 80 00 ##", COLOR,
     "Failed to send color level setup command"},
    {"ptz_driver_canon_cmd_color_level_by_color",
     [](PTZDriverCanon *self, unsigned level)
     { return ptz_driver_canon_cmd_color_level_by_color(self, "colorLEVELgreen", level); },
     "level", &CameraModel::color_gain_range, "color_gain_range", "05 00 04 80 04 ##", COLOR,
     "Failed to send color level setup command"},
    {"ptz_driver_canon_cmd_color_hue",
     [](PTZDriverCanon *self, unsigned level) { return ptz_driver_canon_cmd_color_hue(self, "COLORHUE", level); },
     "level", &CameraModel::hue_range, "hue_range", "05 00 04 81 00 ##", COLOR,
     "Failed to send color hue setup command"},
    {"ptz_driver_canon_cmd_white_balance_manual_gain_r", ptz_driver_canon_cmd_white_balance_manual_gain_r, "gain",
     &CameraModel::wb_gain_range, "wb_gain_range", "05 00 04 05 ## 06 00 04 07 01 ##", WHITE,
     "Failed to send white balance red gain setup command"},
    {"ptz_driver_canon_cmd_white_balance_manual_gain_b", ptz_driver_canon_cmd_white_balance_manual_gain_b, "gain",
     &CameraModel::wb_gain_range, "wb_gain_range", "05 00 04 06 ## 06 00 04 08 01 ##", WHITE,
     "Failed to send white balance blue gain setup command"},
    {"ptz_driver_canon_cmd_ircut_thresholds", ptz_driver_canon_cmd_ircut_thresholds, "level",
     &CameraModel::ircf_threshold_range, "ircf_threshold_range", "04 00 05 02 ##",
     {"04", "03", "02", "02", "01", "00", "00"}, "Failed to send auto day/night threshold setup command"},
    {"ptz_driver_canon_cmd_auto_ircut_filter_hysteresis", ptz_driver_canon_cmd_auto_ircut_filter_hysteresis, "level",
     &CameraModel::ircf_hysteresis_range, "ircf_hysteresis_range", "04 00 05 08 ##", DAY_NIGHT,
     "Failed to send auto day/night hysteresis setup command"},
    {"ptz_driver_canon_cmd_auto_ircut_filter_wait_time", ptz_driver_canon_cmd_auto_ircut_filter_wait_time, "level",
     &CameraModel::ircf_waittime_range, "ircf_waittime_range", "04 00 05 09 ##", DAY_NIGHT,
     "Failed to send auto day/night wating time setup command"},
};
// clang-format on

TEST_F(Settings, LevelsAreScaledThroughTheirRange)
{
    constexpr unsigned AT[] = {0, 1, 49, 50, 51, 99, 100};
    for (const LevelCase &c : LEVELS)
        for (std::size_t i = 0; i < std::size(AT); ++i) {
            EXPECT_TRUE(c.run(driver, AT[i]));
            EXPECT_EQ(sent(), fill(c.pattern, c.bytes[i])) << c.operation << " " << AT[i];
        }
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Settings, LevelsRefuseWhatTheyGuard)
{
    for (const LevelCase &c : LEVELS) {
        SCOPED_TRACE(c.operation);
        EXPECT_FALSE(c.run(driver, 101));
        EXPECT_FALSE(c.run(driver, static_cast<unsigned>(-1)));
        EXPECT_FALSE(c.run(nullptr, 50));
        model.*c.range = nullptr;
        EXPECT_FALSE(c.run(driver, 101)); // the range comes first
        model.*c.range = vccif_model_krx131()->*c.range;
        EXPECT_EQ(log.take(), (Lines{guard_line(c.operation, level_guard(c.argument)),
                                     guard_line(c.operation, level_guard(c.argument)), guard_line(c.operation, "self"),
                                     guard_line(c.operation, std::string("self->cam_model->") + c.range_name)}));
        EXPECT_EQ(sent(), "");
        EXPECT_EQ(said_when_deaf([&] { return c.run(driver, 50); }), (Lines{std::string("error: ") + c.failure}));
    }
}

// Levels and hues go through ranges of their own, which are alike in the one model.
TEST_F(Settings, HueUsesItsRangeButNeedsThatOfTheColorLevelToo)
{
    const Range narrow{0, 5, 10};
    model.hue_range = &narrow;
    EXPECT_TRUE(ptz_driver_canon_cmd_color_hue(driver, "ColorHueBlue", 100));
    EXPECT_EQ(sent(), "05 00 04 81 06 0A");
    EXPECT_TRUE(ptz_driver_canon_cmd_color_level_by_color(driver, "ColorLevelBlue", 100));
    EXPECT_EQ(sent(), "05 00 04 80 06 64");
    model.color_gain_range = nullptr;
    EXPECT_FALSE(ptz_driver_canon_cmd_color_hue(driver, "ColorHueBlue", 100));
    EXPECT_EQ(log.take(), (Lines{guard_line("ptz_driver_canon_cmd_color_hue", "self->cam_model->color_gain_range")}));
}

struct TextCase {
    const char *operation;
    gboolean (*run)(PTZDriverCanon *, const char *);
    const char *argument;
    const char *pattern;
    std::vector<std::pair<const char *, const char *>> bytes; // text, byte
    const char *unsupported;                                  // said of the text "x%s"; null: any text is good
    const char *failure;
    const ModeRow *CameraModel::*table = nullptr;
    const char *unavailable = nullptr;
};

// clang-format off
const TextCase TEXTS[] = {
    {"ptz_driver_canon_cmd_wdr", ptz_driver_canon_cmd_wdr, "mode", "04 00 07 09 ##", {{"OFF", "00"}, {"On", "01"}},
     "Unsupported WDR mode x%s", "Failed to send WDR setup command", &CameraModel::wdr_tbl,
     "Unavailable WDR table."},
    {"ptz_driver_canon_cmd_gamma", ptz_driver_canon_cmd_gamma, "mode", "04 00 07 0A ##",
     {{"STANDARD", "00"}, {"straighT", "01"}},
     "Unsupported gamma curve mode x%s", "Failed to send gamma curve mode setup command", &CameraModel::gamma_tbl,
     "Unavailable gamma cureve table."},
    {"ptz_driver_canon_cmd_white_balance", ptz_driver_canon_cmd_white_balance, "mode", "04 00 04 00 ##",
     {{"FIXED_indoor", "10"}, {"fixed_Outdoor1", "11"}, {"Fixed_outdoor2", "12"}, {"fixed_FLUOR1", "13"},
      {"fixed_fluoR2", "14"}, {"Auto", "00"}, {"AUTO_OUTDOOR", "02"}, {"auto_Sodium", "01"}, {"Sodium", "01"},
      {"Fixed_Sodium", "16"}, {"mercurY", "17"}, {"OnePush", "03"}, {"MANUAL", "05"}, {"hOLD", "06"}},
     "Unsupported white balance mode: x%s", "Failed to send white balance setup command",
     &CameraModel::white_balance_tbl, "Unavailable white balance mode table."},
    {"ptz_driver_canon_cmd_image_stabilizer", ptz_driver_canon_cmd_image_stabilizer, "mode", "04 00 06 00 ##",
     {{"Off", "00"}, {"ON", "01"}}, "Unsupported image stabilization mode x%s",
     "Failed to send image stabilization setup command", &CameraModel::image_stabilizer_tbl,
     "Unavailable image stabilization table."},
    {"ptz_driver_canon_cmd_distortion_correction", ptz_driver_canon_cmd_distortion_correction, "mode",
     "04 00 06 01 ##", {{"oFF", "00"}, {"oN", "01"}}, "Unsupported distortion correction mode x%s",
     "Failed to send distortion correction setup command", &CameraModel::distortion_correction_tbl,
     "Unavailable distortion correction table."},
    {"ptz_driver_canon_cmd_exposure_window", ptz_driver_canon_cmd_exposure_window, "window", "04 00 03 06 ##",
     {{"AUTO", "04"}, {"Center", "00"}, {"aVERAGE", "01"}, {"Full", "01"}, {"SPOT", "02"}, {"areA", "03"}},
     "Unsupported exposure window: x%s", "Failed to send exposure window setup command",
     &CameraModel::exposure_window_tbl, "Unavailable exposure window table."},
    {"ptz_driver_canon_cmd_spot_exposure",
     [](PTZDriverCanon *self, const char *text) { return ptz_driver_canon_cmd_spot_exposure(self, text, "oFf"); },
     "window", "04 00 03 06 ##", {{"Spot", "02"}, {"FULL", "01"}},
     "Unsupported exposure window: x%s", "Failed to spot exposure window setup send command",
     &CameraModel::exposure_window_tbl, "Unavailable exposure window table."},
    {"ptz_driver_canon_cmd_exposure_mode",
     [](PTZDriverCanon *self, const char *text) { return ptz_driver_canon_cmd_exposure_mode(self, text, nullptr); },
     "mode", "04 00 03 00 ##", {{"AUTO", "00"}, {"Manual", "03"}},
     "Unsupported exposure mode: x%s", "Failed to send exposure mode setup command",
     &CameraModel::exposure_mode_tbl, "Unavailable exposure mode table."},
    {"ptz_driver_canon_cmd_defog", ptz_driver_canon_cmd_defog, "mode", "04 00 07 05 ##",
     {{"ON", "01"}, {"oFF", "00"}}, "Unsupported defog mode", "Failed to send defog setup command"},
    {"ptz_driver_canon_cmd_noise_reduction",
     [](PTZDriverCanon *self, const char *text) { return ptz_driver_canon_cmd_noise_reduction(self, text, 100); },
     "mode", "04 00 07 01 ##", {{"ON", "13"}, {"oFF", "00"}}, "Unavailable noise reduction mode",
     "Failed to send noise reduction intensity setup command"},
    {"ptz_driver_canon_cmd_ir_correction", ptz_driver_canon_cmd_ir_correction, "enabled", "04 00 01 04 ##",
     {{"OFF", "00"}, {"on", "03"}, {"", "03"}, {"offf", "03"}}, nullptr,
     "Failed to send IR correction frequency setup command"},
    {"ptz_driver_canon_cmd_color_level_by_color",
     [](PTZDriverCanon *self, const char *text) { return ptz_driver_canon_cmd_color_level_by_color(self, text, 50); },
     "color", "05 00 04 80 ## 32",
     {{"COLORLevelMagenta", "01"}, {"ColorLevelRed", "02"}, {"colorlevelyellow", "03"}, {"ColorLevelGREEN", "04"},
      {"ColorLevelCyan", "05"}, {"ColorLevelBlue", "06"}},
     "Unsupported color type", "Failed to send color level setup command"},
    {"ptz_driver_canon_cmd_color_hue",
     [](PTZDriverCanon *self, const char *text) { return ptz_driver_canon_cmd_color_hue(self, text, 50); },
     "color", "05 00 04 81 ## 32",
     {{"ColorHueMASTER", "00"}, {"colorHue", "00"}, {"ColorHueMagenta", "01"}, {"ColorHueRed", "02"},
      {"ColorHueYellow", "03"}, {"ColorHueGreen", "04"}, {"COLORHUECYAN", "05"}, {"ColorHueBlue", "06"}},
     "Unsupported color type", "Failed to send color hue setup command"},
};
// clang-format on

TEST_F(Settings, TextsInAnyLetterCase)
{
    for (const TextCase &c : TEXTS)
        for (const auto &[text, byte] : c.bytes) {
            EXPECT_TRUE(c.run(driver, text));
            EXPECT_EQ(sent(), fill(c.pattern, byte)) << c.operation << " " << text;
        }
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Settings, TextsRefuseWhatTheyDoNotKnow)
{
    for (const TextCase &c : TEXTS) {
        SCOPED_TRACE(c.operation);
        EXPECT_FALSE(c.run(driver, nullptr));
        EXPECT_FALSE(c.run(nullptr, "x"));
        EXPECT_EQ(log.take(), (Lines{guard_line(c.operation, c.argument), guard_line(c.operation, "self")}));
        if (c.unsupported != nullptr) {
            EXPECT_FALSE(c.run(driver, "x%s"));
            EXPECT_EQ(log.take(), (Lines{std::string("error: ") + c.unsupported}));
        }
        if (c.table != nullptr) {
            model.*c.table = nullptr;
            EXPECT_FALSE(c.run(driver, c.bytes.front().first));
            EXPECT_EQ(log.take(), (Lines{std::string("error: ") + c.unavailable}));
            model.*c.table = vccif_model_krx131()->*c.table;
        }
        EXPECT_EQ(sent(), "");
        EXPECT_EQ(said_when_deaf([&] { return c.run(driver, c.bytes.front().first); }),
                  (Lines{std::string("error: ") + c.failure}));
    }
}

TEST_F(Settings, NoiseReductionGuardsItsLevelEvenWhenOff)
{
    EXPECT_FALSE(ptz_driver_canon_cmd_noise_reduction(driver, "off", 150));
    EXPECT_EQ(log.take(), (Lines{guard_line("ptz_driver_canon_cmd_noise_reduction", level_guard("level"))}));
}

TEST_F(Settings, ChromaSuppressionHasFourLevels)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_chroma_suppress(driver, 0));
    EXPECT_TRUE(ptz_driver_canon_cmd_chroma_suppress(driver, 3));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 04 82 00", "04 00 04 82 03"}));
    EXPECT_FALSE(ptz_driver_canon_cmd_chroma_suppress(driver, 4));
    EXPECT_FALSE(ptz_driver_canon_cmd_chroma_suppress(driver, static_cast<unsigned>(-1)));
    EXPECT_FALSE(ptz_driver_canon_cmd_chroma_suppress(nullptr, 0));
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported chroma suppression level: 4",
                                 "error: Unsupported chroma suppression level: -1",
                                 guard_line("ptz_driver_canon_cmd_chroma_suppress", "self")}));
    EXPECT_EQ(said_when_deaf([&] { return ptz_driver_canon_cmd_chroma_suppress(driver, 1); }),
              (Lines{"error: Failed to send chroma suppression setup command"}));
}

TEST_F(Settings, WhiteBalanceOnce)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_white_balance_onepush(driver));
    EXPECT_EQ(sent(), "03 00 04 09");
    EXPECT_EQ(said_when_deaf([&] { return ptz_driver_canon_cmd_white_balance_onepush(driver); }),
              (Lines{"error: Failed to send one push white balance setup command"}));
}

} // namespace
