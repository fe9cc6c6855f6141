#include "cmd/ptz_driver_canon_cmd_exposure.h"
#include "tests/cmd/command_bench.h"

namespace {

class Exposure : public CommandBench {
  protected:
    Exposure() { set_capture_mode("720p25"); }

    // The bytes sent by an operation; "refused" and nothing sent when it returned false.
    std::string sent(gboolean done)
    {
        const Lines payloads = port.take_payloads();
        if (!done)
            return payloads.empty() ? "refused" : "refused but sent";
        return payloads.size() == 1 ? payloads.front() : "not one packet";
    }

    std::string iris(int value, gboolean invert) { return sent(ptz_driver_canon_cmd_iris(driver, value, invert)); }
    std::string gain(int percent) { return sent(ptz_driver_canon_cmd_gain(driver, percent)); }
    std::string max_gain(const char *mode, int percent)
    {
        return sent(ptz_driver_canon_cmd_max_gain(driver, mode, percent));
    }
    std::string shutter(int value, gboolean manual)
    {
        return sent(ptz_driver_canon_cmd_shutter(driver, value, manual));
    }
    std::string max_time(const char *mode, int limit)
    {
        return sent(ptz_driver_canon_cmd_max_exposure_time(driver, mode, limit));
    }

    static constexpr ShutterTable NO_TABLES{};
    static constexpr SlowShutterTable NO_SLOW_TABLES{};
};

TEST_F(Exposure, PriorityInAnyLetterCaseIsSentAndKeptAsTheTableWritesIt)
{
    const std::pair<const char *, const char *> priorities[] = {
        {"AUTO", "00"},    {"Manual", "03"}, {"FlickerReduced", "02"}, {"flickerFREE", "06"},
        {"SHUTTER", "05"}, {"iriS", "04"},   {"Motion", "07"},         {"LowNoise", "08"},
        {"GAIN", "09"},    {"bRIGHT", "0A"}, {"DCiris", "0B"}};
    for (const auto &[text, byte] : priorities) {
        std::string passing = text; // gone when the field is read
        EXPECT_EQ(sent(ptz_driver_canon_cmd_exposure_mode(driver, "no such mode", passing.c_str())),
                  std::string("04 00 03 00 ") + byte);
        passing.assign(passing.size(), '#');
        EXPECT_EQ(g_ascii_strcasecmp(now().exposure_mode, text), 0) << text;
    }
    EXPECT_STREQ(now().exposure_mode, "dciris");
    EXPECT_EQ(sent(ptz_driver_canon_cmd_exposure_mode(driver, "auto", nullptr)), "04 00 03 00 00");
    EXPECT_EQ(now().exposure_mode, nullptr);
}

TEST_F(Exposure, RefusedPriorityLeavesTheOldOne)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_exposure_mode(driver, "auto", "iris"));
    port.take_payloads();
    EXPECT_FALSE(ptz_driver_canon_cmd_exposure_mode(driver, "auto", "fast"));
    EXPECT_FALSE(ptz_driver_canon_cmd_exposure_mode(driver, nullptr, "gain"));
    model.exposure_priority_tbl = nullptr;
    EXPECT_FALSE(ptz_driver_canon_cmd_exposure_mode(driver, "auto", "gain"));
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported exposure priority: fast",
                                 guard_line("ptz_driver_canon_cmd_exposure_mode", "mode"),
                                 "error: Unavailable exposure priority table."}));
    EXPECT_TRUE(port.packets.empty());
    port.deaf = true;
    EXPECT_FALSE(ptz_driver_canon_cmd_exposure_mode(driver, "auto", nullptr));
    EXPECT_STREQ(now().exposure_mode, "iris");
}

TEST_F(Exposure, SpotMeteringIsOnUnlessTheTextSaysOff)
{
    for (const char *enabled : {"on", "", "yes"})
        EXPECT_EQ(sent(ptz_driver_canon_cmd_spot_exposure(driver, "no such window", enabled)), "04 00 03 06 03");
    EXPECT_EQ(sent(ptz_driver_canon_cmd_spot_exposure(driver, "center", nullptr)), "refused");
    EXPECT_EQ(log.take(), (Lines{guard_line("ptz_driver_canon_cmd_spot_exposure", "enabled")}));
}

