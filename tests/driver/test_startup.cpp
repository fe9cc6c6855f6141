#include "driver/ptz_driver_canon_operations.h"
#include "driver/ptz_driver_canon_startup.h"
#include "tests/support/bus_fake.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"
#include "vcc/vccif_status.h"

#include <functional>
#include <glib/gstdio.h>

namespace {

int ports_locked = 0;

class Startup : public DriverBench {
  protected:
    Startup()
    {
        ports_locked = 0;
        make_driver(false);
        driver->datacache_is_used = FALSE;
        driver->firmware_do_upgrade = FALSE;
        hardware.lines["cam_good"].level = 1;
        hardware.lines["cam_done"].level = 1;
        port.status = StatusRun().set(0x60, 28, 1, 1).set(0x40, 4, 4, 0x0123).bytes();
        driver->temp_controller->temperature_ok = 1;
    }

    ~Startup() override { drop_driver(); }

    int state() const { return driver->parent_instance.state; }
    unsigned port_references() const { return G_OBJECT(driver->port)->ref_count; }

    FakeHardware hardware;
};

TEST_F(Startup, BringsTheCameraUp)
{
    bus().replies["VideoCaptureMode"] = "(<'720p30'>,)";
    framework().params = {{"BroadcastFrameRateEnabled", false}, {"Sharpness", 0}, {"MaxPan", 50}};
    EXPECT_TRUE(ptz_driver_canon_op_open(&driver->parent_instance));
    EXPECT_EQ(state(), PTZ_STATE_RUNNING);
    EXPECT_TRUE(driver->driver_initialized);
    EXPECT_EQ(driver->cam_model_id, 1);
    EXPECT_EQ(driver->fw_version, 0x0123);
    EXPECT_STREQ(driver->current.capture_mode, "720p30");
    EXPECT_EQ(driver->limit_max_pan, 50);
    EXPECT_EQ(bus().subscriptions(), 1u);
    EXPECT_EQ(port.take_payloads(),
              (Lines{"04 02 10 EF 02", "04 02 08 19 05", "04 02 08 04 00 04 02 08 18 00", "04 00 07 00 00",
                     "04 02 08 03 00", "04 00 03 01 00", "04 02 08 17 00", "04 02 08 1D 00"}));
    EXPECT_EQ(driver->parent_instance.start_routine, nullptr);
    EXPECT_EQ(ports_locked, 0);
    const Lines boot{"drive cam_reset low", "drive cam_power low", "drive cam_power high", "drive cam_reset high"};
    Lines twice = boot; // the sensor changes over, which takes a restart
    twice.insert(twice.end(), boot.begin(), boot.end());
    EXPECT_EQ(hardware.calls_of({"drive"}), twice);
    const Lines calls = framework().take();
    EXPECT_EQ(calls[1], "run_start_routine");
    EXPECT_EQ(calls[3], "video off");
    EXPECT_EQ(
        Lines(calls.end() - 3, calls.end()),
        (Lines{"set UserAdv.StatusUpdate true", "set UserAdv.DeviceModVer model:0001, version:0123", "video on"}));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "queue_task 33000"), 2); // publishing and poll
    EXPECT_TRUE(log.take().empty());

    EXPECT_TRUE(ptz_driver_canon_op_open(&driver->parent_instance)); // already running
    EXPECT_EQ(port.opens, 1);
}

// That a changed frequency switches the camera over is told with a whole board.
TEST_F(Startup, ACloseOvertakesAChangedCaptureFrequency)
{
    ptz_driver_canon_startup(driver);
    bus().emit("('com.orna.ImageControlStream', {'CaptureFrequency': <50>}, @as [])");
    ptz_driver_canon_op_close(&driver->parent_instance);
    EXPECT_EQ(bus().subscriptions(), 0u);
    hardware.calls.clear();
    EXPECT_EQ(framework().run_tasks(), 0u);
    EXPECT_TRUE(hardware.calls.empty());
}

