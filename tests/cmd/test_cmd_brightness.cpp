#include "cmd/ptz_driver_canon_cmd_brightness.h"
#include "tests/cmd/command_bench.h"

namespace {

class Brightness : public CommandBench {
  protected:
    Lines moved(int type, int value)
    {
        EXPECT_TRUE(ptz_driver_canon_cmd_move_brightness(driver, type, value));
        return port.take_payloads();
    }
};

using BrightnessMove = Brightness;
using Backlight = Brightness;

std::string step(const char *byte)
{
    return std::string("04 00 03 01 ") + byte;
}

TEST_F(Brightness, LevelIsKeptAsStepAndAsPosition)
{
    struct {
        unsigned level;
        int step, position;
    } const cases[] = {{0, -8, 1},    {1, -7, 100},  {49, 0, 4900}, {50, 0, 5000},
                       {51, 0, 5099}, {99, 7, 9899}, {100, 8, 9999}};
    for (const auto &c : cases) {
        EXPECT_TRUE(ptz_driver_canon_cmd_brightness(driver, c.level));
        EXPECT_EQ(now().brightness_level, c.step) << c.level;
        EXPECT_EQ(now().brightness_zenta, c.position) << c.level;
        EXPECT_EQ(driver->target.brightness_zenta, c.position) << c.level;
    }
    EXPECT_EQ(port.reads, 7); // a refresh after each
}

TEST_F(Brightness, FailureKeepsWhatWasAskedFor)
{
    port.deaf = true;
    EXPECT_FALSE(ptz_driver_canon_cmd_brightness(driver, 100));
    EXPECT_EQ(now().brightness_level, 8);
    EXPECT_EQ(now().brightness_zenta, 9999);
    EXPECT_EQ(driver->target.brightness_zenta, 9999);
    EXPECT_EQ(port.reads, 0);
    EXPECT_FALSE(ptz_driver_canon_cmd_brightness(driver, 101));
    EXPECT_EQ(now().brightness_level, 8);
}

TEST_F(Backlight, LiftsTheLastBrightness)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_brightness(driver, 25)); // -4
    EXPECT_TRUE(ptz_driver_canon_cmd_backlight_compensation(driver, 1));
    EXPECT_TRUE(ptz_driver_canon_cmd_backlight_compensation(driver, 1)); // already on
    EXPECT_TRUE(ptz_driver_canon_cmd_brightness(driver, 50));
    EXPECT_TRUE(ptz_driver_canon_cmd_brightness(driver, 100));
    EXPECT_EQ(now().brightness_level, 8); // kept without the lift
    EXPECT_TRUE(ptz_driver_canon_cmd_brightness(driver, 0));
    EXPECT_TRUE(ptz_driver_canon_cmd_backlight_compensation(driver, 2));
    EXPECT_EQ(port.take_payloads(), (Lines{step("FC"), step("02"), step("06"), step("08"), step("FE"), step("F8")}));
}

TEST_F(Backlight, OnlyOnOrOffIsComparedBeforeTheModeIsLookedAt)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_backlight_compensation(driver, 7));
    driver->driver_initialized = FALSE;
    EXPECT_FALSE(ptz_driver_canon_cmd_backlight_compensation(driver, 7));
    EXPECT_FALSE(ptz_driver_canon_cmd_backlight_compensation(nullptr, 1));
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported backlight compensation mode",
                                 guard_line("ptz_driver_canon_cmd_backlight_compensation", "self")}));
    EXPECT_TRUE(port.packets.empty());
    EXPECT_TRUE(ptz_driver_canon_cmd_backlight_compensation(driver, 2)); // before start-up it is sent again
    EXPECT_EQ(port.take_payloads(), (Lines{step("00")}));
}

TEST_F(Backlight, FailureKeepsTheState)
{
    port.deaf = true;
    EXPECT_FALSE(ptz_driver_canon_cmd_backlight_compensation(driver, 1));
    EXPECT_TRUE(now().backlight_on);
    EXPECT_EQ(log.take().back(), "error: Failed to send backlight compensation setup command");
}

