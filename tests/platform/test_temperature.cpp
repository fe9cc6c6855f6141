#include "ptzorvel/driver/driver_private.h"
#include "tests/platform/bench.h"
#include "tests/support/temp_folder.h"

#include <gtest/gtest.h>

namespace {

constexpr int kBelow = PTZ_TEMPERATURE_BELOW, kInRange = PTZ_TEMPERATURE_IN_RANGE, kAbove = PTZ_TEMPERATURE_ABOVE;
constexpr int kSecond = 1000000;

// A controller on a driver whose queue the test runs, and a sensor that the test writes.
class TemperatureTest : public testing::Test {
  protected:
    TemperatureTest() { driver->command_queue = &bench.command_queue; }

    ~TemperatureTest() override
    {
        g_clear_object(&controller);
        g_object_unref(driver);
    }

    int add(int sensor, int direction, double limit, double hysteresis)
    {
        return ptz_temperature_controller_register_trigger(controller, sensor, direction, limit, hysteresis);
    }

    int start() { return PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(controller)->start(controller); }

    void expect_state(int expected)
    {
        EXPECT_EQ(ptz_temperature_controller_get_state(controller), expected);
        EXPECT_EQ(controller->temperature_ok, expected == kInRange ? 1 : 0);
        EXPECT_EQ(ptz_driver_busy_text(driver) == nullptr, expected == kInRange);
    }

    TempFolder folder{"PTZ_BOARD"};
    QueueBench bench;
    PTZDriver *driver = PTZ_DRIVER(g_object_new(PTZ_TYPE_DRIVER, nullptr));
    PTZTemperatureController *controller = ptz_temperature_controller_new(PTZ_TYPE_TEMPERATURE_CONTROLLER, driver);
};

TEST_F(TemperatureTest, IsFollowedEverySecondWithHysteresisAndWithoutRegardToASpoiltSensor)
{
    EXPECT_EQ(add(0, PTZ_TRIGGER_UPPER, 60.0, 1.0) + add(0, PTZ_TRIGGER_LOWER, -10.0, 0.5) + start(), 0);
    bench.pass(0); // there is no sensor yet
    const std::pair<const char *, int> seconds[] = {
        {"", kInRange},        {"warm\n", kInRange},   {"99000x\n", kInRange}, {"60000\n", kInRange},
        {"60100\n", kAbove},   {"59100\n", kAbove},    {"", kAbove},           {"59000\n", kInRange},
        {"60000\n", kInRange}, {"-10000\n", kInRange}, {"-10100", kBelow},     {"-9600\n", kBelow},
        {"-9500\n", kInRange}, {"70000\n", kAbove},    {"-30000\n", kBelow},   {"25000\n", kInRange},
    };
    int former = kInRange;
    for (const auto &[text, expected] : seconds) {
        SCOPED_TRACE(text);
        folder.write("thermal_zone0/temp", text);
        bench.pass(kSecond - 1);
        expect_state(former);
        bench.pass(1);
        expect_state(expected);
        former = expected;
    }
}

TEST_F(TemperatureTest, AColdStartIsKnownBeforeAnythingElseRuns)
{
    folder.write("thermal_zone0/temp", "-20000\n");
    bench.queue.post([this] {
        EXPECT_EQ(add(0, PTZ_TRIGGER_LOWER, -10.0, 0.5) + start(), 0);
        expect_state(kBelow);
    });
    bench.pass(0);
}

TEST_F(TemperatureTest, OnlyWhatIsRegisteredIsWatchedAndOnlyAsLongAsTheControllerLives)
{
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(bench.queue.repeating(), 0u);
    EXPECT_EQ(add(-1, PTZ_TRIGGER_UPPER, 60.0, 1.0), -1);
    EXPECT_EQ(add(0, 2, 60.0, 1.0), -1);
    EXPECT_EQ(add(0, PTZ_TRIGGER_UPPER, 60.0, -1.0), -1);
    folder.write("thermal_zone3/temp", "61000\n");
    EXPECT_EQ(add(3, PTZ_TRIGGER_UPPER, 60.0, 1.0) + start(), 0);
    EXPECT_EQ(bench.queue.repeating(), 1u);
    expect_state(kInRange); // nobody but the command thread looks
    bench.pass(0);
    expect_state(kAbove);
    EXPECT_EQ(ptz_camera_temperature(), 61.0);
    g_clear_object(&controller);
    EXPECT_EQ(ptz_driver_busy_text(driver), nullptr);
    bench.pass(kSecond);
    EXPECT_EQ(bench.queue.repeating(), 0u);
}

} // namespace
