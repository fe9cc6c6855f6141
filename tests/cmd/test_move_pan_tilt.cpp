#include "cmd/move_pan_tilt.h"
#include "tests/cmd/command_bench.h"

namespace {

const std::string PAN_SPEED = "07 01 02 00 ", FULL_PAN = PAN_SPEED + "00 01 86 A0 07 01 08 00 ";
const std::string TILT_SPEED = "07 01 03 00 ", FULL_TILT = TILT_SPEED + "00 01 86 A0 07 01 09 00 ";
const std::string STOP_PAN = "04 01 05 00 01", STOP_TILT = "04 01 05 00 02";

class PanTilt : public CommandBench {
  protected:
    PanTilt()
    {
        driver->limit_min_pan = -170;
        driver->limit_max_pan = 170;
        driver->limit_min_tilt = -20;
        driver->limit_max_tilt = 90;
        now().response_profile = 1; // the speed as it is asked for
    }

    std::string moved(const PTZMotion &pan, const PTZMotion &tilt, double speed = 0)
    {
        const PTZSpeed at = speed_of(speed);
        return outcome(ptz_driver_canon_cmd_move_pan_tilt(driver, &pan, &tilt, &at, 0));
    }

    // The speed bytes of a continuous pan to the right.
    void expect_continuous(std::initializer_list<std::pair<double, const char *>> cases)
    {
        for (const auto &[percent, bytes] : cases)
            EXPECT_EQ(moved(motion(3, percent), NONE).substr(PAN_SPEED.size(), 11), bytes) << percent;
    }

