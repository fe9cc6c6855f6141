// Power and reset sequences: which lines are driven and read, in which order, and what each failing step leaves.
#include "hw/ptz_driver_canon_power.h"
#include "tests/support/capture.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/virtual_clock.h"

#include <gtest/gtest.h>

namespace {

const std::string FATAL = "error: Fatal error, ";
const std::string DENIED = "error: 13 - (Permission denied) ERROR: Failed to change gpio ";

class PowerTest : public testing::Test {
  protected:
    PowerTest()
    {
        const std::pair<GpioLine &, const char *> names[] = {{driver.power_pin, "power"},
                                                             {driver.power_good_pin, "good"},
                                                             {driver.reset_pin, "reset"},
                                                             {driver.init_done_pin, "done"},
                                                             {driver.reset_pcie_pin, "pcie"},
                                                             {driver.fpga_reset_pin, "fpga"},
                                                             {driver.fw_upgrade_complete_pin, "upgraded"}};
        for (const auto &[line, name] : names)
            line = {-1, const_cast<char *>(name)};
        driver.enable_pcie_clk_pin = {12, nullptr};
        driver.fpga_is_used = TRUE;
        driver.reset_pins_active_low = TRUE;
        hardware.lines["good"].level = 1;
        hardware.lines["done"].level = 1;
    }

    ~PowerTest() override { EXPECT_EQ(hardware.live_handles, 0) << "a GPIO line is still held"; }

    // What happened to the lines since the last call.
    Lines steps()
    {
        Lines result = hardware.calls_of({"drive", "value"});
        hardware.calls.clear();
        return result;
    }

    // "powered released", "powered -", ...
    std::string flags() const
    {
        return std::string(driver.camera_powered ? "powered" : "-") + " " +
               (driver.camera_reset_released ? "released" : "-");
    }

