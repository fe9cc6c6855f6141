#include "cmd/move_zoom.h"
#include "tests/cmd/command_bench.h"

namespace {

// [Zoom stop][Zoom speed 7], which begin every zoom at full speed.
const std::string FULL_SPEED = "03 00 02 00 04 00 02 03 07 ";
const std::string STOP = "03 00 02 00";

class Zoom : public CommandBench {
  protected:
    Zoom() { driver->max_digital_zoom = 12.0f; }

    std::string moved(int type, double value)
    {
        ptz_driver_canon_cmd_move_zoom(driver, type, motion(type, value).value);
        return outcome(TRUE);
    }
};

using ZoomAbsolute = Zoom;
using ZoomRelative = Zoom;
using ZoomContinuous = Zoom;

TEST_F(ZoomAbsolute, AboveTenThousandUsesTheDigitalRow)
{
    EXPECT_EQ(moved(1, 1), FULL_SPEED + "05 00 02 06 00 00");
    EXPECT_EQ(moved(1, 5000), FULL_SPEED + "05 00 02 06 0E 80"); // 14.5 x 256
    EXPECT_EQ(moved(1, 10000), FULL_SPEED + "05 00 02 06 1D 00");
    EXPECT_EQ(moved(1, 10001), FULL_SPEED + "05 00 02 02 00 00");
    EXPECT_EQ(moved(1, 19999), FULL_SPEED + "05 00 02 02 0B 00"); // 11 x 256
}

TEST_F(ZoomAbsolute, StaysWithinTheLimits)
{
    driver->limit_max_zoom = 9999;
    EXPECT_EQ(moved(1, 15000), FULL_SPEED + "05 00 02 06 1D 00");
    EXPECT_EQ(moved(1, -5), FULL_SPEED + "05 00 02 06 00 00");
    driver->limit_max_zoom = 10000;
    EXPECT_EQ(moved(3, 100), FULL_SPEED + "05 00 02 06 1D 00");
    driver->limit_min_zoom = 10000;
    EXPECT_EQ(moved(3, -100), FULL_SPEED + "05 00 02 02 00 00");
    driver->limit_min_zoom = 9999;
    driver->limit_max_zoom = 1; // crossed: the upper limit wins
    EXPECT_EQ(moved(1, 5000), FULL_SPEED + "05 00 02 06 00 00");
}

TEST_F(ZoomAbsolute, FailureLeavesTheZoomMoving)
{
    EXPECT_EQ(outcome_when_deaf([this] { return ptz_driver_canon_cmd_zoom_absolute(driver, 100); }),
              refused("Failed to execute zoom setup command"));
    EXPECT_EQ(now().zoom_moving, 1);
    now().zoom_moving = 0;
    EXPECT_TRUE(outcome_when_deaf([this] { return moved(3, 50), FALSE; }).starts_with("refused"));
    EXPECT_EQ(now().zoom_moving, 1);
    EXPECT_TRUE(framework().take().empty());
    EXPECT_TRUE(ptz_driver_canon_cmd_zoom_absolute(driver, 100));
    EXPECT_EQ(now().zoom_moving, 0);
    EXPECT_FALSE(framework().take().empty());
}

TEST_F(ZoomRelative, CountsFromThePresentPosition)
{
    now().zoom_zenta = 9000;
    driver->target.zoom_zenta = 1;
    EXPECT_EQ(moved(2, 999), FULL_SPEED + "05 00 02 06 1D 00");
    EXPECT_EQ(moved(2, -0.5), FULL_SPEED + "05 00 02 06 1A 19"); // rounds down to -1: 8999 gives 6681
}

TEST_F(ZoomRelative, ZeroStopsAndRecordsTheMagnification)
{
    port.status = StatusRun().set(0xF8, 79, 1, 0x88).set(0xF8, 88, 2, 15 * 256 + 128).bytes();
    EXPECT_EQ(moved(2, 0.5), STOP);
    EXPECT_EQ(now().zoom_magnification, 15.5f);
    EXPECT_EQ(now().zoom_zenta, 5000);
    driver->max_digital_zoom = -1e30f; // as configured
    port.status = StatusRun().bytes();
    moved(2, 0.5);
    EXPECT_EQ(now().zoom_zenta, -2147483647 - 1);
    EXPECT_EQ(moved(2, -5), FULL_SPEED + "05 00 02 06 00 00"); // stays within the limits
}

TEST_F(ZoomContinuous, SpeedFollowsTheMagnitude)
{
    const std::string tele = " 05 00 02 02 0B 00", speed = STOP + " 04 00 02 03 ";
    EXPECT_EQ(moved(3, 100), speed + "07" + tele);
    EXPECT_EQ(moved(3, 14), speed + "00" + tele);
    EXPECT_EQ(moved(3, 15), speed + "01" + tele);
    EXPECT_EQ(moved(3, 0.25), speed + "00" + tele);
    EXPECT_EQ(moved(3, 200), speed + "0E" + tele);
    EXPECT_EQ(moved(3, -100), speed + "07 05 00 02 06 00 00");
    now().adjustable_zoom_speed = FALSE;
    EXPECT_EQ(moved(3, 14), speed + "07" + tele);
    EXPECT_EQ(moved(3, 0), STOP);
    EXPECT_EQ(moved(0, 5), "");
    EXPECT_EQ(moved(4, 5), "error: Unsupported PTZ move type");
}

} // namespace
