// Power and reset sequences: which lines are driven and read, in which order, and what each failing step leaves.
#include "hw/power.h"
#include "tests/support/capture.h"
#include "tests/support/fake_hardware.h"
#include "tests/support/virtual_clock.h"

#include <gtest/gtest.h>

namespace {

const std::string FATAL = "error: Fatal error, ";

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
        hardware.lines["good"].level = hardware.lines["done"].level = 1;
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

TEST_F(PowerTest, GoesThroughTheConfiguredLinesInOrder)
{
    EXPECT_TRUE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(steps(), (Lines{"drive power high", "value good", "drive 12 high", "drive reset high", "value done",
                              "drive pcie high", "drive fpga low"}));
    EXPECT_EQ(flags(), "powered released");
    EXPECT_TRUE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(steps(),
              (Lines{"drive fpga high", "drive pcie low", "drive reset low", "drive 12 low", "drive power low"}));
    EXPECT_EQ(flags(), "- -");

    driver.power_pins_active_low = TRUE; // every polarity follows its own key
    driver.reset_pins_active_low = FALSE;
    driver.fpga_reset_pins_active_low = TRUE;
    EXPECT_TRUE(ptz_driver_canon_power_on(&driver));
    EXPECT_EQ(steps(), (Lines{"drive power low", "value good", "drive 12 high", "drive reset low", "value done",
                              "drive pcie low", "drive fpga high"}));
    driver.power_pin = driver.enable_pcie_clk_pin = driver.reset_pcie_pin = driver.fpga_reset_pin = {-1, nullptr};
    driver.fpga_is_used = FALSE;
    EXPECT_TRUE(ptz_driver_canon_power_off(&driver));
    EXPECT_EQ(steps(), Lines{"drive reset high"});
    EXPECT_EQ(flags(), "- -") << "the flag is kept without a line, too";
    EXPECT_EQ(log.take(), Lines{});
    driver.fpga_is_used = TRUE; // whose line must be there
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
        EXPECT_EQ(log.take(),
                  (Lines{std::string("error: 13 - (Permission denied) ERROR: Failed to change gpio ") + each.line,
                         FATAL + each.failure}));
    }
}

TEST_F(PowerTest, ALineThatNeverGetsHighIsGivenUp)
{
    hardware.lines["done"].level = 0;
    EXPECT_FALSE(ptz_driver_canon_power_on(&driver));
    hardware.lines["good"].level = 0;
    EXPECT_FALSE(ptz_driver_canon_power_on(&driver));
    hardware.lines["upgraded"].script = {0, 0, 1};
    EXPECT_TRUE(ptz_driver_canon_wait_fw_upgrade_complete(&driver));
    EXPECT_FALSE(ptz_driver_canon_wait_fw_upgrade_complete(&driver));
    EXPECT_EQ(clock.slept_us(), 2 * 29999 * 1000 + (2 + 599) * 200000);
    hardware.failing = {{"value", EIO}};
    EXPECT_FALSE(ptz_driver_canon_wait_fw_upgrade_complete(&driver));
    const std::string timeout = FATAL + "timeout is occurred while waiting for ";
    const std::string upgrade = FATAL + "camera block firmware upgrade could not be completed.\n";
    EXPECT_EQ(log.take(),
              (Lines{timeout + "done!\n", FATAL + "camera block could not be boot up.\n",
                     FATAL + "failed to release the reset for camera block", timeout + "good!\n",
                     FATAL + "camera block power could not be enabled.\n", FATAL + "failed to supply power",
                     timeout + "upgraded!\n", upgrade,
                     "error: 5 - (Input/output error) ERROR: Failed to get value of gpio -1/upgraded", upgrade}));
}

TEST_F(PowerTest, PowerCyclePausesBetweenOffAndOn)
{
    EXPECT_TRUE(ptz_driver_canon_power_cycle(&driver));
    EXPECT_EQ(clock.slept_us(), 100000);
    EXPECT_EQ(steps().size(), 12u);
    hardware.failing["drive pcie"] = EIO;
    EXPECT_FALSE(ptz_driver_canon_power_cycle(&driver));
    EXPECT_EQ(steps(), (Lines{"drive fpga high", "drive pcie low"})) << "a failed power-off does not power on";
}

} // namespace
