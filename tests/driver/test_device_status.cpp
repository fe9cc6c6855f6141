#include "driver/device_status.h"
#include "tests/support/driver_fixture.h"
#include "vcc/dump.h"

namespace {

Lines dumped_to;
gboolean dump_result = TRUE;

class DeviceStatus : public DriverBench {
  protected:
    DeviceStatus() { make_driver(); }

    // What the poll does in one tick.
    Lines tick()
    {
        framework().run_tasks();
        return framework().take();
    }
};

TEST_F(DeviceStatus, ModelAndVersionWhileInService)
{
    driver->fw_version = 0x0102;
    for (const bool initialized : {true, false}) {
        initialized ? Life::run(driver) : Life::stop(driver);
        for (const int state : {0, 1, 2, 3, 4, 5, 6, 7}) {
            driver->parent_instance.state = state;
            ptz_driver_canon_update_modver(driver);
            const bool told = initialized && (state == 1 || state == 2 || state == 3 || state == 7);
            EXPECT_EQ(framework().take().back(),
                      told ? "set UserAdv.DeviceModVer model:0001, version:0102" : "set UserAdv.DeviceModVer (none)");
        }
    }
}

TEST_F(DeviceStatus, ErrorsInWordsAndAsAnEvent)
{
    g_setenv("TZ", "UTC", TRUE);
    driver->device_error = 0x84;
    EXPECT_TRUE(ptz_driver_canon_update_device_status(driver, 0x84));
    EXPECT_EQ(framework().take(),
              (Lines{"set UserAdv.CamDeviceStatus cam=error(0084), pan=error(0084), tilt=error(0084)",
                     "set UserAdv.CamLastTestDate Sun Sep  9 01:46:40 2001", "event 2 84 Cam error DSP/Pan-Tilt"}));
    EXPECT_EQ(log.take(), (Lines{"error: Cam error DSP/Pan-Tilt"}));
    driver->device_error = 0;
    framework().refuse_params = true;
    EXPECT_FALSE(ptz_driver_canon_update_device_status(driver, 1));
    const Lines calls = framework().take();
    EXPECT_EQ(calls.front(), "set UserAdv.CamDeviceStatus cam=ok, pan=ok, tilt=ok");
    EXPECT_EQ(calls.back(), "event 2 00 Cam error none");
    EXPECT_TRUE(log.take().empty());
}

TEST_F(DeviceStatus, PollReportsChangesAndTurnsIdleFiveTicksAfterAMove)
{
    CameraState &now = driver->current;
    driver->poll_holdoff = 5;
    ptz_driver_canon_start_status_poll(driver);
    EXPECT_EQ(framework().take(), (Lines{"queue_task 33000"}));
    now.pan_moving = now.tilt_moving = now.zoom_moving = now.focus_moving = 0;
    EXPECT_EQ(tick().back(), "event 2 86 Cam error IO/DSP/Pan-Tilt"); // nothing was ever received
    EXPECT_EQ(driver->device_error, 0x86u);
    for (int i = 1; i < 5; ++i)
        EXPECT_TRUE(tick().empty());
    driver->status_update = FALSE;
    EXPECT_EQ(tick(), Lines{"idle_poll 0"});
    now.focus_moving = -1;
    EXPECT_TRUE(tick().empty());
    now.auto_focus = TRUE;
    EXPECT_EQ(tick(), Lines{"idle_poll 0"});
    now.zoom_moving = -1;
    EXPECT_TRUE(tick().empty());
    EXPECT_EQ(port.reads, 5);
}

TEST_F(DeviceStatus, DumpRepeatsUntilItFailsOrTheDriverCloses)
{
    for (const bool closing : {true, false}) {
        ptz_driver_canon_start_status_dump(driver);
        ptz_driver_canon_start_status_dump(driver);
        EXPECT_EQ(framework().take(), Lines{"queue_task 500000"});
        EXPECT_EQ(framework().run_tasks(), 1u);
        closing ? Life::close(driver) : void(dump_result = FALSE);
        EXPECT_EQ(framework().run_tasks(), 0u);
        Life::open(driver);
        dump_result = TRUE;
    }
    EXPECT_EQ(std::exchange(dumped_to, {}), Lines(3, "/tmp/camsts.log"));
}

} // namespace

bool vccif_dump_status_to_file(const char *filename)
{
    dumped_to.emplace_back(filename);
    return dump_result != FALSE;
}
