#include "cmd/ptz_driver_canon_cmd_move_pan_tilt.h"
#include "tests/support/driver_fixture.h"

namespace {

const std::string PAN_SPEED = "07 01 02 00 ";
const std::string TILT_SPEED = "07 01 03 00 ";
const std::string PAN_POSITION = "07 01 08 00 ";
const std::string TILT_POSITION = "07 01 09 00 ";
const std::string STOP_PAN = "04 01 05 00 01";
const std::string STOP_TILT = "04 01 05 00 02";

class PanTilt : public DriverBench {
  protected:
    PanTilt()
    {
        make_driver();
        driver->limit_min_pan = -170;
        driver->limit_max_pan = 170;
        driver->limit_min_tilt = -20;
        driver->limit_max_tilt = 90;
        driver->current.response_profile = 1; // the speed as it is asked for
    }

    gboolean move(const PTZMotion &pan, const PTZMotion &tilt, double speed = 0)
    {
        const PTZSpeed at = speed_of(speed);
        return ptz_driver_canon_cmd_move_pan_tilt(driver, &pan, &tilt, &at, 0);
    }

    Lines moved(const PTZMotion &pan, const PTZMotion &tilt, double speed = 0)
    {
        EXPECT_TRUE(move(pan, tilt, speed));
        return port.take_payloads();
    }

    // The speed bytes of a continuous pan to the right.
    std::string continuous_speed(double percent)
    {
        const std::string payload = moved(motion(3, percent), NONE).front();
        return payload.substr(PAN_SPEED.size(), 11);
    }

