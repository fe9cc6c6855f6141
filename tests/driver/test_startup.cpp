#include "driver/audio.h"
#include "driver/operations.h"
#include "driver/port_hold.h"
#include "driver/startup.h"
#include "ptzorvel/ports/port_registry.h"
#include "tests/support/bus_fake.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"

#include <algorithm>
#include <array>
#include <functional>

namespace {

// What is said on each way to fail, upgrades and the temperature are told with a whole board (tests/scenario); this is
// the order of things and what they leave behind.
class Startup : public DriverBench {
  protected:
    Startup()
    {
        make_driver(false);
        driver->firmware_do_upgrade = FALSE;
        hardware.lines["cam_good"].level = hardware.lines["cam_done"].level = 1;
        port.status = StatusRun().set(0x60, 28, 1, 1).set(0x40, 4, 4, 0x0123).bytes();
    }

    ~Startup() override { drop_driver(); }

    gboolean open() { return ptz_driver_canon_op_open(&driver->parent_instance); }
    void close() { ptz_driver_canon_op_close(&driver->parent_instance); }
    int state() const { return driver->parent_instance.state; }
    unsigned port_references() const { return G_OBJECT(driver->port)->ref_count; }

    static bool ports_are_free()
    {
        const bool taken = ptz_port_registry_current()->try_lock();
        if (taken)
            ptz_port_registry_current()->unlock();
        return taken;
    }

    FakeHardware hardware;
};

TEST_F(Startup, BringsTheCameraUp)
{
    bus().replies["VideoCaptureMode"] = "(<'720p30'>,)";
    framework().params = {{"BroadcastFrameRateEnabled", false}, {"Sharpness", 0}, {"MaxPan", 50}};
    driver->dbg_status_dump = TRUE;
    EXPECT_TRUE(open());
    EXPECT_STREQ(driver->current.capture_mode, "720p30");
    EXPECT_EQ(driver->limit_max_pan, 50);
    EXPECT_EQ(port.take_payloads(),
              (Lines{"04 02 10 EF 02", "04 02 08 19 05", "04 02 08 04 00 04 02 08 18 00", "04 00 07 00 00",
                     "04 02 08 03 00", "04 00 03 01 00", "04 02 08 17 00", "04 02 08 1D 00"}));
    EXPECT_EQ(driver->parent_instance.start_routine, nullptr);
    EXPECT_TRUE(ports_are_free());
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
    EXPECT_TRUE(log.take().empty());

    EXPECT_TRUE(open()); // already running
    EXPECT_EQ(port.opens, 1);
    ptz_driver_canon_reset(driver);
    EXPECT_EQ(framework().queued.size(), 3u); // publishing, poll and dump, each once
}

TEST_F(Startup, FailuresLeaveThePortsFreeAndNothingSubscribed)
{
    const std::function<void()> reasons[] = {
        [] { bus().replies.erase("VideoCaptureMode"); },
        [this] {
            bus().replies = BusBench{}.replies;
            port.status.clear(); // what came before does not count
        },
        [this] {
            ptz_driver_canon_release_port(driver);
            g_clear_object(&driver->port);
        },
        [this] { driver->temp_controller->temperature_ok = 0; }, // though within its limits
    };
    for (const auto &arrange : reasons) {
        arrange();
        ptz_driver_canon_reset(driver);
        EXPECT_EQ(state(), PTZ_STATE_FAILED);
        EXPECT_EQ(driver->device_error, 1u);
        EXPECT_TRUE(ports_are_free());
        EXPECT_EQ(bus().subscriptions(), 0u);
        const Lines lines = log.take(), calls = framework().take();
        EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
                  (Lines{"error: Cam error init", "error: Fatal error, Camera block setup is failed \n"}));
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "event 2 01 Cam error init"), 1);
    }
    EXPECT_FALSE(driver->camera_powered);
}