    static constexpr PTZMotion NONE{0, {0, 0}, 0};
};

using PanTiltAbsolute = PanTilt;
using PanTiltRelative = PanTilt;
using PanTiltContinuous = PanTilt;

TEST_F(PanTiltAbsolute, RowsByTheAxesAsked)
{
    EXPECT_EQ(moved(NONE, motion(1, -20)), FULL_TILT + "FF FF B1 E0");
    EXPECT_EQ(moved(motion(1, -33.3), motion(1, 10.9), 50),
              PAN_SPEED + "00 00 27 10 " + TILT_SPEED +
                  "00 00 27 10 0B 01 04 00 FF FF 7D ED 00 00 2A 93"); // -33299, 10899
    EXPECT_NEAR(driver->target.pan_degree, -33.3f, 0.001f);
    EXPECT_NEAR(driver->target.tilt_degree, 10.9f, 0.001f);
    EXPECT_EQ(now().pan_move_mode, 1);
    EXPECT_EQ(now().tilt_move_mode, 1);
    EXPECT_EQ(now().pan_speed, 33);
    EXPECT_EQ(now().tilt_speed, 10);
    EXPECT_EQ(moved(motion(1, 12.5), NONE), FULL_PAN + "00 00 30 D4");
    EXPECT_EQ(now().tilt_speed, 0); // an axis that was not asked for, too
}

TEST_F(PanTiltAbsolute, SpeedIsAPercentOfTheCurve)
{
    const std::string position = " 07 01 08 00 00 00 00 00";
    EXPECT_EQ(moved(motion(1, 0), NONE, -15), PAN_SPEED + "00 00 03 34" + position);  // 820
    EXPECT_EQ(moved(motion(1, 0), NONE, 52.5), PAN_SPEED + "00 00 3A 98" + position); // no gap as in continuous moves
    EXPECT_EQ(moved(motion(1, 0), NONE, 0.5),
              PAN_SPEED + "00 00 00 00" + position + " | warning: The pan tilt speed is not supported.");
}

TEST_F(PanTiltRelative, CountsFromThePresentPositionWithoutLimits)
{
    now().pan_degree = 165;
    now().tilt_degree = 10;
    EXPECT_EQ(moved(motion(2, 10), motion(2, -5)), FULL_PAN + "00 02 AB 98 " + FULL_TILT + "00 00 13 88");
    EXPECT_EQ(driver->target.pan_degree, 175);
    EXPECT_EQ(driver->target.tilt_degree, 5);
    EXPECT_EQ(moved(motion(2, 0), motion(2, 5)), STOP_PAN + " " + FULL_TILT + "00 00 3A 98");
    EXPECT_EQ(moved(motion(2, 0), motion(2, 0)), STOP_PAN + " " + STOP_TILT);
}

TEST_F(PanTiltContinuous, DrivesTiltFirstToTheNearerOfLimitAndStop)
{
    const std::string pan = PAN_SPEED + "00 00 13 88 07 01 08 00 ", tilt = TILT_SPEED + "00 00 13 88 07 01 09 00 ";
    EXPECT_EQ(moved(motion(3, 5), motion(3, -5)), tilt + "FF FF B1 E0 " + pan + "00 02 98 10");
    EXPECT_EQ(moved(motion(3, 0), motion(3, 0)), STOP_TILT + " " + STOP_PAN);
    EXPECT_EQ(now().pan_speed, 5); // a stop does not reset it
    EXPECT_EQ(driver->target.tilt_degree, 0);
    EXPECT_EQ(now().tilt_move_mode, 3);
    driver->limit_min_tilt = -90;
    EXPECT_EQ(moved(NONE, motion(3, -5)), tilt + "FF FF B1 E0");
    driver->limit_max_pan = 45;
    EXPECT_EQ(moved(motion(3, 5), NONE), pan + "00 00 AF C8");
    driver->limit_min_pan = 1; // as before the limits have been read
    EXPECT_EQ(moved(motion(3, -5), NONE), pan + "00 00 03 E8");
}

TEST_F(PanTiltContinuous, SkipsTheGapsBetweenTheirBounds)
{
    expect_continuous({{10, "00 00 27 10"}, {15, "00 00 27 10"}, {20, "00 00 4E 20"}, {30, "00 00 59 D8"}}); // 23000
    expect_continuous({{37, "00 00 90 88"}, {0.1, "00 00 00 C8"}, {150, "00 01 86 A0"}}); // at least 200
}

TEST_F(PanTiltContinuous, SpeedFollowsTheFieldOfViewOrTheResponseProfile)
{
    driver->parent_instance.proportional_speed = 1;
    now().hfov = 60;
    driver->fov_speed_factor = 50;
    expect_continuous({{50, "00 00 27 10"}, {100, "00 00 59 D8"}}); // 15000 and 30000 fall into gaps
    driver->fov_speed_factor = 0;
    expect_continuous({{100, "00 00 00 C8"}});
    now().hfov = -1; // no status yet
    driver->fov_speed_factor = 100;
    expect_continuous({{100, "00 00 00 C8"}});
    driver->parent_instance.proportional_speed = 0;
    now().response_profile = 0;
    expect_continuous({{100, "00 01 86 A0"}, {50, "00 00 50 DB"}}); // 20699
    EXPECT_EQ(now().pan_speed, 20);
    // 4738 and 9785, worked out with every step rounded to single precision: one more or less when the compiler fuses
    // a product with the sum that it goes into, in either place of the curve.
    expect_continuous({{1150149 / 65536.0, "00 00 12 82"}, {2095799 / 65536.0, "00 00 26 39"}});
    model.response_profile_supported = FALSE;
    expect_continuous({{50, "00 00 C3 50"}});
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(50, 1.1f), 50);
    EXPECT_EQ(ptz_driver_canon_apply_responsiveness(-5, 0.5f), -5);
    EXPECT_EQ(log.take(), (Lines{"error: Invalid responsiveness", "error: Input speed is not absolute value"}));
}

TEST_F(PanTilt, WhatIsNoMoveOrFailsKeepsTheTargets)
{
    driver->target.pan_degree = 3;
    EXPECT_EQ(moved(motion(1, 1), motion(2, 1)), refused("Move modes for pan (1) and tilt (2) is not compatible"));
    EXPECT_TRUE(framework().take().empty());
    EXPECT_EQ(moved(NONE, NONE), "refused");
    EXPECT_EQ(moved(motion(4, 1), NONE), "refused");
    EXPECT_FALSE(framework().take().empty()); // published all the same
    EXPECT_EQ(port.reads, 0);
    port.deaf = true;
    EXPECT_EQ(moved(motion(1, 50), NONE), refused("Failed to execute pan/tilt setup command"));
    EXPECT_EQ(now().pan_speed, 50);
    EXPECT_FALSE(framework().take().empty());
    EXPECT_EQ(driver->target.pan_degree, 3);
    EXPECT_EQ(now().pan_move_mode, 0);
}

} // namespace
