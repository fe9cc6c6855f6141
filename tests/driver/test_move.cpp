#include "driver/operations.h"
#include "tests/cmd/command_bench.h"

namespace {

const std::string PAN_TO_TEN = "07 01 02 00 00 01 86 A0 07 01 08 00 00 00 27 10";
const std::string FULL_ZOOM = "03 00 02 00 04 00 02 03 07 05 00 02 06 ";

class Move : public CommandBench {
  protected:
    Move()
    {
        driver->max_digital_zoom = 12.0f;
        base().focus_mode = 2;
    }

    struct Axes {
        PTZMotion pan{}, zoom{}, iris{}, focus{}, brightness{};
        bool zoom_requested = true;
    };

    std::string move(const Axes &axes)
    {
        const PTZMotion tilt{};
        const PTZSpeed speed{};
        base().zoom_requested = axes.zoom_requested;
        return outcome(ptz_driver_canon_op_move(&base(), &axes.pan, &tilt, &axes.zoom, &axes.iris, &axes.focus,
                                                &axes.brightness, &speed));
    }

    PTZDriver &base() { return driver->parent_instance; }
    CameraState &target() { return driver->target; }
};

TEST_F(Move, GoesThroughItsStepsInOrder)
{
    Life::stop(driver); // only the request is noted
    EXPECT_EQ(move({.pan = motion(1, 10)}), "");
    EXPECT_TRUE(driver->pan_move_requested);
    EXPECT_FALSE(driver->tilt_move_requested);
    EXPECT_TRUE(framework().take().empty());

    Life::run(driver);
    driver->datacache_is_used = TRUE;
    EXPECT_EQ(move({.pan = motion(1, 10), .zoom = motion(1, 9999)}), FULL_ZOOM + "1D 00 | " + PAN_TO_TEN);
    EXPECT_EQ(framework().take().front(), "prepare_move"); // nothing was received, so nothing published before it
    EXPECT_EQ(driver->poll_holdoff, 5);
    EXPECT_EQ(target().zoom_magnification, 30.0f);
    EXPECT_EQ(now().pan_moving, 1); // reported as moving while the request was served
    EXPECT_FALSE(driver->pan_move_requested);

    base().focus_mode = 1; // is sent again
    now().image_freeze_mode = IMAGE_FREEZE_ON;
    EXPECT_EQ(move({}), "04 00 01 00 00");
    EXPECT_EQ(move({.focus = motion(4, 1)}), "error: Unsupported PTZ move type");
    EXPECT_EQ(base().focus_mode, 1); // a refused move leaves it
    const Lines calls = framework().take();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "picture frozen"), 1); // by the first of the two
}

TEST_F(Move, ZoomAndBrightnessTargets)
{
    EXPECT_EQ(move({.zoom = motion(1, 77), .zoom_requested = false}), "");
    EXPECT_EQ(target().zoom_zenta, 77);
    move({.zoom = motion(2, -177)});
    EXPECT_EQ(target().zoom_zenta, -100);
    EXPECT_EQ(target().zoom_magnification, 360.0f); // a negative position counts as the largest
    move({.zoom = motion(3, 50)});
    EXPECT_EQ(target().zoom_zenta, -100);
    now().zoom_zenta = 500;
    move({.zoom = motion(3, 0.5)}); // its whole part is 0, so the target is reset though it moves
    EXPECT_EQ(target().zoom_zenta, 500);

    EXPECT_EQ(move({.brightness = motion(1, 20000)}), "04 00 03 01 18");
    EXPECT_EQ(target().brightness_zenta, 20000);
    EXPECT_EQ(move({.brightness = motion(2, 5)}), "04 00 03 01 08"); // only a relative one is kept in range
    EXPECT_EQ(target().brightness_zenta, 9999);
    EXPECT_EQ(move({.brightness = motion(2, -20000.5)}), "04 00 03 01 F8");
    EXPECT_EQ(target().brightness_zenta, 1);
}

