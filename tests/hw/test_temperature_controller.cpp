// The temperature controllers: what they register, and what they do when the temperature leaves and re-enters the
// range.
#include "core/glib_raii.h"
#include "core/ptz_driver_canon.h"
#include "hw/ptz_driver_canon_life_door.h"
#include "hw/ptz_temperature_controller_canon.h"
#include "tests/support/capture.h"

#include <gtest/gtest.h>

namespace {

Lines events; // what the controller had done

} // namespace

// In the place of the driver's and the framework's own.
gboolean ptz_driver_canon_startup(PTZDriverCanon *self)
{
    events.push_back("start-up in state " + std::to_string(self->parent_instance.state));
    return TRUE;
}

void ptz_driver_canon_stop_camera(PTZDriverCanon *self)
{
    events.push_back("stop in state " + std::to_string(self->parent_instance.state));
}

int ptz_temperature_controller_register_trigger(PTZTemperatureController *, int sensor_id, int direction, double limit,
                                                double hysteresis)
{
    events.push_back("trigger " + std::to_string(sensor_id) + " " + std::to_string(direction) + " " +
                     std::to_string(limit) + " " + std::to_string(hysteresis));
    return 40 + direction;
}

namespace {

// A driver object with our record and nothing of our driver's behaviour.
GType plain_driver_get_type()
{
    static const GType type =
        g_type_register_static_simple(ptz_driver_get_type(), "PlainDriver", sizeof(PTZDriverClass), nullptr,
                                      sizeof(PTZDriverCanon), nullptr, static_cast<GTypeFlags>(0));
    return type;
}

class TemperatureTest : public testing::Test {
  protected:
    TemperatureTest() : driver(static_cast<PTZDriverCanon *>(g_object_new(plain_driver_get_type(), nullptr)))
    {
        events.clear();
        driver->temperature_sensor = 3;
        driver->temperature_lower_limit = -20;
        driver->temperature_upper_limit = 65;
        driver->temperature_hysteresis_generic = 0.5;
        driver->temperature_hysteresis_cooling = 1.25;
        static auto *base =
            PTZ_TEMPERATURE_CONTROLLER_CLASS(g_type_class_ref(ptz_temperature_controller_get_type())); // kept for good
        base->start = [](PTZTemperatureController *) {
            events.push_back("framework start");
            return 7;
        };
        generic->driver = cooling->driver = ptz_driver_of(driver.get());
    }

    using Owned = GOwned<PTZTemperatureController, g_object_unref>;

    static Owned make(GType type)
    {
        return Owned(static_cast<PTZTemperatureController *>(g_object_new(type, nullptr)));
    }

    static PTZTemperatureControllerClass *of(const Owned &controller)
    {
        return PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(controller.get());
    }

    int &state() const { return driver->parent_instance.state; }

    GOwned<PTZDriverCanon, g_object_unref> driver;
    const Owned generic = make(ptz_temperature_controller_generic_get_type());
    const Owned cooling = make(ptz_temperature_controller_active_cooling_get_type());
    LogCapture log;
};

TEST_F(TemperatureTest, GenericWatchesTheLowerLimitAndActiveCoolingTheUpperOneFirst)
{
    EXPECT_EQ(of(generic)->start(generic.get()), 41);
    EXPECT_EQ(std::exchange(events, {}), (Lines{"trigger 3 1 -20.000000 0.500000", "framework start"}));
    EXPECT_EQ(of(cooling)->start(cooling.get()), 40);
    EXPECT_EQ(events, (Lines{"trigger 3 0 65.000000 1.250000", "trigger 3 1 -20.000000 0.500000", "framework start"}));
}

TEST_F(TemperatureTest, OnlyARunningBlockIsStoppedAndOnlyAStoppedOneStarted)
{
    const struct {
        const Owned &controller;
        void (*reaction)(PTZTemperatureController *);
        int state; // that a running block is left in
        const char *side;
    } reactions[] = {{generic, of(generic)->below_range, 2, "below"},
                     {cooling, of(cooling)->below_range, 2, "below"},
                     {cooling, of(cooling)->above_range, 3, "above"}};
    for (const int each : {0, 1, 2, 3, 4, 5, 6, 7}) {
        for (const auto &[controller, reaction, stopped_state, side] : reactions) {
            state() = each;
            controller->temperature_ok = 1;
            reaction(controller.get());
            EXPECT_EQ(controller->temperature_ok, 0);
            EXPECT_EQ(state(), each == 1 ? stopped_state : each);
            EXPECT_EQ(log.take(), Lines{std::string("warning: Temperature is ") + side +
                                        " operating temperature. Camera block will shut down."});
        }
        EXPECT_EQ(std::exchange(events, {}), Lines(each == 1 ? 3 : 0, "stop in state 1"));
        state() = each;
        of(cooling)->in_range(cooling.get());
        EXPECT_EQ(cooling->temperature_ok, 1);
        const bool stopped = each == 2 || each == 3;
        EXPECT_EQ(state(), stopped ? 4 : each);
        EXPECT_EQ(std::exchange(events, {}), Lines(stopped ? 1 : 0, "start-up in state 4"));
    }
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TemperatureTest, OnlyActiveCoolingReplacesTheReactionToHeat)
{
    const auto *base = PTZ_TEMPERATURE_CONTROLLER_CLASS(g_type_class_peek(ptz_temperature_controller_get_type()));
    EXPECT_EQ(of(generic)->above_range, base->above_range);
    EXPECT_STREQ(of(cooling)->busy_message(cooling.get()),
                 "Cannot perform the request because of camera temperature. The temperature is being adjusted. Please "
                 "try again later.");
}

} // namespace
