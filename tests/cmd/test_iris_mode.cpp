#include "cmd/iris_mode.h"
#include "tests/cmd/command_bench.h"

namespace {

const std::string SHUTTER = " | 04 00 03 03 1E";             // 50 %
const std::string GAIN = " | 04 00 03 04 10";                // 50 %
const std::string IRIS = " | 04 00 03 02 04 04 00 03 15 04"; // wide open
const std::string MODE = "04 00 03 00 ";

class IrisMode : public CommandBench {
  protected:
    IrisMode()
    {
        set_capture_mode("1080p25");
        params() = {{"Exposure", "auto"},
                    {"ManualGainControl", "no"},
                    {"ManualShutterControl", "no"},
                    {"Shutter", 50},
                    {"Gain", 50},
                    {"Iris", 0}};
    }

    static auto params() -> decltype(FrameworkBench::params) & { return framework().params; }
    std::string set(int mode) { return outcome(ptz_driver_canon_set_iris_mode(driver, mode)); }
};

TEST_F(IrisMode, AutomaticByWhatTheUserControls)
{
    struct {
        const char *exposure, *gain, *shutter, *iris;
        std::string sent;
    } const cases[] = {
        {"auto", "no", "no", nullptr, MODE + "00"},
        {"auto", "no", "no", "yes", MODE + "0B" + IRIS},
        {"auto", "no", "no", "no", MODE + "04" + IRIS},
        {"auto", "yes", "no", nullptr, MODE + "09" + GAIN},
        {"auto", "yes", "no", "no", MODE + "03" + SHUTTER + GAIN + IRIS},
        {"auto", "no", "yes", "yes", MODE + "05" + SHUTTER},
        {"auto", "no", "yes", "no", MODE + "03" + SHUTTER + GAIN + IRIS},
        {"auto", "yes", "yes", nullptr, MODE + "03" + SHUTTER + GAIN + IRIS},
        {"manual", "yes", "yes", nullptr, MODE + "03"}, // no priority, so nothing follows
    };
    for (const auto &c : cases) {
        params()["Exposure"] = c.exposure;
        params()["ManualGainControl"] = c.gain;
        params()["ManualShutterControl"] = c.shutter;
        params().erase("IrisEnabled");
        if (c.iris != nullptr)
            params()["IrisEnabled"] = c.iris;
        now().auto_iris = FALSE;
        EXPECT_EQ(set(1), c.sent);
        EXPECT_TRUE(now().auto_iris);
    }
    EXPECT_EQ(now().exposure_mode, nullptr);
    EXPECT_EQ(driver->parent_instance.iris_mode, 1);
    EXPECT_EQ(set(3), refused("Unsupported ptz iris mode"));
    for (const char *name : {"Exposure", "ManualGainControl", "ManualShutterControl"}) {
        const auto kept = std::exchange(params()[name], 1); // no text
        EXPECT_EQ(set(1), "refused") << name;
        params()[name] = kept;
    }
}

TEST_F(IrisMode, AutomaticByAPriorityOfItsOwn)
{
    model.exposure_auto_manual_modes = TRUE;
    params()["ExposureAutoMode"] = "flickerfree";
    params()["ExposureManualMode"] = 1; // no text
    EXPECT_EQ(set(1), "refused");
    params()["ExposureManualMode"] = "gain";
    EXPECT_EQ(set(1), MODE + "06");
    params()["Exposure"] = "manual";
    EXPECT_EQ(set(1), MODE + "09" + GAIN);
    params()["Exposure"] = "hold";
    EXPECT_EQ(set(1), "refused");
    model.exposure_priority_supported = TRUE; // the stronger of the two
    EXPECT_EQ(set(1), "refused");
    params()["ExposurePriority"] = "motion";
    EXPECT_EQ(set(1), MODE + "07");
    params()["Exposure"] = static_cast<const char *>(nullptr);
    EXPECT_EQ(set(1), refused("Undefined exposure mode and exposure priority"));
}

TEST_F(IrisMode, FollowersHaveASecondName)
{
    params()["ManualGainControl"] = params()["ManualShutterControl"] = "yes";
    params()["Shutter"] = params()["Gain"] = params()["Iris"] = "no number";
    params()["ManualShutter"] = 5556; // a time, not a level
    params()["ManualGain"] = 50;
    params()["IrisPosition"] = 0;
    EXPECT_EQ(set(1), MODE + "03" + SHUTTER + GAIN + IRIS);
    params().erase("ManualGain");
    EXPECT_EQ(set(1), "refused | " + MODE + "03" + SHUTTER +
                          " | error: Faulty type of ImageSource parameter value for ManualGain");
}

TEST_F(IrisMode, ManualKeepsTheExposureWhereItIs)
{
    port.status = StatusRun().set(0xF8, 103, 1, 4).set(0xF8, 104, 1, 19).set(0xF8, 105, 1, 16).bytes();
    // 49 %, which takes the row of 50 %
    EXPECT_EQ(set(2), "04 00 03 03 13 04 00 03 02 04 04 00 03 15 04 04 00 03 04 10");
    EXPECT_EQ(now().iris_zenta, 6250);
    EXPECT_FALSE(now().auto_iris);
    EXPECT_EQ(driver->parent_instance.iris_mode, 2);
}

} // namespace
