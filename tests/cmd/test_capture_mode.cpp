#include "cmd/capture_mode.h"
#include "tests/cmd/command_bench.h"
#include "tests/support/fake_hardware.h"
#include "vcc/status.h"

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

    std::string set(const char *mode, gboolean blank, gboolean restart)
    {
        required = -1;
        framework().take();
        return outcome(ptz_driver_canon_cmd_capture_mode(driver, mode, blank, restart, &required));
    }

    FakeHardware hardware;
    gboolean required = -1;
};

TEST_F(CaptureMode, InForceAlreadyGoesOnWithTheFrameRate)
{
    const std::string rate = "04 02 08 19 01 | 04 02 08 04 01 04 02 08 18 00";
    EXPECT_EQ(set("1080P50", TRUE, TRUE), rate);
    EXPECT_EQ(required, FALSE);
    EXPECT_EQ(framework().take(), (Lines{"video off", "video on"}));
    EXPECT_STREQ(now().capture_mode, "1080P50");
    EXPECT_EQ(set(now().capture_mode, FALSE, TRUE), rate); // its own text
    EXPECT_EQ(framework().take(), Lines{});
    model.video_mode_supported = FALSE;
    EXPECT_EQ(set("720p25", FALSE, TRUE), "04 02 08 19 03");
    EXPECT_EQ(clock.slept_us(), 0);
}

TEST_F(CaptureMode, LeavesTheRestartToTheCallerWithTheVideoOff)
{
    EXPECT_EQ(set("1080p60", TRUE, FALSE), "04 02 10 EF 00");
    EXPECT_EQ(required, TRUE);
    EXPECT_EQ(framework().take(), (Lines{"video off"}));
    EXPECT_EQ(now().capture_mode, nullptr);
    EXPECT_EQ(port.reads, 0);
    EXPECT_EQ(clock.slept_us(), 11000000); // the last status never told of a completed change
    report(1, 2);
    set("1080p60", FALSE, FALSE);
    EXPECT_EQ(clock.slept_us(), 12000000);
}

TEST_F(CaptureMode, RestartsTheCameraOnTheSpot)
{
    EXPECT_EQ(set("720p60", FALSE, TRUE), "04 02 10 EF 00 | 04 02 08 19 00 | 04 02 08 04 00 04 02 08 18 00");
    EXPECT_EQ(required, FALSE);
    EXPECT_EQ(hardware.calls_of({"drive"}),
              (Lines{"drive cam_reset low", "drive cam_power low", "drive cam_power high", "drive cam_reset high"}));
    EXPECT_STREQ(now().capture_mode, "720p60");

    driver->cam_model = &model; // the boot has selected the real one
    model.sw_reset_supported = model.halt_sensor_on_power_off = TRUE;
    hardware.calls.clear();
    EXPECT_EQ(set("720p60", FALSE, TRUE), "04 02 10 EF 00 | 05 00 08 00 00 01 | 05 00 08 00 00 00 | 04 02 08 19 00 | "
                                          "04 02 08 04 00 04 02 08 18 00");
    EXPECT_TRUE(hardware.calls.empty());
}

TEST_F(CaptureMode, FailuresLeaveTheVideoOffAndTheNameAsItWas)
{
    set_capture_mode("old");
    hardware.lines["cam_good"].level = 0;
    port.status.clear();
    vccif_clear_status();
    EXPECT_TRUE(set("1080p50", TRUE, TRUE).ends_with("Fatal error, could not restart camera block"));
    EXPECT_EQ(framework().take(), (Lines{"video off"}));
    EXPECT_EQ(required, FALSE);
    model.sw_reset_supported = TRUE;
    EXPECT_TRUE(set("1080p50", FALSE, TRUE).ends_with("Fatal error, failed to communicate with camera block"));
    port.deaf = true; // frequency 1: unknown to a camera without status
    EXPECT_EQ(set("1080p50", FALSE, TRUE), refused("Failed to send capture frequency setup command"));
    EXPECT_EQ(set("1080p60", FALSE, TRUE), refused("Failed to send capture frame rate setup command"));
    EXPECT_EQ(set("480i", TRUE, TRUE), refused("Unsupported capture mode: 480i"));
    EXPECT_EQ(set(nullptr, TRUE, TRUE), refused_by("ptz_driver_canon_cmd_capture_mode", "mode"));
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_capture_mode(driver, "720p25", TRUE, FALSE, nullptr)),
              refused_by("ptz_driver_canon_cmd_capture_mode", "restart_required"));
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_sw_reset(driver)), refused("Failed to send software reset setup command"));
    model.sw_reset_supported = FALSE;
    EXPECT_EQ(outcome(ptz_driver_canon_cmd_sw_reset(driver)), refused("Unsupported software reset"));
    EXPECT_STREQ(now().capture_mode, "old");
}

TEST_F(CaptureMode, AFailureInMidChangeEndsIt)
{
    set_capture_mode("old");
    model.sw_reset_supported = TRUE;
    const std::pair<std::size_t, Lines> failures[] = {
        {1, {"Failed to send software reset setup command", "Fatal error, could not start camera block"}},
        {2, {"Failed to send capture frame rate setup command"}},
        {3, {"Failed to send video mode setup command"}},
    };
    for (const auto &[taken, errors] : failures) {
        port.packets.clear();
        port.takes = taken;
        EXPECT_FALSE(ptz_driver_canon_cmd_capture_mode(driver, "720p60", TRUE, TRUE, &required));
        EXPECT_EQ(take_errors(), errors);
        const Lines calls = framework().take();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "video on"), 0);
        EXPECT_STREQ(now().capture_mode, "old");
    }
}

} // namespace
