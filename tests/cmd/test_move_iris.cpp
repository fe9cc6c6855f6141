#include "cmd/move_iris.h"
#include "tests/cmd/command_bench.h"

#include <cstdlib>
#include <set>

namespace {

std::string exposure(const std::string &shutter, const std::string &iris, const std::string &gain)
{
    return "04 00 03 03 " + shutter + " 04 00 03 02 " + iris + " 04 00 03 15 " + iris + " 04 00 03 04 " + gain;
}

class IrisMove : public CommandBench {
  protected:
    IrisMove()
    {
        set_capture_mode("720p25");
        port.status = StatusRun().bytes();
    }

    // The codes that the status reports.
    void report(int iris, int shutter, int gain)
    {
        port.status[103] = static_cast<std::uint8_t>(iris);
        port.status[104] = static_cast<std::uint8_t>(shutter);
        port.status[105] = static_cast<std::uint8_t>(gain);
    }

    std::string sent(int position) { return outcome(ptz_driver_canon_cmd_full_manual_exposure(driver, position)); }
    std::string moved(int type, int value) { return outcome(ptz_driver_canon_cmd_move_iris(driver, type, value)); }

    int read_back()
    {
        int position = 0;
        EXPECT_TRUE(ptz_driver_canon_get_exposure_position(driver, &position));
        return position;
    }
};

using ManualExposure = IrisMove;

TEST_F(ManualExposure, OnePositionDrivesShutterThenIrisThenGainThenShutter)
{
    struct {
        int position;
        const char *shutter, *iris, *gain;
    } const cases[] = {
        {1, "36", "20", "00"},                                                        // 1 us
        {1250, "17", "20", "00"},                                                     // 19992 us
        {2500, "13", "20", "00"},                                                     // 40000 us
        {2501, "13", "20", "00"}, {2526, "13", "1F", "00"},                           // 0 %, 1 %
        {3750, "13", "12", "00"},                                                     // 49 %
        {5000, "13", "04", "00"}, {5001, "13", "04", "00"}, {6251, "13", "04", "10"}, // 50 %
        {7500, "13", "04", "20"}, {7501, "13", "04", "20"}, {7502, "12", "04", "20"}, // 40384 us
        {8697, "04", "04", "20"}, {8750, "00", "04", "20"},                           // 499631 us, 520000 us
        {9999, "00", "04", "20"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(sent(c.position), exposure(c.shutter, c.iris, c.gain)) << c.position;
    set_capture_mode("1080p30"); // 999999 us in single precision: the same code
    EXPECT_EQ(sent(9999), exposure("00", "04", "20"));
    EXPECT_EQ(sent(2500), exposure("14", "20", "00"));
}

// Positions fall on the steps of the tables: what is read back is never farther than the next step.
TEST_F(ManualExposure, EveryPositionReadsBackWithinOneStep)
{
    constexpr int FIRST = 1, LAST = 9999;
    for (const char *mode :
         {"720p25", "720p30", "720p50", "720p60", "1080i50", "1080i60", "1080p25", "1080p30", "1080p50", "1080p60"}) {
        set_capture_mode(mode);
        std::vector<int> read(LAST + 1);
        for (int position = FIRST; position <= LAST; ++position) {
            const std::string bytes = sent(position);
            const auto code = [&bytes](std::size_t record) {
                return static_cast<int>(std::strtol(bytes.substr(record * 15 + 12, 2).c_str(), nullptr, 16));
            };
            report(code(1), code(0), code(3));
            read[static_cast<std::size_t>(position)] = read_back();
            framework().calls.clear();
        }
        const std::set<int> steps(read.begin() + FIRST, read.end());
        for (int position = FIRST; position <= LAST; ++position) {
            const auto step = steps.find(read[static_cast<std::size_t>(position)]);
            const int below = step == steps.begin() ? FIRST : *std::prev(step);
            const int above = std::next(step) == steps.end() ? LAST : *std::next(step);
            ASSERT_TRUE(below <= position && position <= above) << mode << " " << position << " reads " << *step;
        }
    }
}

TEST_F(ManualExposure, ReadsBackFromTheStatus)
{
    struct {
        int iris, shutter, gain, position;
    } const cases[] = {
        {32, 19, 0, 2500},                    // F16, 40000 us
        {32, 54, 0, 6},                       // 91 us: 90 x 2499 / 39999 + 1
        {32, 0, 32, 2500},                    // longer than a frame with a closed iris
        {4, 19, 0, 5001},  {4, 23, 16, 6250}, // 50 %: 1249.5 + 5001
        {4, 4, 32, 8697},                     // 460000 x 2498 / 960000 + 7501
        {4, 0, 0, 9999},   {20, 0, 0, 3575},  // 43 %
        {3, 19, 0, 2476},                     // no such iris: -1 %
        {4, 19, 33, 4976},                    // no such gain: -1 %
    };
    for (const auto &c : cases) {
        report(c.iris, c.shutter, c.gain);
        EXPECT_EQ(read_back(), c.position) << c.iris << " " << c.shutter << " " << c.gain;
    }
}

TEST_F(ManualExposure, WhatItNotesStaysOnFailure)
{
    for (const int position : {0, 10000, -1}) // and here it has not noted anything yet
        EXPECT_EQ(sent(position), refused_by("ptz_driver_canon_cmd_full_manual_exposure",
                                             "(ZENTA_RANGE_MIN <= iris_zenta) && (iris_zenta <= ZENTA_RANGE_MAX)"));
    EXPECT_TRUE(now().auto_iris && framework().take().empty());
    static constexpr ShutterRow short_rows[] = {{0, 91, 54}, {100, 100, 53}, {-1, -1, -1}};
    static constexpr ShutterTable short_tables[] = {{"720p25", short_rows}, {}};
    model.shutter_tbls = nullptr;
    EXPECT_TRUE(sent(300).ends_with("error: Could not calculate exposure time"));
    EXPECT_EQ(now().iris_moving, 1);
    EXPECT_EQ(now().brightness_moving, -1);
    EXPECT_EQ(now().brightness_zenta, -1);
    EXPECT_EQ(driver->target.brightness_zenta, -1);
    EXPECT_EQ(driver->target.iris_zenta, 300);
    EXPECT_EQ(driver->parent_instance.iris_mode, 2);
    EXPECT_FALSE(now().auto_iris);
    model.shutter_tbls = short_tables;
    EXPECT_EQ(sent(2500), refused("Unsupported shutter speed: 40000"));
    model = *vccif_model_krx131();
    model.gain_tbl = nullptr; // the last of the three
    EXPECT_TRUE(sent(7500).ends_with("error: Unsupported gain: 100"));
    model.iris_tbl = nullptr;
    EXPECT_TRUE(sent(5000).ends_with("error: Unsupported iris value: 100"));
    model = *vccif_model_krx131();
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_full_manual_exposure(driver, 1); }),
              refused("Failed to send full manual settings setup command"));
    EXPECT_EQ(now().iris_moving, 1);
    EXPECT_EQ(sent(1), exposure("36", "20", "00"));
    EXPECT_EQ(now().iris_moving, 0);
}

