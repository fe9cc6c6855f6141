#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/driver/temperature_watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<int> walk(TemperatureWatch &watch, std::initializer_list<std::optional<double>> temperatures)
{
    std::vector<int> states;
    for (const auto &temperature : temperatures)
        states.push_back(watch.measure([&](int) { return temperature; }));
    return states;
}

TEST(TemperatureWatch, LimitsArePassedBeyondThemAndLeftInsideByTheHysteresis)
{
    TemperatureWatch watch;
    watch.add(0, PTZ_TRIGGER_UPPER, 60.0, 1.0);
    watch.add(0, PTZ_TRIGGER_LOWER, -10.0, 0.5);
    EXPECT_THAT(walk(watch, {60.0, 60.1, 59.1, 59.0, 60.0, -10.0}),
                ElementsAre(PTZ_TEMPERATURE_IN_RANGE, PTZ_TEMPERATURE_ABOVE, PTZ_TEMPERATURE_ABOVE,
                            PTZ_TEMPERATURE_IN_RANGE, PTZ_TEMPERATURE_IN_RANGE, PTZ_TEMPERATURE_IN_RANGE));
    EXPECT_THAT(walk(watch, {-10.1, -9.6, -9.5, 70.0, -30.0}),
                ElementsAre(PTZ_TEMPERATURE_BELOW, PTZ_TEMPERATURE_BELOW, PTZ_TEMPERATURE_IN_RANGE,
                            PTZ_TEMPERATURE_ABOVE, PTZ_TEMPERATURE_BELOW));
}

TEST(TemperatureWatch, ASensorThatCannotBeReadChangesNothing)
{
    TemperatureWatch watch;
    watch.add(0, PTZ_TRIGGER_UPPER, 60.0, 1.0);
    EXPECT_THAT(walk(watch, {std::nullopt, 70.0, std::nullopt}),
                ElementsAre(PTZ_TEMPERATURE_IN_RANGE, PTZ_TEMPERATURE_ABOVE, PTZ_TEMPERATURE_ABOVE));
}

// A controller on a driver whose queue the test runs, a second at a time, and a sensor that the test writes.
class TemperatureControllerTest : public testing::Test {
  protected:
    class SecondsClock final : public QueueClock {
      public:
        std::int64_t now_us() override { return now; }
        void wait_until(std::condition_variable &, std::unique_lock<std::mutex> &, std::int64_t) override {}
        std::int64_t now = 0;
    };

    TemperatureControllerTest()
    {
        EXPECT_NE(mkdtemp(folder), nullptr);
        setenv("PTZ_BOARD", folder, 1);
        ptz_command_queue_set_current(&queue);
        driver = PTZ_DRIVER(g_object_new(PTZ_TYPE_DRIVER, nullptr));
        controller = ptz_temperature_controller_new(PTZ_TYPE_TEMPERATURE_CONTROLLER, driver);
    }

    ~TemperatureControllerTest() override
    {
        g_clear_object(&controller);
        g_object_unref(driver);
        ptz_command_queue_set_current(nullptr);
        unsetenv("PTZ_BOARD");
        std::filesystem::remove_all(folder);
    }

    void set_temperature(const std::string &text, int zone = 0)
    {
        const std::string zone_folder = std::string(folder) + "/thermal_zone" + std::to_string(zone);
        std::filesystem::create_directory(zone_folder);
        std::ofstream(zone_folder + "/temp") << text;
    }

    void run_seconds(int seconds)
    {
        clock.now += std::int64_t{1000000} * seconds;
        while (queue.queue.run_next()) {
        }
    }

    int register_limits()
    {
        return ptz_temperature_controller_register_trigger(controller, 0, PTZ_TRIGGER_UPPER, 60.0, 1.0) +
               ptz_temperature_controller_register_trigger(controller, 0, PTZ_TRIGGER_LOWER, -10.0, 0.5);
    }

    int start() { return PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(controller)->start(controller); }