// What is said on each way to fail is told with a whole board (tests/scenario); this is what failures leave behind.
TEST_F(Startup, FailuresLeaveThePortsFreeAndNothingSubscribed)
{
    const std::function<void()> reasons[] = {[] { bus().replies.erase("VideoCaptureMode"); },
                                             [this] {
                                                 bus().replies = BusBench{}.replies;
                                                 port.status.clear(); // what came before does not count
                                             },
                                             [this] {
                                                 ptz_driver_canon_release_port(driver);
                                                 g_clear_object(&driver->port);
                                             }};
    for (const auto &arrange : reasons) {
        arrange();
        ptz_driver_canon_reset(driver);
        EXPECT_EQ(state(), PTZ_STATE_FAILED);
        EXPECT_EQ(driver->device_error, 1u);
        EXPECT_EQ(ports_locked, 0);
        EXPECT_EQ(bus().subscriptions(), 0u);
        const Lines lines = log.take(), calls = framework().take();
        EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
                  (Lines{"error: Cam error init", "error: Fatal error, Camera block setup is failed \n"}));
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "event 2 01 Cam error init"), 1);
    }
    EXPECT_EQ(driver->fw_version, -1);
    EXPECT_FALSE(driver->camera_powered);
}

// With a firmware file but no port to send it over: what the transfer itself does is told elsewhere.
class FirmwareStartup : public Startup {
  protected:
    FirmwareStartup()
    {
        driver->firmware_do_upgrade = TRUE;
        driver->fw_upgrade_complete_pin.number = 7;
        hardware.lines["7"].level = 1;
        g_signal_connect_swapped(driver, "notify::state", G_CALLBACK(note_state), this);
    }

    static void note_state(FirmwareStartup *self)
    {
        self->states += std::to_string(self->state());
        if (self->state() == PTZ_STATE_UPGRADING)
            self->report_version(0x0124);
    }

    void report_version(std::uint32_t version)
    {
        port.status = StatusRun().set(0x60, 28, 1, 1).set(0x40, 4, 4, version).bytes();
    }

    // The states that a restart goes through with a firmware file of that version.
    std::string restart(std::uint32_t version)
    {
        std::string file("131\0\0\0\0\0", 8);
        file.resize(128);
        for (unsigned i = 0; i < 4; ++i)
            file[40 + i] = static_cast<char>(version >> (8 * i));
        write_file("IMC.APP", file);
        states.clear();
        ptz_driver_canon_reset(driver);
        EXPECT_EQ(ports_locked, 0);
        return states;
    }

    std::string states;
};

TEST_F(FirmwareStartup, UpgradesABlockOfAnotherVersion)
{
    EXPECT_EQ(restart(0x0124), "4541");
    EXPECT_EQ(log.take(), (Lines{"info: Camera block firmware upgrade needed, starting upgrade.",
                                 "error: Failed to load port config file", "error: Failed to create the port",
                                 "error: Fatal error, could not upgrade camera block firmware",
                                 "info: Camera block firmware upgrade is finished"}));
    EXPECT_EQ(driver->fw_version, 0x0124);
    EXPECT_EQ(hardware.calls_of({"value"})[2], "value 7"); // between the two boots
    EXPECT_EQ(restart(0x0124), "41");                      // has it now
    report_version(0xFFFFFFFF);                            // what a block without a version counts as
    EXPECT_EQ(restart(0xFFFFFFFF), "41");
    EXPECT_EQ(log.take(), Lines{});
}

// With both limits configured and a thermal zone that the test writes.
class TemperatureHold : public Startup {
  protected:
    TemperatureHold()
    {
        drop_driver();
        write_file("krx_driver.conf", std::string(GOOD_CONFIG) + "TemperatureLowerLimit=0\nTemperatureUpperLimit=60\n");
        g_setenv("PTZ_BOARD", folder().c_str(), TRUE);
        g_mkdir((folder() + "/thermal_zone0").c_str(), 0700);
    }

    ~TemperatureHold() override
    {
        drop_driver();
        g_unsetenv("PTZ_BOARD");
    }

