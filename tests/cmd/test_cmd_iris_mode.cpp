#include "cmd/ptz_driver_canon_cmd_iris_mode.h"
#include "tests/cmd/command_bench.h"

namespace {

const std::string SHUTTER = "04 00 03 03 1E";             // 50 %
const std::string GAIN = "04 00 03 04 10";                // 50 %
const std::string IRIS = "04 00 03 02 04 04 00 03 15 04"; // wide open
const std::string FAULTY = "error: Faulty type of ImageSource parameter value for ";

std::string mode(const char *code)
{
    return std::string("04 00 03 00 ") + code;
}

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
    Lines automatic()
    {
        EXPECT_TRUE(ptz_driver_canon_set_iris_mode(driver, 1));
        return port.take_payloads();
    }
};

TEST_F(IrisMode, AutomaticByWhatTheUserControls)
{
    struct {
        const char *exposure, *gain, *shutter, *iris;
        Lines payloads;
    } const cases[] = {
        {"auto", "no", "no", nullptr, {mode("00")}},
        {"auto", "no", "no", "yes", {mode("0B"), IRIS}},
        {"auto", "no", "no", "no", {mode("04"), IRIS}},
        {"auto", "yes", "no", nullptr, {mode("09"), GAIN}},
        {"auto", "yes", "no", "no", {mode("03"), SHUTTER, GAIN, IRIS}},
        {"auto", "no", "yes", "yes", {mode("05"), SHUTTER}},
        {"auto", "no", "yes", "no", {mode("03"), SHUTTER, GAIN, IRIS}},
        {"auto", "yes", "yes", nullptr, {mode("03"), SHUTTER, GAIN, IRIS}},
        {"manual", "yes", "yes", nullptr, {mode("03")}}, // no priority, so nothing follows
    };
    for (const auto &c : cases) {
        params()["Exposure"] = c.exposure;
        params()["ManualGainControl"] = c.gain;
        params()["ManualShutterControl"] = c.shutter;
        params().erase("IrisEnabled");
        if (c.iris != nullptr)
            params()["IrisEnabled"] = c.iris;
        now().auto_iris = FALSE;
        EXPECT_EQ(automatic(), c.payloads) << c.payloads.front();
        EXPECT_TRUE(now().auto_iris);
    }
    EXPECT_EQ(now().exposure_mode, nullptr);
    EXPECT_EQ(driver->parent_instance.iris_mode, 1);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(IrisMode, AutomaticByAPriorityOfItsOwn)
{
    model.exposure_auto_manual_modes = TRUE;
    params()["ExposureAutoMode"] = "flickerfree";
    params()["ExposureManualMode"] = "gain";
    EXPECT_EQ(automatic(), (Lines{mode("06")}));
    params()["Exposure"] = "manual";
    EXPECT_EQ(automatic(), (Lines{mode("09"), GAIN}));
    params()["Exposure"] = "hold";
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1));
    model.exposure_priority_supported = TRUE; // the stronger of the two
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1));
    params()["ExposurePriority"] = "motion";
    EXPECT_EQ(automatic(), (Lines{mode("07")}));
    EXPECT_EQ(log.take(), Lines{});
    params()["Exposure"] = static_cast<const char *>(nullptr);
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1));
    EXPECT_EQ(log.take(), (Lines{"error: Undefined exposure mode and exposure priority"}));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(IrisMode, FollowersHaveASecondName)
{
    params()["ManualGainControl"] = params()["ManualShutterControl"] = "yes";
    params()["Shutter"] = params()["Gain"] = params()["Iris"] = "no number";
    params()["ManualShutter"] = 5556; // a time, not a level
    params()["ManualGain"] = 50;
    params()["IrisPosition"] = 0;
    EXPECT_EQ(automatic(), (Lines{mode("03"), SHUTTER, GAIN, IRIS}));
    params().erase("ManualGain");
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1));
    EXPECT_EQ(port.take_payloads(), (Lines{mode("03"), SHUTTER}));
    EXPECT_EQ(log.take(), (Lines{FAULTY + "ManualGain"}));
}

TEST_F(IrisMode, MissingParametersSendNothing)
{
    for (const char *name : {"Exposure", "ManualGainControl", "ManualShutterControl"}) {
        const auto kept = params();
        params()[name] = 1;
        EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1)) << name;
        params() = kept;
    }
    EXPECT_EQ(port.attempts, 0);
    EXPECT_EQ(log.take(), Lines{});
    port.deaf = true;
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 1));
    EXPECT_EQ(log.take().back(), "error: Failed to send exposure mode setup command");
}

TEST_F(IrisMode, ManualKeepsTheExposureWhereItIs)
{
    port.status = StatusRun().set(0xF8, 103, 1, 4).set(0xF8, 104, 1, 19).set(0xF8, 105, 1, 16).bytes();
    EXPECT_TRUE(ptz_driver_canon_set_iris_mode(driver, 2));
    EXPECT_EQ(now().iris_zenta, 6250);
    EXPECT_FALSE(now().auto_iris);
    EXPECT_EQ(driver->parent_instance.iris_mode, 2);
    // 49 %, which takes the row of 50 %
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 03 03 13 " + IRIS + " " + GAIN}));
}

TEST_F(IrisMode, OthersAreRefused)
{
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(driver, 3));
    EXPECT_FALSE(ptz_driver_canon_set_iris_mode(nullptr, 1));
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported ptz iris mode", guard_line("ptz_driver_canon_set_iris_mode", "self")}));
}

} // namespace
