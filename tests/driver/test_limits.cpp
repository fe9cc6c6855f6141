#include "driver/ptz_driver_canon_operations.h"
#include "driver/ptz_driver_canon_params.h"
#include "tests/support/driver_fixture.h"

namespace {

class Limits : public DriverBench {
  protected:
    Limits() { make_driver(); }

    gboolean change(const char *name) { return ptz_driver_canon_op_limit_changed(&driver->parent_instance, name); }
};

TEST_F(Limits, AreReadAtStartUpAndMissingOnesSkipped)
{
    framework().params = {{"MinPan", -100}, {"MaxPan", 100},    {"MinTilt", -10},   {"MaxTilt", "high"},
                          {"MinZoom", 5},   {"MaxZoom", 15000}, {"MinFocus", 2124}, {"MaxIris", 900}};
    ptz_driver_canon_read_limits(driver);
    EXPECT_EQ(driver->limit_min_pan, -100);
    EXPECT_EQ(driver->limit_max_pan, 100);
    EXPECT_EQ(driver->limit_min_tilt, -10);
    EXPECT_EQ(driver->limit_max_tilt, 9999);
    EXPECT_EQ(driver->limit_min_zoom, 5);
    EXPECT_EQ(driver->limit_max_zoom, 15000);
    EXPECT_EQ(driver->limit_min_focus, 2124);
    EXPECT_EQ(driver->limit_max_iris, 900);
    EXPECT_EQ(port.take_payloads(), (Lines{"04 00 01 10 01"})); // the near limit reaches the camera block
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Limits, ChangesAreAppliedOneByOne)
{
    framework().params = {{"MaxBrightness", 12}, {"MinFocus", 9999}, {"MinFieldAngle", 23}, {"MinIris", "x"}};
    EXPECT_TRUE(change("MaxBrightness"));
    EXPECT_EQ(driver->limit_max_brightness, 12);
    EXPECT_TRUE(change("MinFieldAngle"));
    EXPECT_TRUE(change("Unheard"));
    port.deaf = true;
    driver->cmd_retries = 1;
    EXPECT_TRUE(change("MinFocus")); // whether or not it could be sent
    EXPECT_EQ(driver->limit_min_focus, 9999);
    log.take();
    EXPECT_FALSE(change("MinIris"));
    EXPECT_FALSE(change("MaxFieldAngle"));
    EXPECT_EQ(log.take(), (Lines{"error: Faulty type of Limit parameter value for MinIris",
                                 "error: Faulty type of Limit parameter value for MaxFieldAngle"}));
    driver->driver_initialized = FALSE;
    EXPECT_TRUE(change("MinIris"));
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Limits, AreDeclaredToTheFramework)
{
    ptz_driver_canon_install_limits(driver);
    EXPECT_EQ(framework().take(),
              (Lines{"add_params Limit MinZoom MaxZoom MinFieldAngle MaxFieldAngle MinPan MaxPan MinTilt MaxTilt "
                     "MinFocus MaxFocus MinIris MaxIris MinBrightness MaxBrightness"}));
    framework().refuse_params = true;
    ptz_driver_canon_install_limits(driver);
    EXPECT_EQ(log.take(), (Lines{"error: Installing Limit properties failed"}));
}

} // namespace