TEST_F(BrightnessMove, AbsoluteIsNotKeptInRange)
{
    EXPECT_EQ(moved(1, 1), Lines{step("F8")});
    EXPECT_EQ(moved(1, 5000), Lines{step("00")});
    EXPECT_EQ(moved(1, 9999), Lines{step("08")});
    EXPECT_EQ(moved(1, 32767), Lines{step("2C")}); // 327 %
    EXPECT_EQ(now().brightness_level, 44);
    EXPECT_EQ(moved(1, -32768), Lines{step("C4")}); // -327 %: -60.32
    now().backlight_on = TRUE;
    EXPECT_EQ(moved(1, 7500), Lines{step("08")}); // 75 %: 4, lifted as far as it goes
    EXPECT_EQ(now().brightness_level, 4);
}

TEST_F(BrightnessMove, RelativeCountsFromThePresentPositionInRange)
{
    now().brightness_zenta = 5000;
    EXPECT_EQ(moved(2, 2500), Lines{step("04")}); // 75 %
    now().brightness_zenta = 5000;
    EXPECT_EQ(moved(2, 9000), Lines{step("08")});
    now().brightness_zenta = 5000;
    EXPECT_EQ(moved(2, -9000), Lines{step("F8")});
    now().brightness_zenta = 2147483647;
    EXPECT_EQ(moved(2, 1), Lines{step("08")});
    now().brightness_zenta = -1; // not known
    EXPECT_EQ(moved(2, 2), Lines{step("F8")});
}

TEST_F(BrightnessMove, RecordsTheTargetAndPublishes)
{
    driver->target.brightness_zenta = 77;
    moved(1, 5000);
    EXPECT_EQ(now().brightness_zenta, 77);
    EXPECT_EQ(now().brightness_moving, 0);
    EXPECT_EQ(port.reads, 1);
    const Lines calls = framework().take();
    EXPECT_EQ(calls.front(), "report -1 -1 -1 -1 -1 1 results 0 0 words 1 13"); // moving first
    EXPECT_TRUE(std::count(calls.begin(), calls.end(), "report -1 -1 -1 -1 -1 0 results 0 0 words 1 13"));

    port.deaf = true;
    driver->target.brightness_zenta = 88;
    EXPECT_FALSE(ptz_driver_canon_cmd_move_brightness(driver, 1, 9999));
    EXPECT_EQ(log.take().back(), "error: Failed to execute brightness command");
    EXPECT_EQ(now().brightness_zenta, 77);
    EXPECT_EQ(now().brightness_level, 8);
    EXPECT_EQ(now().brightness_moving, 0);
}

TEST_F(BrightnessMove, OtherTypesAreRefusedAndLeaveItMoving)
{
    for (const int type : {0, 3, 4, -1}) {
        now().brightness_moving = 0;
        EXPECT_FALSE(ptz_driver_canon_cmd_move_brightness(driver, type, 5));
        EXPECT_EQ(now().brightness_moving, 1);
        EXPECT_EQ(log.take(), (Lines{"error: Unsupported PTZ move type"}));
        EXPECT_FALSE(framework().take().empty());
    }
    model.brightness_range = nullptr;
    EXPECT_FALSE(ptz_driver_canon_cmd_move_brightness(driver, 1, 5));
    EXPECT_FALSE(ptz_driver_canon_cmd_move_brightness(nullptr, 1, 5));
    constexpr const char *MOVE = "ptz_driver_canon_cmd_move_brightness";
    EXPECT_EQ(log.take(), (Lines{guard_line(MOVE, "self->cam_model->brightness_range"), guard_line(MOVE, "self")}));
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(BrightnessMove, ManualExposureGoesBackToAutomaticFirst)
{
    now().auto_iris = FALSE;
    driver->parent_instance.iris_mode = 2;
    framework().params = {{"Exposure", "auto"}, {"ManualGainControl", "no"}, {"ManualShutterControl", "no"}};
    EXPECT_EQ(moved(1, 9999), (Lines{"04 00 03 00 00", step("08")}));
    EXPECT_TRUE(now().auto_iris);
    EXPECT_EQ(driver->parent_instance.iris_mode, 1);
    framework().params.clear(); // nothing to go back to: the brightness is sent all the same
    now().auto_iris = FALSE;
    EXPECT_EQ(moved(1, 9999), (Lines{step("08")}));
    EXPECT_TRUE(now().auto_iris);
}

} // namespace
