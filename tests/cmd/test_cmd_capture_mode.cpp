#include "cmd/ptz_driver_canon_cmd_capture_mode.h"
#include "tests/cmd/command_bench.h"
#include "tests/support/fake_hardware.h"
#include "vcc/vccif_status.h"

namespace {

class CaptureMode : public CommandBench {
  protected:
    CaptureMode()
    {
        hardware.lines["cam_good"].level = hardware.lines["cam_done"].level = 1;
        report(1, 0);
    }

    // What the camera block reports from now on, and what the driver has of it.
    void report(int frequency, int state)
    {
        const Bytes run = StatusRun().set(0x60, 28, 1, 1).set(0x60, 30, 1, frequency).set(0x60, 31, 1, state).bytes();
        port.status = run;
        vccif_append_data(run.data(), static_cast<unsigned>(run.size()));
    }

    gboolean set(const char *mode, gboolean blank, gboolean restart)
    {
        required = -1;
        framework().take();
        return ptz_driver_canon_cmd_capture_mode(driver, mode, blank, restart, &required);
    }

    FakeHardware hardware;
    gboolean required = -1;
};

TEST_F(CaptureMode, InForceAlreadyGoesOnWithTheFrameRate)
{
    EXPECT_TRUE(set("1080P50", TRUE, TRUE));
    EXPECT_EQ(required, FALSE);
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 08 19 01", "04 02 08 04 01 04 02 08 18 00"}));
    EXPECT_EQ(framework().take(), (Lines{"video off", "video on"}));
    EXPECT_STREQ(now().capture_mode, "1080P50");
    EXPECT_TRUE(set(now().capture_mode, FALSE, TRUE)); // its own text
    EXPECT_EQ(framework().take(), Lines{});
    model.video_mode_supported = FALSE;
    port.take_payloads();
    EXPECT_TRUE(set("720p25", FALSE, TRUE));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 08 19 03"}));
    EXPECT_EQ(clock.slept_us(), 0);
}

TEST_F(CaptureMode, LeavesTheRestartToTheCallerWithTheVideoOff)
{
    EXPECT_TRUE(set("1080p60", TRUE, FALSE));
    EXPECT_EQ(required, TRUE);
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 10 EF 00"}));
    EXPECT_EQ(framework().take(), (Lines{"video off"}));
    EXPECT_EQ(now().capture_mode, nullptr);
    EXPECT_EQ(port.reads, 0);
    EXPECT_EQ(clock.slept_us(), 11000000); // the last status never told of a completed change
    report(1, 2);
    EXPECT_TRUE(set("1080p60", FALSE, FALSE));
    EXPECT_EQ(clock.slept_us(), 12000000);
}

TEST_F(CaptureMode, RestartsTheCameraOnTheSpot)
{
    EXPECT_TRUE(set("720p60", FALSE, TRUE));
    EXPECT_EQ(required, FALSE);
    EXPECT_EQ(hardware.calls_of({"drive"}),
              (Lines{"drive cam_reset low", "drive cam_power low", "drive cam_power high", "drive cam_reset high"}));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 10 EF 00", "04 02 08 19 00", "04 02 08 04 00 04 02 08 18 00"}));
    EXPECT_STREQ(now().capture_mode, "720p60");

    driver->cam_model = &model; // the boot has selected the real one
    model.sw_reset_supported = model.halt_sensor_on_power_off = TRUE;
    hardware.calls.clear();
    EXPECT_TRUE(set("720p60", FALSE, TRUE));
    EXPECT_EQ(port.take_payloads(), (Lines{"04 02 10 EF 00", "05 00 08 00 00 01", "05 00 08 00 00 00", "04 02 08 19 00",
                                           "04 02 08 04 00 04 02 08 18 00"}));
    EXPECT_TRUE(hardware.calls.empty());
}

TEST_F(CaptureMode, FailuresLeaveTheVideoOffAndTheNameAsItWas)
{
    set_capture_mode("old");
    hardware.lines["cam_good"].level = 0;
    port.status.clear();
    vccif_clear_status();
    EXPECT_FALSE(set("1080p50", TRUE, TRUE)); // frequency 1: unknown to a camera without status
    EXPECT_EQ(take_errors().back(), "Fatal error, could not restart camera block");
    EXPECT_EQ(framework().take(), (Lines{"video off"}));
    EXPECT_EQ(required, FALSE);
    model.sw_reset_supported = TRUE;
    EXPECT_FALSE(set("1080p50", FALSE, TRUE));
    EXPECT_EQ(take_errors(), (Lines{"Fatal error, failed to communicate with camera block"}));
    port.deaf = true;
    EXPECT_FALSE(set("1080p50", FALSE, TRUE));
    EXPECT_FALSE(set("1080p60", FALSE, TRUE));
    EXPECT_FALSE(set("480i", TRUE, TRUE));
    EXPECT_EQ(take_errors(),
              (Lines{"Failed to send capture frequency setup command",
                     "Failed to send capture frame rate setup command", "Unsupported capture mode: 480i"}));
    EXPECT_FALSE(ptz_driver_canon_cmd_sw_reset(driver));
    model.sw_reset_supported = FALSE;
    EXPECT_FALSE(ptz_driver_canon_cmd_sw_reset(driver));
    EXPECT_EQ(take_errors(), (Lines{"Failed to send software reset setup command", "Unsupported software reset"}));
    EXPECT_STREQ(now().capture_mode, "old");
}

TEST_F(CaptureMode, GuardsItsArguments)
{
    EXPECT_FALSE(ptz_driver_canon_cmd_capture_mode(driver, nullptr, FALSE, FALSE, &required));
    EXPECT_FALSE(ptz_driver_canon_cmd_capture_mode(driver, "720p25", FALSE, FALSE, nullptr));
    EXPECT_FALSE(ptz_driver_canon_cmd_capture_mode_sensor(driver, nullptr, &required));
    EXPECT_FALSE(ptz_driver_canon_cmd_capture_mode_isp(driver, nullptr));
    EXPECT_FALSE(ptz_driver_canon_cmd_image_freeze(driver, nullptr));
    EXPECT_EQ(log.take(), (Lines{guard_line("ptz_driver_canon_cmd_capture_mode", "mode"),
                                 guard_line("ptz_driver_canon_cmd_capture_mode", "restart_required"),
                                 guard_line("ptz_driver_canon_cmd_capture_mode_sensor", "capture_mode"),
                                 guard_line("ptz_driver_canon_cmd_capture_mode_isp", "capture_mode"),
                                 guard_line("ptz_driver_canon_cmd_image_freeze", "mode")}));
}

TEST_F(CaptureMode, ImageFreezeIsKeptWithoutAPacket)
{
    EXPECT_TRUE(ptz_driver_canon_cmd_image_freeze(driver, "ON"));
    EXPECT_EQ(now().image_freeze_mode, 1);
    EXPECT_FALSE(ptz_driver_canon_cmd_image_freeze(driver, "maybe"));
    EXPECT_EQ(now().image_freeze_mode, 1);
    EXPECT_TRUE(ptz_driver_canon_cmd_image_freeze(driver, "off"));
    EXPECT_EQ(now().image_freeze_mode, 2);
    model.image_freeze_supported = FALSE;
    EXPECT_TRUE(ptz_driver_canon_cmd_image_freeze(driver, "maybe"));
    EXPECT_EQ(now().image_freeze_mode, 2);
    EXPECT_TRUE(log.take().empty() && port.packets.empty());
}

} // namespace