    static constexpr PTZMotion NONE{0, {0, 0}, 0};
};

using PanTiltAbsolute = PanTilt;
using PanTiltRelative = PanTilt;
using PanTiltContinuous = PanTilt;

TEST_F(PanTiltAbsolute, RowsByTheAxesAsked)
{
    EXPECT_EQ(moved(motion(1, 12.5), NONE), Lines{PAN_SPEED + "00 01 86 A0 " + PAN_POSITION + "00 00 30 D4"});
    EXPECT_EQ(moved(NONE, motion(1, -20)), Lines{TILT_SPEED + "00 01 86 A0 " + TILT_POSITION + "FF FF B1 E0"});
    EXPECT_EQ(moved(motion(1, -170), motion(1, 90), 50),
              Lines{PAN_SPEED + "00 00 27 10 " + TILT_SPEED + "00 00 27 10 0B 01 04 00 FF FD 67 F0 00 01 5F 90"});
}

TEST_F(PanTiltAbsolute, KeepsTargetsModesAndMagnitudes)
{
    moved(motion(1, -33.3), motion(1, 10.9));
    EXPECT_NEAR(driver->target.pan_degree, -33.3f, 0.001f);
    EXPECT_NEAR(driver->target.tilt_degree, 10.9f, 0.001f);
    EXPECT_EQ(driver->current.pan_move_mode, 1);
    EXPECT_EQ(driver->current.tilt_move_mode, 1);
    EXPECT_EQ(driver->current.pan_speed, 33);
    EXPECT_EQ(driver->current.tilt_speed, 10);
    moved(motion(1, 5), NONE);
    EXPECT_EQ(driver->current.tilt_speed, 0); // an axis that was not asked for, too
}

TEST_F(PanTiltAbsolute, SpeedIsAPercentOfTheCurve)
{
    const auto speed_bytes = [this](double percent) {
        return moved(motion(1, 0), NONE, percent).front().substr(PAN_SPEED.size(), 11);
    };
    EXPECT_EQ(speed_bytes(15), "00 00 03 34"); // 820
    EXPECT_EQ(speed_bytes(-15), "00 00 03 34");
    EXPECT_EQ(speed_bytes(52.5), "00 00 3A 98"); // 15000: the gaps are for continuous moves alone
    EXPECT_TRUE(log.take().empty());
    EXPECT_EQ(speed_bytes(0.5), "00 00 00 00");
    EXPECT_EQ(log.take(), (Lines{"warning: The pan tilt speed is not supported."}));
}

TEST_F(PanTiltRelative, CountsFromThePresentPositionWithoutLimits)
{
    driver->current.pan_degree = 165;
    driver->current.tilt_degree = 10;
    EXPECT_EQ(moved(motion(2, 10), motion(2, -5)), Lines{PAN_SPEED + "00 01 86 A0 " + PAN_POSITION + "00 02 AB 98 " +
                                                         TILT_SPEED + "00 01 86 A0 " + TILT_POSITION + "00 00 13 88"});
    EXPECT_EQ(driver->target.pan_degree, 175);
    EXPECT_EQ(driver->target.tilt_degree, 5);
}

TEST_F(PanTiltRelative, ZeroStopsThatAxisPanFirst)
{
    EXPECT_EQ(moved(motion(2, 0), motion(2, 5)),
              Lines{STOP_PAN + " " + TILT_SPEED + "00 01 86 A0 " + TILT_POSITION + "00 00 13 88"});
    EXPECT_EQ(moved(motion(2, 0), motion(2, 0)), Lines{STOP_PAN + " " + STOP_TILT});
}

TEST_F(PanTiltContinuous, DrivesToTheEndTiltFirst)
{
    EXPECT_EQ(moved(motion(3, 5), motion(3, -5)), Lines{TILT_SPEED + "00 00 13 88 " + TILT_POSITION + "FF FF B1 E0 " +
                                                        PAN_SPEED + "00 00 13 88 " + PAN_POSITION + "00 02 98 10"});
    EXPECT_EQ(moved(motion(3, 0), motion(3, 0)), Lines{STOP_TILT + " " + STOP_PAN});
    EXPECT_EQ(driver->current.pan_speed, 5); // a stop does not reset it
    EXPECT_EQ(driver->target.tilt_degree, 0);
    EXPECT_EQ(driver->current.tilt_move_mode, 3);
}

TEST_F(PanTiltContinuous, TheEndIsTheNearerOfLimitAndStop)
{
    const auto end = [this](const PTZMotion &pan, const PTZMotion &tilt) {
        return moved(pan, tilt).front().substr(36);
    };
    driver->limit_min_tilt = -90;
    EXPECT_EQ(end(NONE, motion(3, -30)), "FF FF B1 E0");
    driver->limit_max_pan = 45;
    EXPECT_EQ(end(motion(3, 30), NONE), "00 00 AF C8");
    driver->limit_min_pan = 1; // as before the limits have been read
    EXPECT_EQ(end(motion(3, -30), NONE), "00 00 03 E8");
}

TEST_F(PanTiltContinuous, SkipsTheGapsBetweenTheirBounds)
{
    EXPECT_EQ(continuous_speed(10), "00 00 27 10");
    EXPECT_EQ(continuous_speed(15), "00 00 27 10");
    EXPECT_EQ(continuous_speed(20), "00 00 4E 20");
    EXPECT_EQ(continuous_speed(30), "00 00 59 D8"); // 23000
    EXPECT_EQ(continuous_speed(37), "00 00 90 88");
    EXPECT_EQ(continuous_speed(0.1), "00 00 00 C8"); // at least 200
    EXPECT_EQ(continuous_speed(150), "00 01 86 A0");
}

TEST_F(PanTiltContinuous, ProportionalSpeedFollowsTheFieldOfView)
{
    driver->parent_instance.proportional_speed = 1;
    driver->current.hfov = 60;
    driver->fov_speed_factor = 50;
    EXPECT_EQ(continuous_speed(50), "00 00 27 10");  // 15000 falls into a gap
    EXPECT_EQ(continuous_speed(100), "00 00 59 D8"); // 30000 too
    driver->fov_speed_factor = 0;
    EXPECT_EQ(continuous_speed(100), "00 00 00 C8");
    driver->current.hfov = -1; // no status yet
    driver->fov_speed_factor = 100;
    EXPECT_EQ(continuous_speed(100), "00 00 00 C8");
}

TEST_F(PanTiltContinuous, ResponseProfileShapesTheSpeed)
{
    driver->current.response_profile = 0;
    EXPECT_EQ(continuous_speed(50), "00 00 50 DB"); // 20699
    EXPECT_EQ(driver->current.pan_speed, 20);
    EXPECT_EQ(continuous_speed(100), "00 01 86 A0");
}

TEST_F(PanTilt, MixedTypesAreRefused)
{
    EXPECT_FALSE(move(motion(1, 1), motion(2, 1)));
    EXPECT_EQ(log.take(), (Lines{"error: Move modes for pan (1) and tilt (2) is not compatible"}));
    EXPECT_TRUE(framework().take().empty());
}

TEST_F(PanTilt, WithoutAnAxisItPublishesAndReturnsFalse)
{
    EXPECT_FALSE(move(NONE, NONE));
    EXPECT_FALSE(move(motion(4, 1), NONE));
    EXPECT_FALSE(framework().take().empty());
    EXPECT_TRUE(port.packets.empty());
    EXPECT_EQ(port.reads, 0);
}

TEST_F(PanTilt, FailureKeepsTheTargetsAndPublishes)
{
    port.deaf = true;
    driver->cmd_retries = 1;
    driver->target.pan_degree = 3;
    EXPECT_FALSE(move(motion(1, 50), NONE));
    EXPECT_EQ(log.take().back(), "error: Failed to execute pan/tilt setup command");
    EXPECT_EQ(driver->target.pan_degree, 3);
    EXPECT_EQ(driver->current.pan_move_mode, 0);
    EXPECT_EQ(driver->current.pan_speed, 50);
    EXPECT_FALSE(framework().take().empty());
}

TEST_F(PanTilt, Responsiveness)
{
    EXPECT_NEAR(ptz_driver_canon_apply_responsiveness(50.0f, 0.8f), 20.6999f, 0.001f);
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(50.0f, 1.0f), 50.0f);
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(0.5f, 0.8f), 0.5f);
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(101.0f, 0.8f), 101.0f);
    EXPECT_NEAR(ptz_driver_canon_apply_responsiveness(100.0f, 0.8f), 100.0f, 0.0001f);
    EXPECT_TRUE(log.take().empty());
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(50.0f, 1.1f), 50.0f);
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(-5.0f, 0.5f), -5.0f);
    EXPECT_EQ(log.take(), (Lines{"error: Invalid responsiveness", "error: Input speed is not absolute value"}));
}

} // namespace
