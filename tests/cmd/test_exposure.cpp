#include "cmd/exposure.h"
#include "tests/cmd/command_bench.h"

namespace {

class Exposure : public CommandBench {
  protected:
    Exposure() { set_capture_mode("720p25"); }

    std::string mode(const char *text, const char *priority)
    {
        return outcome(ptz_driver_canon_cmd_exposure_mode(driver, text, priority));
    }
};

TEST_F(Exposure, PriorityInAnyLetterCaseIsSentAndKeptAsTheTableWritesIt)
{
    const std::pair<const char *, const char *> priorities[] = {
        {"AUTO", "00"},    {"Manual", "03"}, {"FlickerReduced", "02"}, {"flickerFREE", "06"},
        {"SHUTTER", "05"}, {"iriS", "04"},   {"Motion", "07"},         {"LowNoise", "08"},
        {"GAIN", "09"},    {"bRIGHT", "0A"}, {"DCiris", "0B"}};
    for (const auto &[text, byte] : priorities) {
        std::string passing = text; // gone when the field is read
        EXPECT_EQ(mode("no such mode", passing.c_str()), std::string("04 00 03 00 ") + byte);
        passing.assign(passing.size(), '#');
        EXPECT_EQ(g_ascii_strcasecmp(now().exposure_mode, text), 0) << text;
    }
    EXPECT_EQ(mode("auto", "fast"), refused("Unsupported exposure priority: fast"));
    EXPECT_EQ(mode(nullptr, "gain"), refused_by("ptz_driver_canon_cmd_exposure_mode", "mode"));
    model.exposure_priority_tbl = nullptr;
    EXPECT_EQ(mode("auto", "gain"), refused("Unavailable exposure priority table."));
    outcome_when_deaf([&] { return ptz_driver_canon_cmd_exposure_mode(driver, "auto", nullptr); });
    EXPECT_STREQ(now().exposure_mode, "dciris");
    EXPECT_EQ(mode("auto", nullptr), "04 00 03 00 00");
    EXPECT_EQ(now().exposure_mode, nullptr);
}

TEST_F(Exposure, SpotMeteringIsOnUnlessTheTextSaysOff)
{
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_spot_exposure(driver, "no such window", "")), "04 00 03 06 03");
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_spot_exposure(driver, "center", nullptr)),
              refused_by("ptz_driver_canon_cmd_spot_exposure", "enabled"));
}

TEST_F(Exposure, SpotPositionStaysInsideThePicture)
{
    const auto spot = [this](unsigned x, unsigned y) {
        return outcome(ptz_driver_canon_cmd_spot_exposure_position(driver, x, y));
    };
    EXPECT_EQ(spot(50, 50), "0B 00 03 10 00 7F 00 7F 00 33 00 55");
    EXPECT_EQ(spot(100, 100), "0B 00 03 10 00 C0 00 9E 00 33 00 55");
    EXPECT_EQ(spot(5, 6), "0B 00 03 10 00 0D 00 0F 00 33 00 55");   // 12, 15
    EXPECT_EQ(spot(75, 61), "0B 00 03 10 00 BF 00 9B 00 33 00 55"); // 191 + 51, 155 + 85
    EXPECT_EQ(spot(76, 62), "0B 00 03 10 00 C0 00 9E 00 33 00 55"); // 193 + 51; 158 + 85 is just inside
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_spot_exposure_position(driver, 0, 0); }),
              refused("Failed to send spot exposure position command"));
    model.spot_exposure_area = {10, 110, 13, 243, 26, 230, 20, 240}; // sizes outside of their limits
    EXPECT_EQ(spot(50, 50), "0B 00 03 10 00 3C 00 0D 00 1A 00 E6");
    model.spot_exposure_area = {0, 255, 0, 20, 26, 230, 51, 85};
    EXPECT_EQ(spot(50, 50), refused("Failed to create spot exposure position"));
    constexpr const char *SPOT = "ptz_driver_canon_cmd_spot_exposure_position";
    EXPECT_EQ(spot(101, 0),
              refused_by(SPOT, "(ZENTA_PARAMETER_RANGE_MIN <= pos_x) && (pos_x <= ZENTA_PARAMETER_RANGE_MAX)"));
    EXPECT_EQ(spot(0, ~0u),
              refused_by(SPOT, "(ZENTA_PARAMETER_RANGE_MIN <= pos_y) && (pos_y <= ZENTA_PARAMETER_RANGE_MAX)"));
}

TEST_F(Exposure, MaximumExposureTimeNeedsItsModeAndItsTables)
{
    static constexpr SlowShutterTable NO_SLOW_TABLES{};
    const auto longest = [this](const char *text, int limit) {
        return outcome(ptz_driver_canon_cmd_max_exposure_time(driver, text, limit));
    };
    EXPECT_EQ(longest("Off", 100000), "05 00 03 0E 13 36"); // one frame
    EXPECT_EQ(longest("auto", 1), refused("Unsupported auto slow shutter mode: auto"));
    EXPECT_EQ(longest(nullptr, 1), refused_by("ptz_driver_canon_cmd_max_exposure_time", "mode"));
    model.slow_shutter_tbls = &NO_SLOW_TABLES; // the given limit is shown, though it was not the one looked for
    EXPECT_EQ(longest("off", 77), refused("Unavailable shutter table | error: Unsupported long shutter limit: 77"));
    model = *vccif_model_krx131();
    model.shutter_tbls = nullptr;
    EXPECT_TRUE(longest("off", 1).ends_with("error: Unsupported short shutter limit"));
}

TEST_F(Exposure, GainNeedsItsTables)
{
    static constexpr GainRow high[] = {{100, 1.0f, 77}, {-1, -1.0f, -1}};
    const auto max_gain = [this](const char *sensitivity) {
        return outcome(ptz_driver_canon_cmd_max_gain(driver, sensitivity, 5));
    };
    model.max_gain_high_sensitivity_tbl = high;
    EXPECT_EQ(max_gain("ON"), "04 00 03 07 4D");
    EXPECT_EQ(max_gain("off"), "04 00 03 07 01");
    model.gain_tbl = model.max_gain_tbl = model.max_gain_high_sensitivity_tbl = nullptr;
    EXPECT_EQ(max_gain("on"), refused("Unavailable maximum gain table at high sensitivity."));
    EXPECT_EQ(max_gain("off"), refused("Unavailable maximum gain table at normal."));
    EXPECT_EQ(max_gain(nullptr), refused_by("ptz_driver_canon_cmd_max_gain", "mode"));
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_gain(driver, 50)),
              refused_by("vccif_percent_to_vcc_gain", "self->cam_model->gain_tbl") + " | error: Unsupported gain: 50");
    const auto bright = [this](unsigned level) {
        return outcome(ptz_driver_canon_cmd_manual_bright_level(driver, level));
    };
    EXPECT_TRUE(bright(75).ends_with("error: Unsupported gain: 50"));
    model.iris_tbl = nullptr;
    EXPECT_TRUE(bright(25).ends_with("error: Unsupported iris value: 25"));
}

} // namespace