    char folder[32] = "/tmp/ptz-thermal-XXXXXX";
    SecondsClock clock;
    PTZCommandQueue queue{clock};
    PTZDriver *driver = nullptr;
    PTZTemperatureController *controller = nullptr;
};

TEST_F(TemperatureControllerTest, FollowsTheSensorEverySecondOnTheCommandThread)
{
    set_temperature("25000\n");
    EXPECT_EQ(register_limits(), 0);
    EXPECT_EQ(start(), 0);
    run_seconds(0);
    EXPECT_EQ(controller->temperature_ok, 1);
    EXPECT_EQ(ptz_driver_busy_text(driver), nullptr);

    set_temperature("60500\n");
    EXPECT_EQ(controller->temperature_ok, 1); // not before the next look
    run_seconds(1);
    EXPECT_EQ(controller->temperature_ok, 0);
    EXPECT_EQ(ptz_temperature_controller_get_state(controller), PTZ_TEMPERATURE_ABOVE);
    EXPECT_STREQ(ptz_driver_busy_text(driver), "The camera is outside its operating temperature. Try again later.");

    set_temperature("59500\n");
    run_seconds(1);
    EXPECT_EQ(controller->temperature_ok, 0); // not yet inside by the hysteresis
    EXPECT_EQ(ptz_temperature_controller_get_state(controller), PTZ_TEMPERATURE_ABOVE);
    set_temperature("58000\n");
    run_seconds(1);
    EXPECT_EQ(controller->temperature_ok, 1);
}

TEST_F(TemperatureControllerTest, AColdStartIsKnownBeforeAnythingElseRuns)
{
    set_temperature("-20000\n");
    queue.queue.post([this] {
        register_limits();
        start();
        EXPECT_EQ(controller->temperature_ok, 0);
        EXPECT_EQ(ptz_temperature_controller_get_state(controller), PTZ_TEMPERATURE_BELOW);
    });
    run_seconds(0);
    EXPECT_EQ(controller->temperature_ok, 0);
}

TEST_F(TemperatureControllerTest, AMissingOrSpoiltSensorIsInRange)
{
    register_limits();
    start();
    for (const char *text : {"", "warm\n", "99000x\n"}) {
        set_temperature(text);
        run_seconds(1);
        EXPECT_EQ(controller->temperature_ok, 1) << text;
    }
    EXPECT_EQ(ptz_temperature_controller_get_state(controller), PTZ_TEMPERATURE_IN_RANGE);
}

TEST_F(TemperatureControllerTest, WatchesOnlyWhatIsRegisteredAndRefusesNonsense)
{
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(queue.queue.repeating(), 0u);
    EXPECT_EQ(ptz_temperature_controller_register_trigger(controller, -1, PTZ_TRIGGER_UPPER, 60.0, 1.0), -1);
    EXPECT_EQ(ptz_temperature_controller_register_trigger(controller, 0, 2, 60.0, 1.0), -1);
    EXPECT_EQ(ptz_temperature_controller_register_trigger(controller, 0, PTZ_TRIGGER_UPPER, 60.0, -1.0), -1);
    set_temperature("61000\n", 3);
    EXPECT_EQ(ptz_temperature_controller_register_trigger(controller, 3, PTZ_TRIGGER_UPPER, 60.0, 1.0), 0);
    start();
    EXPECT_EQ(queue.queue.repeating(), 1u);
    run_seconds(1);
    EXPECT_EQ(controller->temperature_ok, 0);
}

TEST_F(TemperatureControllerTest, TheWatchEndsWithItsController)
{
    register_limits();
    start();
    run_seconds(1);
    EXPECT_EQ(queue.queue.repeating(), 1u);
    g_clear_object(&controller);
    EXPECT_EQ(ptz_driver_busy_text(driver), nullptr);
    run_seconds(1);
    EXPECT_EQ(queue.queue.repeating(), 0u);
}

} // namespace
