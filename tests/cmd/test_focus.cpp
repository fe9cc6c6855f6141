#include "cmd/focus.h"
#include "cmd/move_focus.h"
#include "tests/cmd/command_bench.h"

namespace {

class AutoFocus : public CommandBench {
  protected:
    std::string set(int mode) { return outcome(ptz_driver_canon_cmd_auto_focus(driver, mode)); }
};

TEST_F(AutoFocus, SwitchesOnOnceAndOffToTheManualMode)
{
    EXPECT_EQ(set(1), "04 00 01 00 00");
    EXPECT_EQ(port.reads, 1);
    EXPECT_EQ(driver->parent_instance.focus_mode, 1);
    EXPECT_EQ(driver->target.focus_zenta, -1);
    EXPECT_TRUE(now().auto_focus);
    EXPECT_EQ(now().focus_moving, -1);
    EXPECT_FALSE(framework().take().empty()); // published
    EXPECT_EQ(set(1), "");
    now().focus_manual_mode = 4;
    EXPECT_EQ(set(2), "04 00 01 00 04");
    EXPECT_FALSE(now().auto_focus);
}

TEST_F(AutoFocus, OnlyOnOrOffIsComparedBeforeTheModeIsLookedAt)
{
    EXPECT_EQ(set(7), "");
    now().auto_focus = TRUE;
    EXPECT_EQ(set(7), refused("Unsupported auto focus mode"));
    EXPECT_TRUE(framework().take().empty()); // not published
    Life::stop(driver);                      // warns and holds true
    EXPECT_EQ(set(1), guard_line("ptz_driver_canon_cmd_auto_focus", "self->driver_initialized"));
}

TEST_F(AutoFocus, ManualModeIsKeptEvenWhenItCouldNotBeSent)
{
    port.deaf = true;
    EXPECT_FALSE(ptz_driver_canon_cmd_focus_manual_mode(driver, "push"));
    EXPECT_EQ(now().focus_manual_mode, 5);
    now().auto_focus = TRUE;
    EXPECT_TRUE(ptz_driver_canon_cmd_focus_manual_mode(driver, "inf"));
    EXPECT_EQ(now().focus_manual_mode, 5);
    EXPECT_EQ(port.attempts, 1);
    EXPECT_TRUE(set(2).ends_with("| error: Failed to auto focus mode setup command"));
    EXPECT_TRUE(now().auto_focus);
}

class FocusMove : public CommandBench {
  protected:
    FocusMove() { now().focus_zenta = 5000; }

    std::string moved(int type, int value) { return outcome(ptz_driver_canon_cmd_move_focus(driver, type, value)); }
};

TEST_F(FocusMove, SendsPositionsOrDrives)
{
    struct {
        int type, value;
        const char *sent;
        int target;
    } const cases[] = {
        {1, 1, "05 00 01 01 08 00", 1},       // 2048
        {1, 9999, "05 00 01 01 04 78", 9999}, // 1144: the camera block counts downwards
        {1, 5000, "05 00 01 01 06 3C", 5000}, // 1596, though that is where it is
        {2, 9000, "05 00 01 01 04 78", 9999}, // relative ones stay in range
        {2, -9000, "05 00 01 01 08 00", 1},
        {2, 1, "05 00 01 01 06 3B", 5001}, // 1595.9
        {2, 0, "04 00 01 00 01", 0},
        {3, 100, "04 00 01 03 07 04 00 01 00 02", -1},
        {3, -15, "04 00 01 03 01 04 00 01 00 03", -1},
        {3, 14, "04 00 01 03 00 04 00 01 00 02", -1},
        {3, 0, "04 00 01 00 01", -1},
    };
    for (const auto &c : cases) {
        driver->target.focus_zenta = 7;
        port.reads = 0;
        EXPECT_EQ(moved(c.type, c.value), c.sent) << c.type << " " << c.value;
        EXPECT_EQ(driver->target.focus_zenta, c.target) << c.type << " " << c.value;
        EXPECT_EQ(now().focus_moving, 0);
        EXPECT_EQ(port.reads, 1);
    }
}

TEST_F(FocusMove, SwitchesAutoFocusOffFirst)
{
    now().auto_focus = TRUE;
    now().focus_manual_mode = 5;
    EXPECT_EQ(moved(1, 1), "04 00 01 00 05 | 05 00 01 01 08 00");
    EXPECT_FALSE(now().auto_focus);
    EXPECT_EQ(driver->target.focus_zenta, 1);
}

TEST_F(FocusMove, FailureAndOtherTypesLeaveItMovingWithItsOldTarget)
{
    driver->target.focus_zenta = 12;
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_move_focus(driver, 1, 1); }),
              refused("Failed to execute focus command"));
    EXPECT_EQ(now().focus_moving, 1);
    for (const int type : {0, 4}) {
        now().focus_moving = 0;
        framework().take();
        EXPECT_EQ(moved(type, 5), refused("Unsupported PTZ move type"));
        EXPECT_EQ(now().focus_moving, 1);
        // Published before the flag was set.
        EXPECT_EQ(framework().take().front(), "report -1 -1 -1 0 -1 0 results 0 0 words 1 13");
    }
    EXPECT_EQ(driver->target.focus_zenta, 12);
    EXPECT_EQ(port.reads, 0);
}

} // namespace