TEST_F(Move, LensMovesBetweenZoomAndPan)
{
    set_capture_mode("720p25");
    base().focus_mode = 1; // auto focus, as the mode was
    EXPECT_EQ(move({.pan = motion(1, 10),
                    .zoom = motion(1, 1),
                    .iris = motion(1, 1),
                    .focus = motion(1, 1),
                    .brightness = motion(1, 9999)}),
              "04 00 01 00 00 | " + FULL_ZOOM +
                  "00 00 | 04 00 03 03 36 04 00 03 02 20 04 00 03 15 20 04 00 03 04 00 | 04 00 01 00 01 | "
                  "05 00 01 01 08 00 | 04 00 03 01 08 | " +
                  PAN_TO_TEN);
    EXPECT_EQ(base().focus_mode, 2);
    EXPECT_EQ(now().iris_zenta, 1);
    // The iris move made the brightness unknown; the brightness move after it took the exposure back at once.
    EXPECT_EQ(now().brightness_zenta, -1);
    EXPECT_TRUE(now().auto_iris);
}

TEST_F(Move, PositionsAndAnglesInFixedPoint)
{
    now().pan_degree = -12.5f;
    now().tilt_degree = 45.25f;
    now().zoom_zenta = 1234;
    now().iris_zenta = -1;
    now().focus_zenta = 9999;
    std::array<gint32, 6> at{};
    EXPECT_TRUE(ptz_driver_canon_op_get_position(&base(), &at[0], &at[1], &at[2], &at[3], &at[4], &at[5]));
    EXPECT_EQ(at, (std::array<gint32, 6>{-819200, 2965504, 1234 * 65536, -65536, 9999 * 65536, 0}));

    now().zoom_magnification = 30.0f;
    now().hfov = 2.5f;
    now().vfov = 1.25f;
    std::array<gint32, 4> angle{}; // now, widest, horizontal and vertical
    const auto get = [&] {
        return ptz_driver_canon_op_get_field_of_view(&base(), 0, &angle[0], &angle[1], &angle[2], &angle[3]);
    };
    EXPECT_FALSE(get());
    EXPECT_NEAR(std::exchange(angle[0], -7) / 65536.0, 2.3310, 0.001); // 2 atan(tan(31.4 deg) / 30)
    for (const auto &[degrees, scale, zoom, near] :
         {std::tuple{31.400390625, 50, 1.0, 0.01}, {2.3310, 100, 9999.0, 5.0}, {0.001, 100, 19999.0, 0.01}}) {
        gint32 found = 0;
        EXPECT_TRUE(ptz_driver_canon_op_angle_to_zoom(&base(), static_cast<gint32>(degrees * 65536), scale, &found));
        EXPECT_NEAR(found / 65536.0, zoom, near) << degrees;
    }
    Life::stop(driver);
    EXPECT_TRUE(get());
    EXPECT_TRUE(ptz_driver_canon_op_get_position(&base(), &at[0], nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(ptz_driver_canon_op_angle_to_zoom(&base(), 65536, 100, nullptr)); // nothing is touched
    EXPECT_EQ(angle, (std::array<gint32, 4>{-7, 4115712, 163840, 81920}));        // widest: 62.80078125
}

TEST_F(Move, StopAndModesAreGated)
{
    framework().params = {{"Exposure", "auto"}, {"ManualGainControl", "no"}, {"ManualShutterControl", "no"}};
    base().iris_mode = base().backlight_mode = 1;
    Life::stop(driver);
    for (auto *gated : {ptz_driver_canon_op_stop, ptz_driver_canon_op_focus_mode_changed,
                        ptz_driver_canon_op_iris_mode_changed, ptz_driver_canon_op_backlight_changed})
        EXPECT_EQ(outcome(gated(&base())), "");
    base().speed_factor = -3; // not gated
    EXPECT_TRUE(ptz_driver_canon_op_speed_factor_changed(&base()));
    EXPECT_EQ(driver->fov_speed_factor, -3);
    Life::run(driver);
    EXPECT_EQ(outcome(ptz_driver_canon_op_backlight_changed(&base())), "04 00 03 01 06");
    EXPECT_EQ(outcome(ptz_driver_canon_op_iris_mode_changed(&base())), "04 00 03 00 00");
}

} // namespace
