// The temperature controllers of a driver whose thermal zone the test writes. How the camera goes from state to state
// with them is told with a whole board.
#include "driver/operations.h"
#include "driver/startup.h"
#include "driver/type.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/temp_folder.h"

namespace {

class Temperature : public DriverBench {
  protected:
    Temperature()
    {
        write_file("krx_driver.conf", std::string(GOOD_CONFIG) + "FirmwareDoUpgrade=false\nTemperatureSensor=3\n" +
                                          "TemperatureLowerLimit=0\nTemperatureUpperLimit=60\n" +
                                          "TemperatureHysteresisGeneric=2\nTemperatureHysteresisCooling=5\n");
        hardware.lines["cam_good"].level = hardware.lines["cam_done"].level = 1;
        port.status = StatusRun().set(0x60, 28, 1, 1).set(0x40, 4, 4, 0x0123).bytes();
    }

    void set_celsius(int degrees) const { board.write("thermal_zone3/temp", std::to_string(degrees) + "000\n"); }

    // The controller looks at the zone; the state after it.
    int state_at(int degrees)
    {
        set_celsius(degrees);
        framework().run_tasks();
        return driver->parent_instance.state;
    }

    const TempFolder board{"PTZ_BOARD"};
    FakeHardware hardware;
};

TEST_F(Temperature, EachLimitHasItsHysteresisAndMessage)
{
    const std::string end = " operating temperature. Camera block will shut down.";
    const Lines below{"warning: Temperature is below" + end}, above{"warning: Temperature is above" + end};
    set_celsius(-1);
    make_driver(false);
    ptz_driver_canon_op_open(&driver->parent_instance);
    EXPECT_EQ(driver->parent_instance.start_routine, nullptr); // the controller starts it, not the framework
    EXPECT_EQ(state_at(1), PTZ_STATE_TOO_COLD);
    EXPECT_EQ(state_at(3), PTZ_STATE_RUNNING);
    EXPECT_EQ(state_at(61), PTZ_STATE_TOO_HOT);
    EXPECT_EQ(log.take(), above);
    EXPECT_EQ(state_at(56), PTZ_STATE_TOO_HOT);
    EXPECT_EQ(framework().queued.size(), 1u); // only the controller goes on looking
    EXPECT_EQ(state_at(54), PTZ_STATE_RUNNING);
    EXPECT_EQ(state_at(-1), PTZ_STATE_TOO_COLD);
    EXPECT_EQ(log.take(), below);
    ptz_driver_canon_reset(driver); // still too cold: gives up the port
    EXPECT_EQ(port.closes, 1);

    ptz_driver_canon_set_state(driver, PTZ_STATE_FAILED); // neither stopped nor started again
    EXPECT_EQ(state_at(20), PTZ_STATE_FAILED);
    EXPECT_EQ(state_at(70), PTZ_STATE_FAILED);
    EXPECT_EQ(driver->temp_controller->temperature_ok, 0);
    EXPECT_EQ(log.take(), above);
}

TEST_F(Temperature, WithoutASensorNothingIsWatched)
{
    write_file("krx_driver.conf", std::string(GOOD_CONFIG) + "FirmwareDoUpgrade=false\nTemperatureLowerLimit=0\n" +
                                      "TemperatureUpperLimit=60\nTemperatureSensor=-1\n");
    make_driver(false);
    ptz_driver_canon_op_open(&driver->parent_instance);
    EXPECT_EQ(driver->parent_instance.state, PTZ_STATE_RUNNING);
    EXPECT_EQ(framework().queued.size(), 2u); // publishing and poll
}

} // namespace
