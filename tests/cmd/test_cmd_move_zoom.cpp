#include "cmd/ptz_driver_canon_cmd_move_zoom.h"
#include "tests/support/driver_fixture.h"

namespace {

// [Zoom stop][Zoom speed 7], which begin every zoom at full speed.
const std::string FULL_SPEED = "03 00 02 00 04 00 02 03 07 ";

class Zoom : public DriverBench {
  protected:
    Zoom()
    {
        make_driver();
        driver->max_digital_zoom = 12.0f;
    }

    void move(int type, double value) { ptz_driver_canon_cmd_move_zoom(driver, type, motion(type, value).value); }
    Lines moved(int type, double value)
    {
        move(type, value);
        return port.take_payloads();
    }
};

using ZoomAbsolute = Zoom;
using ZoomRelative = Zoom;
using ZoomContinuous = Zoom;

TEST_F(ZoomAbsolute, OpticalRangeGoesByMagnification)
{
    EXPECT_EQ(moved(1, 1), Lines{FULL_SPEED + "05 00 02 06 00 00"});
    EXPECT_EQ(moved(1, 5000), Lines{FULL_SPEED + "05 00 02 06 0E 80"}); // 14.5 x 256
    EXPECT_EQ(moved(1, 9999), Lines{FULL_SPEED + "05 00 02 06 1D 00"}); // 29 x 256
}

TEST_F(ZoomAbsolute, AboveTenThousandUsesTheDigitalRow)
{
    EXPECT_EQ(moved(1, 10000), Lines{FULL_SPEED + "05 00 02 06 1D 00"});
    EXPECT_EQ(moved(1, 10001), Lines{FULL_SPEED + "05 00 02 02 00 00"});
    EXPECT_EQ(moved(1, 19999), Lines{FULL_SPEED + "05 00 02 02 0B 00"}); // 11 x 256
}

TEST_F(ZoomAbsolute, StaysWithinTheLimits)
{
    driver->limit_max_zoom = 9999;
    EXPECT_EQ(moved(1, 15000), Lines{FULL_SPEED + "05 00 02 06 1D 00"});
    EXPECT_EQ(moved(1, -5), Lines{FULL_SPEED + "05 00 02 06 00 00"});
    driver->limit_min_zoom = 9999;
    driver->limit_max_zoom = 1; // crossed: the upper limit wins
    EXPECT_EQ(moved(1, 5000), Lines{FULL_SPEED + "05 00 02 06 00 00"});
}

TEST_F(ZoomAbsolute, FailureLeavesTheZoomMoving)
{
    port.deaf = true;
    driver->cmd_retries = 1;
    EXPECT_FALSE(ptz_driver_canon_cmd_zoom_absolute(driver, 100));
    EXPECT_EQ(driver->current.zoom_moving, 1);
    EXPECT_EQ(log.take().back(), "error: Failed to execute zoom setup command");
    EXPECT_TRUE(framework().take().empty());

    port.deaf = false;
    EXPECT_TRUE(ptz_driver_canon_cmd_zoom_absolute(driver, 100));
    EXPECT_EQ(driver->current.zoom_moving, 0);
    EXPECT_FALSE(framework().take().empty());
}

TEST_F(ZoomRelative, CountsFromThePresentPosition)
{
    driver->current.zoom_zenta = 9000;
    driver->target.zoom_zenta = 1;
    EXPECT_EQ(moved(2, 999), Lines{FULL_SPEED + "05 00 02 06 1D 00"});
    EXPECT_EQ(moved(2, -0.5), Lines{FULL_SPEED + "05 00 02 06 1A 19"}); // rounds down to -1: 8999 gives 6681
}

TEST_F(ZoomRelative, ZeroStopsAndRecordsTheMagnification)
{
    port.status = StatusRun().set(0xF8, 79, 1, 0x88).set(0xF8, 88, 2, 15 * 256 + 128).bytes();
    EXPECT_EQ(moved(2, 0.5), Lines{"03 00 02 00"});
    EXPECT_EQ(driver->current.zoom_magnification, 15.5f);
    EXPECT_EQ(driver->current.zoom_zenta, 5000);
}

TEST_F(ZoomRelative, AnImpossibleDigitalZoomStaysWithinTheLimits)
{
    driver->max_digital_zoom = -1e30f; // as configured
    EXPECT_EQ(moved(2, 0.5), Lines{"03 00 02 00"});
    EXPECT_EQ(driver->current.zoom_zenta, -2147483647 - 1);
    EXPECT_EQ(moved(2, -5), Lines{FULL_SPEED + "05 00 02 06 00 00"});
}

TEST_F(ZoomContinuous, SpeedFollowsTheMagnitude)
{
    const std::string tele = "05 00 02 02 0B 00";
    EXPECT_EQ(moved(3, 100), Lines{"03 00 02 00 04 00 02 03 07 " + tele});
    EXPECT_EQ(moved(3, 14), Lines{"03 00 02 00 04 00 02 03 00 " + tele});
    EXPECT_EQ(moved(3, 15), Lines{"03 00 02 00 04 00 02 03 01 " + tele});
    EXPECT_EQ(moved(3, 0.25), Lines{"03 00 02 00 04 00 02 03 00 " + tele});
    EXPECT_EQ(moved(3, 200), Lines{"03 00 02 00 04 00 02 03 0E " + tele});
    EXPECT_EQ(moved(3, -100), Lines{"03 00 02 00 04 00 02 03 07 05 00 02 06 00 00"});
    driver->current.adjustable_zoom_speed = FALSE;
    EXPECT_EQ(moved(3, 14), Lines{"03 00 02 00 04 00 02 03 07 " + tele});
    EXPECT_EQ(moved(3, 0), Lines{"03 00 02 00"});
}

TEST_F(ZoomContinuous, DigitalRowAtTheLimitsOfExactlyTenThousand)
{
    driver->limit_max_zoom = 10000;
    EXPECT_EQ(moved(3, 100), Lines{FULL_SPEED + "05 00 02 06 1D 00"});
    driver->limit_min_zoom = 10000;
    EXPECT_EQ(moved(3, -100), Lines{FULL_SPEED + "05 00 02 02 00 00"});
}

TEST_F(Zoom, OtherTypesOfMove)
{
    move(0, 5);
    EXPECT_TRUE(log.take().empty());
    move(4, 5);
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported PTZ move type"}));
    EXPECT_TRUE(port.packets.empty());
}

} // namespace
