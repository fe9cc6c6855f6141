#include "driver/ptz_driver_canon_operations.h"
#include "driver/ptz_driver_canon_params.h"
#include "tests/cmd/command_bench.h"

namespace {

class Limits : public CommandBench {
  protected:
    std::string change(const char *name)
    {
        return outcome(ptz_driver_canon_op_limit_changed(&driver->parent_instance, name));
    }
};

TEST_F(Limits, AreReadAtStartUpAndMissingOnesSkipped)
{
    framework().params = {{"MinPan", -100}, {"MaxPan", 100},    {"MinTilt", -10},   {"MaxTilt", "high"},
                          {"MinZoom", 5},   {"MaxZoom", 15000}, {"MinFocus", 2124}, {"MaxIris", 900}};
    ptz_driver_canon_read_limits(driver);
    EXPECT_EQ((std::vector<int>{driver->limit_min_pan, driver->limit_max_pan, driver->limit_min_tilt,
                                driver->limit_max_tilt, driver->limit_min_zoom, driver->limit_max_zoom,
                                driver->limit_min_focus, driver->limit_max_iris}),
              (std::vector<int>{-100, 100, -10, 9999, 5, 15000, 2124, 900}));
    EXPECT_EQ(outcome(TRUE), "04 00 01 10 01"); // the near limit reaches the camera block
}

TEST_F(Limits, ChangesAreAppliedOneByOne)
{
    framework().params = {{"MaxBrightness", 12}, {"MinFocus", 9999}, {"MinFieldAngle", 23}, {"MinIris", "x"}};
    EXPECT_EQ(change("MaxBrightness"), "");
    EXPECT_EQ(driver->limit_max_brightness, 12);
    EXPECT_EQ(change("MinFieldAngle"), "");
    EXPECT_EQ(change("Unheard"), "");
    port.deaf = true;
    EXPECT_FALSE(change("MinFocus").starts_with("refused")); // whether or not it could be sent
    EXPECT_EQ(driver->limit_min_focus, 9999);
    EXPECT_EQ(change("MinIris"), refused("Faulty type of Limit parameter value for MinIris"));
    EXPECT_EQ(change("MaxFieldAngle"), refused("Faulty type of Limit parameter value for MaxFieldAngle"));
    driver->driver_initialized = FALSE;
    EXPECT_EQ(change("MinIris"), "");
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