    void set_celsius(int degrees) const { write_file("thermal_zone0/temp", std::to_string(degrees) + "000\n"); }

    // The controller looks at the zone, and the jobs run once.
    void measure(int degrees)
    {
        set_celsius(degrees);
        framework().run_tasks();
    }
};

TEST_F(TemperatureHold, UndoesOnlyAnOpenThatWasMade)
{
    set_celsius(-10);
    make_driver(false);
    ptz_driver_canon_op_open(&driver->parent_instance);
    EXPECT_EQ(state(), PTZ_STATE_TOO_COLD);
    EXPECT_EQ(driver->parent_instance.start_routine, nullptr);
    EXPECT_EQ(port.closes, 0); // it was never opened
    EXPECT_EQ(port_references(), 1u);

    measure(20);
    EXPECT_EQ(state(), PTZ_STATE_RUNNING);
    measure(70); // heat leaves it open
    EXPECT_EQ(state(), PTZ_STATE_TOO_HOT);
    EXPECT_FALSE(driver->camera_powered);
    ptz_driver_canon_reset(driver);
    EXPECT_EQ(state(), PTZ_STATE_TOO_HOT);
    EXPECT_EQ(port.closes, 0);
    measure(20);
    EXPECT_EQ(port_references(), 2u);
    measure(-10);
    measure(-10);
    EXPECT_EQ(framework().queued.size(), 1u); // only the controller goes on looking
    for (int i = 0; i < 2; ++i) {
        ptz_driver_canon_reset(driver);
        EXPECT_EQ(state(), PTZ_STATE_TOO_COLD);
        EXPECT_EQ(port.closes, 1);
        EXPECT_EQ(port_references(), 1u);
    }
    measure(20);
    EXPECT_EQ(state(), PTZ_STATE_RUNNING);
    EXPECT_EQ(framework().queued.size(), 3u);
    EXPECT_EQ(ports_locked, 0);
}

TEST_F(Startup, OutOfRangeWithoutAReasonIsAFailure)
{
    driver->temp_controller->temperature_ok = 0; // no limit is registered: the controller calls it in range
    driver->parent_instance.start_routine = ptz_driver_canon_start_routine;
    ptz_driver_canon_startup(driver);
    EXPECT_EQ(state(), PTZ_STATE_FAILED);
    EXPECT_EQ(driver->parent_instance.start_routine, nullptr);
    EXPECT_EQ(port.opens, 0);
}

TEST_F(Startup, ResetForgetsWhatTheCameraReported)
{
    ptz_driver_canon_startup(driver);
    driver->current.zoom_zenta = 500;
    driver->current.auto_focus = TRUE;
    driver->current.image_freeze_mode = IMAGE_FREEZE_ON;
    driver->current.iris_zenta = 7;
    driver->current.pan_speed = 9;
    port.status.clear(); // so that nothing is derived anew
    ptz_driver_canon_reset(driver);
    EXPECT_EQ(driver->current.zoom_zenta, 1);
    EXPECT_FALSE(driver->current.auto_focus);
    EXPECT_EQ(driver->current.image_freeze_mode, IMAGE_FREEZE_OFF);
    EXPECT_EQ(driver->current.iris_zenta, -1);
    EXPECT_EQ(driver->current.pan_speed, 0);
    EXPECT_EQ(driver->target.pan_speed, 9); // copied before the speeds were cleared
    EXPECT_EQ(driver->target.zoom_zenta, 1);
}

TEST_F(Startup, StopCameraOnlyTouchesABlockThatIsUp)
{
    ptz_driver_canon_stop_camera(driver);
    EXPECT_TRUE(hardware.calls.empty());
    ptz_driver_canon_startup(driver);
    hardware.calls.clear();
    driver->keep_stream = TRUE;
    ptz_driver_canon_stop_camera(driver);
    EXPECT_TRUE(hardware.calls.empty());
    EXPECT_FALSE(driver->driver_initialized);
    driver->keep_stream = FALSE;
    hardware.failing = {{"drive cam_reset", EIO}, {"drive cam_power", EIO}};
    ptz_driver_canon_stop_camera(driver);
    Lines fatal;
    for (const std::string &line : log.take())
        if (line.find("gpio") == std::string::npos)
            fatal.push_back(line);
    EXPECT_EQ(fatal, (Lines{"error: Failed to reset camera ", "error: Failed to disable camera power"}));
}