TEST_F(Startup, ResetForgetsWhatTheCameraReported)
{
    CameraState &now = driver->current;
    now.hfov = now.vfov = now.zoom_magnification = 9;
    const auto numbers = [](CameraState &state) {
        return std::array{
            &state.zoom_zenta,     &state.auto_iris,      &state.image_freeze_mode, &state.focus_zenta,
            &state.focus_position, &state.iris_zenta,     &state.zoom_moving,       &state.focus_moving,
            &state.iris_moving,    &state.pan_moving,     &state.tilt_moving,       &state.brightness_zenta,
            &state.auto_focus,     &state.freeze_pending, &state.image_frozen,      &state.pan_speed};
    };
    constexpr int RESET[] = {1, 1, IMAGE_FREEZE_OFF, -1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0};
    for (int *number : numbers(now))
        *number = 9;
    port.status.clear(); // so that nothing is derived anew
    ptz_driver_canon_reset(driver);
    EXPECT_TRUE(now.hfov == -1 && now.vfov == -1 && now.zoom_magnification == 1);
    for (std::size_t i = 0; i < std::size(RESET); ++i)
        EXPECT_EQ(*numbers(now)[i], RESET[i]) << i;
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
    framework().take();
    ptz_driver_canon_stop_camera(driver);
    EXPECT_EQ(framework().take(), (Lines{"set UserAdv.DeviceModVer (none)", "video off"}));
    EXPECT_EQ(log.count("error: Failed to reset camera "), 1);
    EXPECT_EQ(log.count("error: Failed to disable camera power"), 1);
}

TEST_F(Startup, CloseTakesEverythingDownInOrder)
{
    driver->datacache_is_used = TRUE;
    framework().datacache_result = -1;
    open();
    EXPECT_EQ(log.take(),
              (Lines{"error: Could not initialize zoom datacache!", "error: Could not initialize flip datacache!",
                     "error: Could not initialize position datacache!", "error: Could not initialize moving datacache!",
                     "error: Could not initialize speed datacache!"}));
    framework().take();
    hardware.calls.clear();
    close();
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
    const Lines again = framework().take();
    EXPECT_NE(std::find(again.begin(), again.end(), "video on"),
              again.end()); // the picture control went with the close, and is there again
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Startup, ACloseOvertakesWhatWaits)
{
    const Bytes status = std::exchange(port.status, {});
    open(); // fails, and so leaves the routine with the framework
    auto *const late_start = driver->parent_instance.start_routine;
    ASSERT_NE(late_start, nullptr);
    port.status = status;
    ptz_driver_canon_reset(driver);
    bus().emit("('com.orna.ImageControlStream', {'CaptureFrequency': <50>}, @as [])");
    close();
    EXPECT_EQ(bus().subscriptions(), 0u);
    hardware.calls.clear();
    EXPECT_EQ(framework().run_tasks(), 0u);
    EXPECT_TRUE(late_start(&driver->parent_instance));
    EXPECT_EQ(state(), PTZ_STATE_CLOSED);
    EXPECT_TRUE(hardware.calls.empty());
}

// On the real sound library, with devices made up of its own plug-ins.
TEST_F(Startup, AudioIsOpenWhileTheCameraRuns)
{
    const std::tuple<const char *, Lines, int> cases[] = {
        {"pcm.audiosource0 { type null }", {}, 1},
        {"pcm.audiosource0 { type mulaw slave { pcm { type null } format S16_LE } }",
         {"error: Sample format not available"},
         1},
        {"pcm.another { type null }", {"error: Unable to open pcm device: No such file or directory"}, 0},
    };
    const auto use = [](const std::string &file) { g_setenv("ALSA_CONFIG_PATH", file.c_str(), TRUE); };
    driver->audio_init = driver->keep_stream = TRUE;
    const int descriptors = open_descriptors();
    for (const auto &each : cases) {
        const auto &[device, messages, opened] = each;
        const std::string file = std::to_string(&each - cases) + ".conf"; // each is read once
        write_file(file.c_str(), device);
        use(folder() + "/" + file);
        ptz_driver_canon_startup(driver);
        EXPECT_EQ(log.take(), messages);
        EXPECT_EQ(open_descriptors(), descriptors + opened);
        ptz_driver_canon_stop_camera(driver);
        EXPECT_EQ(open_descriptors(), descriptors);
    }
    use(ASOUND_CONF);
    ptz_driver_canon_startup(driver);
    ptz_driver_canon_audio_init();
    EXPECT_EQ(log.take(), Lines{"info: Unable to open pcm device, it is already open"});
    close();
    EXPECT_EQ(open_descriptors(), descriptors);
    g_unsetenv("ALSA_CONFIG_PATH");
}

} // namespace