    PTZDriverCanon driver{};
    VirtualClock clock;
    FakeHardware hardware;
    LogCapture log;
};

TEST_F(PowerTest, GoesThroughAllLinesInOrder)
{
    EXPECT_TRUE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(steps(), (Lines{"drive power high", "value good", "drive 12 high", "drive reset high", "value done",
                              "drive pcie high", "drive fpga low"}));
    EXPECT_EQ(flags(), "powered released");
    EXPECT_TRUE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(steps(),
              (Lines{"drive fpga high", "drive pcie low", "drive reset low", "drive 12 low", "drive power low"}));
    EXPECT_EQ(flags(), "- -");
    EXPECT_EQ(clock.sleeps(), 0);

    driver.power_pins_active_low = TRUE; // every polarity follows its own key
    driver.reset_pins_active_low = FALSE;
    driver.fpga_reset_pins_active_low = TRUE;
    EXPECT_TRUE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(steps(), (Lines{"drive power low", "value good", "drive 12 high", "drive reset low", "value done",
                              "drive pcie low", "drive fpga high"}));
    EXPECT_TRUE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(steps(),
              (Lines{"drive fpga low", "drive pcie high", "drive reset high", "drive 12 low", "drive power high"}));
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(PowerTest, LinesThatAreNotConfiguredAreSkipped)
{
    driver.enable_pcie_clk_pin = driver.reset_pcie_pin = driver.fpga_reset_pin = {-1, nullptr};
    driver.fpga_is_used = FALSE;
    EXPECT_TRUE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(steps(), (Lines{"drive power high", "value good", "drive reset high", "value done"}));
    driver.power_pin = {-1, nullptr};
    EXPECT_TRUE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(steps(), Lines{"drive reset low"});
    EXPECT_TRUE(ptz_driver_canon_set_power(&driver, true));
    EXPECT_EQ(flags(), "powered -") << "the flag is kept without a line, too";
    EXPECT_EQ(steps(), Lines{});
}

TEST_F(PowerTest, LinesThatMustBeThereFailWhenTheyAreNotConfigured)
{
    driver.power_good_pin = {-1, nullptr};
    EXPECT_FALSE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(log.take(),
              (Lines{"error: 22 - (Invalid argument) ERROR: Failed to request gpio -1/",
                     FATAL + "camera block power could not be enabled.\n", FATAL + "failed to supply power"}));
    driver.fpga_reset_pin = {-1, nullptr};
    EXPECT_FALSE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(log.take(), (Lines{"error: 22 - (Invalid argument) ERROR: Failed to change gpio -1/",
                                 FATAL + "failed to reset FPGA"}));
}

TEST_F(PowerTest, EveryFailingStepEndsTheSequence)
{
    const struct {
        bool on;
        const char *call;
        std::size_t steps; // made, the failing one included
        const char *flags; // left
        const char *line;  // number/name in the message
        const char *failure;
    } cases[] = {
        {true, "drive power", 1, "- -", "-1/power", "failed to supply power"},
        {true, "drive 12", 3, "powered -", "12/", "failed to enable the clock for PCIe"},
        {true, "drive reset", 4, "powered -", "-1/reset", "failed to release the reset for camera block"},
        {true, "drive pcie", 6, "powered released", "-1/pcie", "failed to release the reset for PCIe"},
        {true, "drive fpga", 7, "powered released", "-1/fpga", "failed to release the reset of FPGA"},
        {false, "drive fpga", 1, "powered released", "-1/fpga", "failed to reset FPGA"},
        {false, "drive pcie", 2, "powered released", "-1/pcie", "failed to reset PCIe"},
        {false, "drive reset", 3, "powered released", "-1/reset", "failed to reset camera block"},
        {false, "drive 12", 4, "powered -", "12/", "failed to disable power supply"},
        {false, "drive power", 5, "powered -", "-1/power", "failed to disable power supply"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.failure);
        driver.camera_powered = driver.camera_reset_released = !each.on;
        hardware.failing = {{each.call, EACCES}};
        EXPECT_FALSE(each.on ? ptz_driver_canon_power_on(&driver) : ptz_driver_canon_power_off(&driver));
        EXPECT_EQ(steps().size(), each.steps);
        EXPECT_EQ(flags(), each.flags);
        EXPECT_EQ(log.take(), (Lines{DENIED + each.line, FATAL + each.failure}));
    }
}

TEST_F(PowerTest, ALineThatNeverGetsHighEndsPowerOnAfterThirtySeconds)
{
    hardware.lines["done"].level = 0;
    EXPECT_FALSE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(hardware.calls_of({"drive"}), (Lines{"drive power high", "drive 12 high", "drive reset high"}));
    EXPECT_EQ(flags(), "powered released");
    EXPECT_EQ(clock.slept_us(), 29999 * 1000);
    hardware.lines["good"].level = 0;
    EXPECT_FALSE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(clock.slept_us(), 2 * 29999 * 1000);
    EXPECT_EQ(
        log.take(),
        (Lines{FATAL + "timeout is occurred while waiting for done!\n", FATAL + "camera block could not be boot up.\n",
               FATAL + "failed to release the reset for camera block",
               FATAL + "timeout is occurred while waiting for good!\n",
               FATAL + "camera block power could not be enabled.\n", FATAL + "failed to supply power"}));
}

TEST_F(PowerTest, PowerCyclePausesBetweenOffAndOn)
{
    EXPECT_TRUE(ptz_driver_canon_power_cycle(&driver));
    EXPECT_EQ(clock.sleeps(), 1);
    EXPECT_EQ(clock.slept_us(), 100000);
    EXPECT_EQ(steps().size(), 12u);
    hardware.failing["drive pcie"] = EIO;
    EXPECT_FALSE(ptz_driver_canon_power_cycle(&driver));
    EXPECT_EQ(steps(), (Lines{"drive fpga high", "drive pcie low"})) << "a failed power-off does not power on";
    EXPECT_EQ(clock.sleeps(), 1);
}

TEST_F(PowerTest, TheUpgradeWaitIsTwoMinutesOfLooks)
{
    hardware.lines["upgraded"].script = {0, 0, 1};
    EXPECT_TRUE(ptz_driver_canon_wait_fw_upgrade_complete(&driver));
    EXPECT_EQ(clock.slept_us(), 400000);
    EXPECT_FALSE(ptz_driver_canon_wait_fw_upgrade_complete(&driver));
    EXPECT_EQ(steps().size(), 3 + 600u);
    EXPECT_EQ(log.take(), (Lines{FATAL + "timeout is occurred while waiting for upgraded!\n",
                                 FATAL + "camera block firmware upgrade could not be completed.\n"}));
}

TEST_F(PowerTest, AWaitNamesItsLineHoweverItFails)
{
    EXPECT_EQ(ptz_driver_canon_wait_gpio(41, nullptr, 0, 1000), -1);
    hardware.failing = {{"value", EIO}};
    EXPECT_EQ(ptz_driver_canon_wait_gpio(40, "x", 10, 1000), -1);
    EXPECT_EQ(log.take(), (Lines{FATAL + "timeout is occurred while waiting for !\n",
                                 "error: 5 - (Input/output error) ERROR: Failed to get value of gpio 40/x"}));
}

TEST_F(PowerTest, NoDriverIsRefused)
{
    EXPECT_FALSE(ptz_driver_canon_power_on(nullptr));
    EXPECT_FALSE(ptz_driver_canon_set_reset(nullptr, true));
    EXPECT_EQ(log.take(), (Lines{guard_line("ptz_driver_canon_power_on", "self"),
                                 guard_line("ptz_driver_canon_set_reset", "self")}));
}

} // namespace
