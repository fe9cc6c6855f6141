#include "cmd/brightness.h"
#include "cmd/move_brightness.h"
#include "tests/cmd/command_bench.h"

namespace {

class Brightness : public CommandBench {
  protected:
    std::string level(unsigned value) { return outcome(ptz_driver_canon_cmd_brightness(driver, value)); }
    std::string backlight(int mode) { return outcome(ptz_driver_canon_cmd_backlight_compensation(driver, mode)); }
    std::string moved(int type, int value)
    {
        return outcome(ptz_driver_canon_cmd_move_brightness(driver, type, value));
    }
    std::string moved_from(int position, int by)
    {
        now().brightness_zenta = position;
        return moved(2, by);
    }

    static std::string step(const char *byte) { return std::string("04 00 03 01 ") + byte; }
};

using BrightnessMove = Brightness;
using Backlight = Brightness;

TEST_F(Brightness, LevelIsKeptAsStepAndAsPosition)
{
    struct {
        unsigned level;
        int step, position;
    } const cases[] = {{0, -8, 1}, {1, -7, 100}, {49, 0, 4900}, {51, 0, 5099}, {99, 7, 9899}, {100, 8, 9999}};
    for (const auto &c : cases) {
        port.deaf = c.level >= 99; // also when it could not be sent
        level(c.level);
        EXPECT_EQ(now().brightness_level, c.step) << c.level;
        EXPECT_EQ(now().brightness_zenta, c.position) << c.level;
        EXPECT_EQ(driver->target.brightness_zenta, c.position) << c.level;
    }
    EXPECT_EQ(port.reads, 4); // a refresh after each that was sent
    level(101);
    EXPECT_EQ(now().brightness_level, 8);
}

TEST_F(Backlight, LiftsTheLastBrightness)
{
    level(25); // -4
    EXPECT_EQ(backlight(1), step("02"));
    EXPECT_EQ(backlight(1), ""); // already on
    EXPECT_EQ(level(50), step("06"));
    EXPECT_EQ(level(100), step("08"));
    EXPECT_EQ(now().brightness_level, 8); // kept without the lift
    EXPECT_EQ(level(0), step("FE"));
    EXPECT_EQ(backlight(2), step("F8"));
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_backlight_compensation(driver, 1); }),
              refused("Failed to send backlight compensation setup command"));
    EXPECT_TRUE(now().backlight_on);
    now().backlight_on = FALSE;
    EXPECT_EQ(backlight(7), ""); // whatever is not on compares as off
    Life::stop(driver);
    EXPECT_EQ(backlight(7), refused("Unsupported backlight compensation mode"));
    EXPECT_EQ(backlight(2), step("F8")); // before start-up it is sent again
}

TEST_F(BrightnessMove, AbsoluteIsNotKeptInRange)
{
    EXPECT_EQ(moved(1, 1), step("F8"));
    EXPECT_EQ(moved(1, 5000), step("00"));
    EXPECT_EQ(moved(1, 9999), step("08"));
    EXPECT_EQ(moved(1, 32767), step("2C")); // 327 %
    EXPECT_EQ(now().brightness_level, 44);
    EXPECT_EQ(moved(1, -32768), step("C4")); // -327 %: -60.32
    now().backlight_on = TRUE;
    EXPECT_EQ(moved(1, 7500), step("08")); // 75 %: 4, lifted as far as it goes
    EXPECT_EQ(now().brightness_level, 4);
}

TEST_F(BrightnessMove, RelativeCountsFromThePresentPositionInRange)
{
    EXPECT_EQ(moved_from(5000, 2500), step("04")); // 75 %
    EXPECT_EQ(moved_from(5000, 9000), step("08"));
    EXPECT_EQ(moved_from(5000, -9000), step("F8"));
    EXPECT_EQ(moved_from(2147483647, 1), step("08"));
    EXPECT_EQ(moved_from(-1, 2), step("F8")); // not known
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

    driver->target.brightness_zenta = 88;
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_move_brightness(driver, 1, 9999); }),
              refused("Failed to execute brightness command"));
    EXPECT_EQ(now().brightness_zenta, 77);
    EXPECT_EQ(now().brightness_level, 8);
    EXPECT_EQ(now().brightness_moving, 0);
}

TEST_F(BrightnessMove, OtherTypesAreRefusedAndLeaveItMoving)
{
    for (const int type : {0, 3, 4}) {
        now().brightness_moving = 0;
        EXPECT_EQ(moved(type, 5), refused("Unsupported PTZ move type"));
        EXPECT_EQ(now().brightness_moving, 1);
        EXPECT_FALSE(framework().take().empty()); // published
    }
    model.brightness_range = nullptr;
    EXPECT_EQ(moved(1, 5), refused_by("ptz_driver_canon_cmd_move_brightness", "self->cam_model->brightness_range"));
}

TEST_F(BrightnessMove, ManualExposureGoesBackToAutomaticFirst)
{
    now().auto_iris = FALSE;
    driver->parent_instance.iris_mode = 2;
    framework().params = {{"Exposure", "auto"}, {"ManualGainControl", "no"}, {"ManualShutterControl", "no"}};
    EXPECT_EQ(moved(1, 9999), "04 00 03 00 00 | " + step("08"));
    EXPECT_TRUE(now().auto_iris);
    EXPECT_EQ(driver->parent_instance.iris_mode, 1);
}

} // namespace
