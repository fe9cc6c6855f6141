#include "driver/ptz_driver_canon_limits.h"
#include "driver/ptz_driver_canon_operations.h"
#include "tests/support/driver_fixture.h"

#include <map>
#include <variant>

namespace {

// Values of the "Limit" group, by name; served in the place of the framework's store.
std::map<std::string, std::variant<int, std::string>> stored;

class Limits : public DriverBench {
  protected:
    Limits()
    {
        stored.clear();
        make_driver();
    }

    gboolean change(const char *name) { return ptz_driver_canon_op_limit_changed(&driver->parent_instance, name); }
};

TEST_F(Limits, AreReadAtStartUpAndMissingOnesSkipped)
{
    stored = {{"MinPan", -100}, {"MaxPan", 100},    {"MinTilt", -10},   {"MaxTilt", std::string("high")},
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
    stored = {{"MaxBrightness", 12}, {"MinFocus", 9999}, {"MinFieldAngle", 23}, {"MinIris", std::string("x")}};
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

extern "C" GValue *ptz_dynamical_properties_get(PTZDynamicalProperties *, const char *name)
{
    const auto found = stored.find(name);
    if (found == stored.end())
        return nullptr;
    GValue *value = g_new0(GValue, 1);
    if (const int *number = std::get_if<int>(&found->second)) {
        g_value_init(value, G_TYPE_INT);
        g_value_set_int(value, *number);
    } else {
        g_value_init(value, G_TYPE_STRING);
        g_value_set_string(value, std::get<std::string>(found->second).c_str());
    }
    return value;
}