TEST_F(Exposure, SpotPositionStaysInsideThePicture)
{
    const auto spot = [this](unsigned x, unsigned y) {
        return sent(ptz_driver_canon_cmd_spot_exposure_position(driver, x, y));
    };
    EXPECT_EQ(spot(50, 50), "0B 00 03 10 00 7F 00 7F 00 33 00 55");
    EXPECT_EQ(spot(100, 100), "0B 00 03 10 00 C0 00 9E 00 33 00 55");
    EXPECT_EQ(spot(0, 1), "0B 00 03 10 00 0D 00 0D 00 33 00 55");
    EXPECT_EQ(spot(5, 6), "0B 00 03 10 00 0D 00 0F 00 33 00 55");    // 12, 15
    EXPECT_EQ(spot(49, 51), "0B 00 03 10 00 7C 00 82 00 33 00 55");  // 124, 130
    EXPECT_EQ(spot(75, 61), "0B 00 03 10 00 BF 00 9B 00 33 00 55");  // 191 + 51, 155 + 85
    EXPECT_EQ(spot(76, 62), "0B 00 03 10 00 C0 00 9E 00 33 00 55");  // 193 + 51; 158 + 85 is just inside
    model.spot_exposure_area = {10, 110, 13, 243, 26, 230, 20, 240}; // sizes outside of their limits
    EXPECT_EQ(spot(50, 50), "0B 00 03 10 00 3C 00 0D 00 1A 00 E6");
    model.spot_exposure_area = {0, 255, 0, 20, 26, 230, 51, 85};
    EXPECT_EQ(spot(50, 50), "refused");
    EXPECT_EQ(spot(101, 0), "refused");
    EXPECT_EQ(spot(0, static_cast<unsigned>(-1)), "refused");
    constexpr const char *SPOT = "ptz_driver_canon_cmd_spot_exposure_position";
    EXPECT_EQ(
        log.take(),
        (Lines{"error: Failed to create spot exposure position",
               guard_line(SPOT, "(ZENTA_PARAMETER_RANGE_MIN <= pos_x) && (pos_x <= ZENTA_PARAMETER_RANGE_MAX)"),
               guard_line(SPOT, "(ZENTA_PARAMETER_RANGE_MIN <= pos_y) && (pos_y <= ZENTA_PARAMETER_RANGE_MAX)")}));
}

TEST_F(Exposure, ShutterByLevelOrByTime)
{
    const std::pair<int, const char *> levels[] = {{0, "36"},  {1, "35"},   {49, "1E"}, {50, "1E"}, {51, "1D"},
                                                   {99, "00"}, {100, "00"}, {-1, "13"}, {-25, "00"}};
    for (const auto &[level, byte] : levels)
        EXPECT_EQ(shutter(level, FALSE), std::string("04 00 03 03 ") + byte) << level;
    EXPECT_EQ(shutter(100, TRUE), "04 00 03 03 35"); // 111 us
    EXPECT_EQ(shutter(20001, TRUE), "04 00 03 03 16");
    EXPECT_EQ(shutter(-2, TRUE), "04 00 03 03 0E");
    EXPECT_EQ(shutter(101, FALSE), "refused");
    EXPECT_EQ(shutter(1000001, TRUE), "refused");
    EXPECT_EQ(shutter(-26, TRUE), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported shutter speed: 101", "error: Unsupported shutter speed: 1000001",
                                 "error: Unsupported shutter speed: -26"}));
}

TEST_F(Exposure, MaximumExposureTimeSendsTheLongLimitFirst)
{
    EXPECT_EQ(max_time("ON", 100000), "05 00 03 0E 0E 36");
    EXPECT_EQ(max_time("on", -25), "05 00 03 0E 00 36");
    EXPECT_EQ(max_time("Off", 100000), "05 00 03 0E 13 36"); // one frame
    EXPECT_EQ(max_time("auto", 1), "refused");
    EXPECT_EQ(max_time(nullptr, 1), "refused");
    EXPECT_EQ(max_time("on", -26), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported auto slow shutter mode: auto",
                                 guard_line("ptz_driver_canon_cmd_max_exposure_time", "mode"),
                                 "error: Unsupported long shutter limit: -26"}));
    model.slow_shutter_tbls = &NO_SLOW_TABLES; // the given limit is shown, though it was not the one looked for
    EXPECT_EQ(max_time("off", 77), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unavailable shutter table", "error: Unsupported long shutter limit: 77"}));
    model = *vccif_model_krx131();
    model.shutter_tbls = &NO_TABLES;
    EXPECT_EQ(max_time("off", 77), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unavailable shutter table", "error: Unsupported short shutter limit"}));
}

TEST_F(Exposure, GainByPercent)
{
    const std::pair<int, const char *> percents[] = {{0, "00"},  {1, "01"},  {49, "10"}, {50, "10"},
                                                     {51, "11"}, {99, "20"}, {100, "20"}};
    for (const auto &[percent, byte] : percents)
        EXPECT_EQ(gain(percent), std::string("04 00 03 04 ") + byte) << percent;
    EXPECT_EQ(gain(101), "refused");
    EXPECT_EQ(gain(-1), "refused");
    model.gain_tbl = nullptr;
    EXPECT_EQ(gain(50), "refused");
    constexpr const char *LOOKUP = "vccif_percent_to_vcc_gain";
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported gain: 101", guard_line(LOOKUP, "percent >= 0"), "error: Unsupported gain: -1",
                     guard_line(LOOKUP, "self->cam_model->gain_tbl"), "error: Unsupported gain: 50"}));
}

