#include "driver/ptz_driver_canon_operations.h"
#include "tests/support/driver_fixture.h"

namespace {

class Move : public DriverBench {
  protected:
    Move()
    {
        make_driver();
        driver->max_digital_zoom = 12.0f;
        driver->parent_instance.focus_mode = 2;
    }

    struct Axes {
        PTZMotion pan{}, tilt{}, zoom{}, iris{}, focus{}, brightness{};
    };

    gboolean move(const Axes &axes)
    {
        const PTZSpeed speed{};
        base().zoom_requested = axes.zoom.type != 0;
        return ptz_driver_canon_op_move(&base(), &axes.pan, &axes.tilt, &axes.zoom, &axes.iris, &axes.focus,
                                        &axes.brightness, &speed);
    }

    PTZDriver &base() { return driver->parent_instance; }
};

TEST_F(Move, GoesThroughItsStepsInOrder)
{
    driver->datacache_is_used = TRUE;
    EXPECT_TRUE(move({.pan = motion(1, 10), .zoom = motion(1, 9999)}));
    EXPECT_EQ(port.take_payloads(), (Lines{"03 00 02 00 04 00 02 03 07 05 00 02 06 1D 00",
                                           "07 01 02 00 00 01 86 A0 07 01 08 00 00 00 27 10"}));
    const Lines calls = framework().take();
    EXPECT_EQ(calls.front(), "prepare_move"); // nothing was received, so nothing was published before it
    EXPECT_EQ(driver->poll_holdoff, 5);
    EXPECT_EQ(driver->target.zoom_zenta, 9999);
    EXPECT_EQ(driver->target.zoom_magnification, 30.0f);
    EXPECT_EQ(driver->current.pan_moving, 1); // reported as moving while the request was served
    EXPECT_FALSE(driver->pan_move_requested);
}

TEST_F(Move, BeforeStartUpOnlyTheRequestIsNoted)
{
    driver->driver_initialized = FALSE;
    EXPECT_TRUE(move({.pan = motion(1, 10)}));
    EXPECT_TRUE(driver->pan_move_requested);
    EXPECT_FALSE(driver->tilt_move_requested);
    EXPECT_TRUE(framework().take().empty());
    EXPECT_EQ(port.reads + port.attempts, 0);
}

TEST_F(Move, ResendsTheFocusModeAndFreezesThePicture)
{
    base().focus_mode = 1;
    driver->current.image_freeze_mode = IMAGE_FREEZE_ON;
    EXPECT_TRUE(move({}));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 00 00"}));
    EXPECT_TRUE(driver->current.image_frozen);
}

TEST_F(Move, ZoomTargets)
{
    driver->current.zoom_zenta = 500;
    EXPECT_TRUE(move({.zoom = motion(1, 100)}));
    EXPECT_EQ(driver->target.zoom_zenta, 100);
    EXPECT_TRUE(move({.zoom = motion(2, -200)}));
    EXPECT_EQ(driver->target.zoom_zenta, -100);
    EXPECT_EQ(driver->target.zoom_magnification, 360.0f); // a negative position counts as the largest
    EXPECT_TRUE(move({.zoom = motion(3, 50)}));
    EXPECT_EQ(driver->target.zoom_zenta, -100);
    driver->current.zoom_zenta = 500;
    EXPECT_TRUE(move({.zoom = motion(3, 0.5)})); // its whole part is 0, so the target is reset though it moves
    EXPECT_EQ(driver->target.zoom_zenta, 500);
}

TEST_F(Move, BrightnessTargetsStayInRangeWhenRelative)
{
    EXPECT_TRUE(move({.brightness = motion(1, 20000)}));
    EXPECT_EQ(driver->target.brightness_zenta, 20000);
    EXPECT_TRUE(move({.brightness = motion(2, 5)}));
    EXPECT_EQ(driver->target.brightness_zenta, 9999);
    EXPECT_EQ(driver->current.brightness_zenta, 9999);
    EXPECT_TRUE(move({.brightness = motion(2, -20000.5)}));
    EXPECT_EQ(driver->target.brightness_zenta, 1);
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 03 01 18", "04 00 03 01 08", "04 00 03 01 F8"}));
}

TEST_F(Move, LensMovesBetweenZoomAndPan)
{
    driver->current.capture_mode = g_strdup("720p25");
    base().focus_mode = 1;
    EXPECT_TRUE(move({.pan = motion(1, 10),
                      .zoom = motion(1, 1),
                      .iris = motion(1, 1),
                      .focus = motion(1, 1),
                      .brightness = motion(1, 9999)}));
    EXPECT_EQ(port.take_payloads(),
              (Lines{"04 00 01 00 00", // auto focus, as the mode was
                     "03 00 02 00 04 00 02 03 07 05 00 02 06 00 00",
                     "04 00 03 03 36 04 00 03 02 20 04 00 03 15 20 04 00 03 04 00", "04 00 01 00 01",
                     "05 00 01 01 08 00", "04 00 03 01 08", "07 01 02 00 00 01 86 A0 07 01 08 00 00 00 27 10"}));
    EXPECT_EQ(base().focus_mode, 2);
    EXPECT_EQ(driver->target.focus_zenta, 1);
    EXPECT_EQ(driver->current.iris_zenta, 1);
    // The iris move made the brightness unknown; the brightness move after it took the exposure back at once.
    EXPECT_EQ(driver->current.brightness_zenta, -1);
    EXPECT_TRUE(driver->current.auto_iris);
}

TEST_F(Move, RefusedFocusLeavesTheFocusMode)
{
    base().focus_mode = 1;
    driver->current.auto_focus = TRUE;
    EXPECT_TRUE(move({.focus = motion(4, 1)}));
    EXPECT_EQ(base().focus_mode, 1);
}

TEST_F(Move, ZoomNeedsTheRequestAndTheType)
{
    const PTZMotion none{}, zoom = motion(1, 77);
    const PTZSpeed speed{};
    base().zoom_requested = FALSE;
    ptz_driver_canon_op_move(&base(), &none, &none, &zoom, &none, &none, &none, &speed);
    EXPECT_EQ(driver->target.zoom_zenta, 77);
    base().zoom_requested = TRUE;
    ptz_driver_canon_op_move(&base(), &none, &none, &none, &none, &none, &none, &speed);
    EXPECT_TRUE(port.packets.empty());
}

TEST_F(Move, PositionInFixedPoint)
{
    driver->current.pan_degree = -12.5f;
    driver->current.tilt_degree = 45.25f;
    driver->current.zoom_zenta = 1234;
    driver->current.iris_zenta = -1;
    driver->current.focus_zenta = 9999;
    gint32 at[6] = {};
    EXPECT_TRUE(ptz_driver_canon_op_get_position(&base(), &at[0], &at[1], &at[2], &at[3], &at[4], &at[5]));
    EXPECT_EQ(at[0], -819200);
    EXPECT_EQ(at[1], 2965504);
    EXPECT_EQ(at[2], 1234 * 65536);
    EXPECT_EQ(at[3], -65536);
    EXPECT_EQ(at[4], 9999 * 65536);
    EXPECT_EQ(at[5], 0);
    EXPECT_FALSE(framework().take().empty());
}

TEST_F(Move, FieldOfView)
{
    driver->current.zoom_magnification = 30.0f;
    driver->current.hfov = 2.5f;
    driver->current.vfov = 1.25f;
    gint32 angle = 0, widest = 0, hfov = 0, vfov = 0;
    EXPECT_FALSE(ptz_driver_canon_op_get_field_of_view(&base(), 0, &angle, &widest, &hfov, &vfov));
    EXPECT_NEAR(angle / 65536.0, 2.3310, 0.001); // 2 atan(tan(31.4 deg) / 30)
    EXPECT_EQ(widest, 4115712);                  // 62.80078125
    EXPECT_EQ(hfov, 163840);
    EXPECT_EQ(vfov, 81920);
    driver->driver_initialized = FALSE;
    angle = -7;
    EXPECT_TRUE(ptz_driver_canon_op_get_field_of_view(&base(), 0, &angle, &widest, &hfov, &vfov));
    EXPECT_EQ(angle, -7);
}

TEST_F(Move, AngleToZoom)
{
    const auto zoom_at = [this](double degrees, int scale) {
        gint32 zoom = 0;
        EXPECT_TRUE(ptz_driver_canon_op_angle_to_zoom(&base(), static_cast<gint32>(degrees * 65536), scale, &zoom));
        return zoom / 65536.0;
    };
    EXPECT_NEAR(zoom_at(62.80078125, 100), 1.0, 0.01);
    EXPECT_NEAR(zoom_at(31.400390625, 50), 1.0, 0.01);
    EXPECT_NEAR(zoom_at(2.3310, 100), 9999.0, 5.0);
    EXPECT_NEAR(zoom_at(0.001, 100), 19999.0, 0.01); // as far as it goes
}

TEST_F(Move, StopAndModesAreGated)
{
    driver->driver_initialized = FALSE;
    EXPECT_TRUE(ptz_driver_canon_op_stop(&base()));
    EXPECT_TRUE(ptz_driver_canon_op_focus_mode_changed(&base()));
    base().iris_mode = base().backlight_mode = 1;
    EXPECT_TRUE(ptz_driver_canon_op_iris_mode_changed(&base()));
    EXPECT_TRUE(ptz_driver_canon_op_backlight_changed(&base()));
    EXPECT_TRUE(log.take().empty());
    EXPECT_TRUE(port.packets.empty());
    base().speed_factor = -3; // not gated
    EXPECT_TRUE(ptz_driver_canon_op_speed_factor_changed(&base()));
    EXPECT_EQ(driver->fov_speed_factor, -3);
}

TEST_F(Move, ChangedModesAreApplied)
{
    base().backlight_mode = 1;
    EXPECT_TRUE(ptz_driver_canon_op_backlight_changed(&base()));
    framework().params = {{"Exposure", "auto"}, {"ManualGainControl", "no"}, {"ManualShutterControl", "no"}};
    base().iris_mode = 1;
    EXPECT_TRUE(ptz_driver_canon_op_iris_mode_changed(&base()));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 03 01 06", "04 00 03 00 00"}));
    base().backlight_mode = 3; // counts as off, so it is looked at
    EXPECT_FALSE(ptz_driver_canon_op_backlight_changed(&base()));
}

} // namespace