TEST_F(ManualExposure, SwitchesAPriorityOffOnceTheValuesAreSent)
{
    now().exposure_mode = "flickerfree";
    EXPECT_EQ(sent(1), exposure("36", "20", "00") + " | 04 00 03 00 03");
    EXPECT_EQ(now().exposure_mode, nullptr);
    EXPECT_EQ(sent(1), exposure("36", "20", "00"));
    now().exposure_mode = "MANUAL";
    EXPECT_EQ(sent(1), exposure("36", "20", "00"));
    EXPECT_STREQ(now().exposure_mode, "MANUAL");
}

TEST_F(IrisMove, AbsoluteAndRelative)
{
    EXPECT_EQ(moved(1, 5000), exposure("13", "04", "00"));
    const Lines calls = framework().take(); // published before and after the exposure, and so is the move around it
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const auto &line) { return line.starts_with("report"); }),
              4);
    EXPECT_EQ(now().iris_zenta, 5000);
    EXPECT_EQ(now().iris_moving, 0);
    EXPECT_EQ(moved(2, 9000), exposure("00", "04", "20")); // from iris_zenta, no longer automatic
    EXPECT_EQ(moved(2, -20000), exposure("36", "20", "00"));
    EXPECT_EQ(now().iris_zenta, 1);
    EXPECT_EQ(port.reads, 0);
    now().auto_iris = TRUE; // from where automatic exposure is
    report(4, 19, 0);
    EXPECT_EQ(moved(2, 1250), exposure("13", "04", "10"));
    EXPECT_EQ(now().iris_zenta, 6251);
}

TEST_F(IrisMove, SucceedsWhateverBecomesOfItButForOtherTypes)
{
    for (const int type : {0, 3, 4}) {
        now().iris_moving = 0;
        EXPECT_EQ(moved(type, 5), refused("Unsupported PTZ move type"));
        EXPECT_EQ(now().iris_moving, 1);
        EXPECT_FALSE(framework().take().empty()); // published
    }
    EXPECT_FALSE(moved(1, 30000).starts_with("refused")); // beyond the scale
    EXPECT_EQ(now().iris_zenta, 30000);
    EXPECT_TRUE(now().auto_iris);
    port.deaf = true;
    EXPECT_FALSE(moved(1, 1).starts_with("refused"));
    EXPECT_EQ(now().iris_moving, 0);
    set_capture_mode("480i");
    now().auto_iris = TRUE; // no position to count from: -1
    EXPECT_FALSE(moved(2, 11).starts_with("refused"));
    EXPECT_EQ(now().iris_zenta, 10);
}

} // namespace
