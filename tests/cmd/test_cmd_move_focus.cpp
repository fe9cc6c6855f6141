#include "cmd/ptz_driver_canon_cmd_move_focus.h"
#include "tests/cmd/command_bench.h"

namespace {

class FocusMove : public CommandBench {
  protected:
    FocusMove() { now().focus_zenta = 5000; }

    Lines moved(int type, int value)
    {
        EXPECT_TRUE(ptz_driver_canon_cmd_move_focus(driver, type, value));
        return port.take_payloads();
    }
};

TEST_F(FocusMove, AbsoluteGoesToThePosition)
{
    EXPECT_EQ(moved(1, 1), Lines{"05 00 01 01 08 00"});    // 2048
    EXPECT_EQ(moved(1, 9999), Lines{"05 00 01 01 04 78"}); // 1144: the camera block counts downwards
    EXPECT_EQ(driver->target.focus_zenta, 9999);
    EXPECT_EQ(moved(1, 5000), Lines{"05 00 01 01 06 3C"}); // 1596, though that is where it is
    EXPECT_EQ(port.reads, 3);
    EXPECT_EQ(now().focus_moving, 0);
}

TEST_F(FocusMove, RelativeCountsFromThePresentPositionInRange)
{
    EXPECT_EQ(moved(2, 9000), Lines{"05 00 01 01 04 78"});
    EXPECT_EQ(driver->target.focus_zenta, 9999);
    EXPECT_EQ(moved(2, -9000), Lines{"05 00 01 01 08 00"});
    EXPECT_EQ(driver->target.focus_zenta, 1);
    EXPECT_EQ(moved(2, 1), Lines{"05 00 01 01 06 3B"}); // 5001: 1595.9
    EXPECT_EQ(moved(2, 0), Lines{"04 00 01 00 01"});
    EXPECT_EQ(driver->target.focus_zenta, 0);
}

TEST_F(FocusMove, ContinuousDrivesAtTheMagnitude)
{
    EXPECT_EQ(moved(3, 100), Lines{"04 00 01 03 07 04 00 01 00 02"});
    EXPECT_EQ(moved(3, -15), Lines{"04 00 01 03 01 04 00 01 00 03"});
    EXPECT_EQ(moved(3, 14), Lines{"04 00 01 03 00 04 00 01 00 02"});
    driver->target.focus_zenta = 7;
    EXPECT_EQ(moved(3, 0), Lines{"04 00 01 00 01"});
    EXPECT_EQ(driver->target.focus_zenta, -1);
}

TEST_F(FocusMove, SwitchesAutoFocusOffFirst)
{
    now().auto_focus = TRUE;
    now().focus_manual_mode = 5;
    EXPECT_EQ(moved(1, 1), (Lines{"04 00 01 00 05", "05 00 01 01 08 00"}));
    EXPECT_FALSE(now().auto_focus);
    EXPECT_EQ(driver->target.focus_zenta, 1);
}

TEST_F(FocusMove, FailureLeavesItMovingWithItsOldTarget)
{
    port.deaf = true;
    driver->target.focus_zenta = 12;
    EXPECT_FALSE(ptz_driver_canon_cmd_move_focus(driver, 1, 1));
    EXPECT_EQ(log.take().back(), "error: Failed to execute focus command");
    EXPECT_EQ(now().focus_moving, 1);
    EXPECT_EQ(driver->target.focus_zenta, 12);
    EXPECT_EQ(port.reads, 0);
}

TEST_F(FocusMove, OtherTypesAreRefusedAndLeaveItMoving)
{
    for (const int type : {0, 4}) {
        now().focus_moving = 0;
        EXPECT_FALSE(ptz_driver_canon_cmd_move_focus(driver, type, 5));
        EXPECT_EQ(now().focus_moving, 1);
        EXPECT_EQ(log.take(), (Lines{"error: Unsupported PTZ move type"}));
        // Published before the flag was set.
        EXPECT_EQ(framework().take().front(), "report -1 -1 -1 0 -1 0 results 0 0 words 1 13");
    }
    EXPECT_TRUE(port.packets.empty());
}

} // namespace