TEST_F(Startup, AudioIsOpenWhileTheCameraRuns)
{
    g_setenv("ALSA_CONFIG_PATH", ASOUND_CONF, TRUE);
    const int descriptors = open_descriptors();
    ptz_driver_canon_startup(driver);
    EXPECT_EQ(open_descriptors(), descriptors); // not wanted
    ptz_driver_canon_stop_camera(driver);
    driver->audio_init = driver->keep_stream = TRUE;
    for (int i = 0; i < 2; ++i) {
        ptz_driver_canon_startup(driver);
        EXPECT_EQ(open_descriptors(), descriptors + 1);
        ptz_driver_canon_stop_camera(driver);
        EXPECT_EQ(open_descriptors(), descriptors);
    }
    ptz_driver_canon_startup(driver);
    ptz_driver_canon_op_close(&driver->parent_instance);
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(log.take(), Lines{});
    g_unsetenv("ALSA_CONFIG_PATH");
}

TEST_F(Startup, CloseTakesEverythingDownInOrder)
{
    driver->datacache_is_used = TRUE;
    framework().datacache_result = -1;
    ptz_driver_canon_op_open(&driver->parent_instance);
    EXPECT_EQ(log.take(),
              (Lines{"error: Could not initialize zoom datacache!", "error: Could not initialize flip datacache!",
                     "error: Could not initialize position datacache!", "error: Could not initialize moving datacache!",
                     "error: Could not initialize speed datacache!"}));
    framework().take();
    hardware.calls.clear();
    EXPECT_TRUE(ptz_driver_canon_op_close(&driver->parent_instance));
    EXPECT_EQ(framework().take(),
              (Lines{"close zoom cache", "close flip cache", "close position cache", "close moving cache",
                     "close speed cache", "set UserAdv.DeviceModVer (none)", "video off"}));
    EXPECT_EQ(hardware.calls_of({"drive"}), (Lines{"drive cam_reset low", "drive cam_power low"}));
    EXPECT_EQ(state(), PTZ_STATE_CLOSED);
    EXPECT_EQ(port_references(), 1u);
    EXPECT_EQ(framework().run_tasks(), 0u); // the jobs end themselves

    EXPECT_TRUE(ptz_driver_canon_op_run_special_command(&driver->parent_instance, "reset"));
    EXPECT_EQ(state(), PTZ_STATE_RUNNING);
    EXPECT_EQ(framework().run_tasks(), 2u); // publishing and poll go on
    EXPECT_EQ(port_references(), 2u);
    EXPECT_EQ(log.count("error: Failed to set video output to on"), 1); // the picture control went with close
}

TEST_F(Startup, AStartThatComesAfterCloseDoesNothing)
{
    port.status.clear();
    ptz_driver_canon_op_open(&driver->parent_instance); // fails, and so leaves the routine with the framework
    ASSERT_NE(driver->parent_instance.start_routine, nullptr);
    ptz_driver_canon_op_close(&driver->parent_instance);
    hardware.calls.clear();
    EXPECT_TRUE(driver->parent_instance.start_routine(&driver->parent_instance));
    EXPECT_EQ(state(), PTZ_STATE_CLOSED);
    EXPECT_TRUE(hardware.calls.empty());
}

} // namespace

extern "C" void ptz_driver_port_lock_all(PTZPortRegistry *)
{
    EXPECT_EQ(ports_locked++, 0) << "locked twice";
}

extern "C" void ptz_driver_port_unlock_all(PTZPortRegistry *)
{
    EXPECT_EQ(--ports_locked, 0) << "not locked";
}