TEST_F(Exposure, MaximumGainBySensitivity)
{
    static constexpr GainRow high[] = {{100, 1.0f, 77}, {-1, -1.0f, -1}}, none[] = {{-1, -1.0f, -1}};
    const std::pair<int, const char *> percents[] = {{0, "00"},  {1, "01"},  {14, "02"}, {49, "04"},
                                                     {50, "04"}, {51, "05"}, {99, "08"}, {100, "08"}};
    for (const auto &[percent, byte] : percents)
        EXPECT_EQ(max_gain("off", percent), std::string("04 00 03 07 ") + byte) << percent;
    model.max_gain_high_sensitivity_tbl = high;
    EXPECT_EQ(max_gain("ON", 5), "04 00 03 07 4D");
    EXPECT_EQ(max_gain("whatever", 5), "04 00 03 07 01");
    model.max_gain_high_sensitivity_tbl = none;
    EXPECT_EQ(max_gain("on", 0), "refused");
    EXPECT_EQ(max_gain("off", 101), "refused");
    EXPECT_EQ(max_gain("off", -1), "refused");
    model.max_gain_tbl = model.max_gain_high_sensitivity_tbl = nullptr;
    EXPECT_EQ(max_gain("on", 0), "refused");
    EXPECT_EQ(max_gain("off", 0), "refused");
    EXPECT_EQ(max_gain(nullptr, 0), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported maximum gain: 0", "error: Unsupported maximum gain: 101",
                                 "error: Unsupported maximum gain: -1",
                                 "error: Unavailable maximum gain table at high sensitivity.",
                                 "error: Unavailable maximum gain table at normal.",
                                 guard_line("ptz_driver_canon_cmd_max_gain", "mode")}));
}

TEST_F(Exposure, IrisGoesOutTwice)
{
    const auto bytes = [](const std::string &code) { return "04 00 03 02 " + code + " 04 00 03 15 " + code; };
    const std::pair<int, const char *> closing[] = {{0, "04"},  {1, "04"},  {30, "0C"}, {49, "11"},
                                                    {50, "12"}, {51, "12"}, {99, "1F"}, {100, "20"}};
    for (const auto &[value, code] : closing)
        EXPECT_EQ(iris(value, TRUE), bytes(code)) << value;
    EXPECT_EQ(iris(5, FALSE), bytes("1E"));
    EXPECT_EQ(iris(101, TRUE), "refused");
    EXPECT_EQ(iris(-5, TRUE), "refused"); // 105 percent: no guard, the value as it was given
    EXPECT_EQ(iris(101, FALSE), "refused");
    EXPECT_EQ(log.take(),
              (Lines{guard_line("vccif_percent_to_vcc_iris", "percent >= 0"), "error: Unsupported iris value: 101",
                     "error: Unsupported iris value: -5", "error: Unsupported iris value: 101"}));
}

TEST_F(Exposure, ManualBrightLevelOpensTheIrisThenRaisesTheGain)
{
    const auto level = [this](unsigned value) { return sent(ptz_driver_canon_cmd_manual_bright_level(driver, value)); };
    const auto bytes = [](const std::string &iris_code, const std::string &gain_code) {
        return "04 00 03 02 " + iris_code + " 04 00 03 15 " + iris_code + " 04 00 03 04 " + gain_code;
    };
    EXPECT_EQ(level(0), bytes("04", "00"));
    EXPECT_EQ(level(1), bytes("04", "00")); // 98 %
    EXPECT_EQ(level(49), bytes("1F", "00"));
    EXPECT_EQ(level(50), bytes("20", "00"));
    EXPECT_EQ(level(51), bytes("20", "01"));
    EXPECT_EQ(level(99), bytes("20", "20"));
    EXPECT_EQ(level(100), bytes("20", "20"));
    EXPECT_EQ(level(101), "refused");
    EXPECT_EQ(level(static_cast<unsigned>(-1)), "refused");
    EXPECT_EQ(log.take(), Lines(2, guard_line("ptz_driver_canon_cmd_manual_bright_level",
                                              "(ZENTA_PARAMETER_RANGE_MIN <= level) && (level <= "
                                              "ZENTA_PARAMETER_RANGE_MAX)")));
    static constexpr IrisRow small_iris[] = {{0, 16.0f, 32}, {-1, -1.0f, -1}};
    static constexpr GainRow small_gain[] = {{0, 0.0f, 0}, {-1, -1.0f, -1}};
    model.iris_tbl = small_iris;
    model.gain_tbl = small_gain;
    EXPECT_EQ(level(10), "refused");
    EXPECT_EQ(level(60), "refused");
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported iris value: 10", "error: Unsupported gain: 20"}));
}

TEST_F(Exposure, EachFailureHasItsMessage)
{
    port.deaf = true;
    shutter(0, FALSE);
    max_time("on", 0);
    gain(0);
    max_gain("on", 0);
    iris(0, TRUE);
    ptz_driver_canon_cmd_manual_bright_level(driver, 0);
    ptz_driver_canon_cmd_spot_exposure_position(driver, 0, 0);
    EXPECT_EQ(take_errors(),
              (Lines{"Failed to send shutter speed setup command", "Failed to send shutter limits setup command",
                     "Failed to send gain setup command", "Failed to send gain setup command",
                     "Failed to send iris level setup command", "Failed to send manual bright level setup command",
                     "Failed to send spot exposure position command"}));
}

} // namespace
