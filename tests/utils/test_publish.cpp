#include "tests/support/driver_fixture.h"
#include "utils/ptz_driver_canon_utils_picture.h"
#include "utils/ptz_driver_canon_utils_publish.h"
#include "utils/ptz_driver_canon_utils_status.h"

namespace {

class Publish : public DriverBench {
  protected:
    Publish()
    {
        make_driver();
        driver->temp_controller->temperature_ok = 1;
    }

    Lines published()
    {
        ptz_driver_canon_utils_publish_status(driver);
        return framework().take();
    }
};

TEST_F(Publish, GroupsInOrderWithoutCaches)
{
    driver->current.iris_zenta = 300;
    driver->current.auto_focus = TRUE;
    EXPECT_EQ(published(),
              (Lines{"report -1 -1 -1 -1 -1 0 results 0 0 words 1 13",
                     "group PTZ_POSITION_IS1 flags=0 ZOOM_MAG=1 ZOOM_ZENTA=1 ZOOM_STATUS=-1 ZOOM_HFOV=-1 ZOOM_VFOV=-1 "
                     "ZOOM_MASK_HFOV=-1 ZOOM_MASK_VFOV=-1 FOCUS_ZENTA=-1 FOCUS_STATUS=-1 IRIS_ZENTA=300 IRIS_STATUS=-1 "
                     "BRIGHTNESS_ZENTA=0 BRIGHTNESS_STATUS=0 PAN_DEG=0 PAN_STATUS=-1 TILT_DEG=0 TILT_STATUS=-1",
                     "group PTZ_VARIOUS_IS1 flags=0 AUTO_FOCUS=1 AUTO_IRIS=1"}));
    drop_driver();
    make_driver(); // another one publishes its own values, and those of that moment
    driver->current.auto_iris = FALSE;
    driver->current.zoom_zenta = 42;
    const Lines again = published();
    EXPECT_NE(again[1].find(" ZOOM_ZENTA=42 "), std::string::npos);
    EXPECT_EQ(again[2], "group PTZ_VARIOUS_IS1 flags=0 AUTO_FOCUS=2 AUTO_IRIS=2");
}

TEST_F(Publish, DataCachesComeFromTheStatusFieldsCutTowardsZero)
{
    driver->datacache_is_used = TRUE;
    StatusRun run;
    run.set(0xE0, 16, 4, -170000).set(0xE0, 20, 4, -170001).set(0xE0, 32, 4, 90000).set(0xE0, 36, 4, 90000);
    run.set(0xE0, 48, 4, 20000).set(0xE0, 52, 4, 30000).set(0xE0, 64, 4, 0).set(0xE0, 68, 4, 500);
    port.status = run.bytes();
    ptz_driver_canon_cmd_receive_status(driver);
    framework().take();
    driver->current.pan_speed = 30;
    driver->current.tilt_speed = 20;
    driver->current.pan_degree = -12.5f;
    driver->current.tilt_degree = 45.9f;
    driver->current.pan_move_mode = 3;
    driver->pan_move_requested = TRUE;
    const Lines calls = published();
    EXPECT_EQ(Lines(calls.begin() + 1, calls.begin() + 6),
              (Lines{"flip cache 0", "position cache 19000 45000 36000 36000", "speed cache -2000 0 1 0",
                     "moving cache 3 0 1 0 -30 20 0 45", "report 1 0 0 0 -1 0 results 7 9 words 1 13"}));
    EXPECT_EQ(driver->current.pan_moving, 1); // and stays so until the next status

    port.status = run.set(0xE0, 16, 4, -5).set(0xE0, 32, 4, -15).set(0xE0, 48, 4, -19).bytes();
    ptz_driver_canon_cmd_receive_status(driver);
    const Lines cut = framework().take();
    EXPECT_EQ(cut[2], "position cache 36000 35999 36000 36000");
    EXPECT_EQ(cut[3], "speed cache 1 0 0 0"); // -19 / 10, towards the lower end
}

TEST_F(Publish, ShortAndRefusedGroupsAreReported)
{
    framework().status_records = 13;
    framework().set_group_short = 5;
    published();
    EXPECT_EQ(log.take(), (Lines{"error: Could only set 25 of 30 params"}));
    framework().status_records = 0;
    framework().set_group_fails = true;
    published();
    EXPECT_EQ(log.take(), (Lines{"error: Could not set group", "error: Could only set -1 of 17 params"}));
}

TEST_F(Publish, OneJobHoweverOftenStarted)
{
    ptz_driver_canon_utils_start_publishing(driver);
    ptz_driver_canon_utils_start_publishing(driver);
    const Lines calls = framework().take();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "queue_task 33000"), 1);
    EXPECT_EQ(framework().run_tasks(), 1u);
    driver->temp_controller->temperature_ok = 0;
    EXPECT_EQ(framework().run_tasks(), 0u);
    driver->temp_controller->temperature_ok = 1;
    ptz_driver_canon_utils_start_publishing(driver);
    EXPECT_EQ(framework().queued.size(), 1u);
    driver->closed = TRUE;
    framework().take();
    EXPECT_EQ(framework().run_tasks(), 0u);
    EXPECT_TRUE(framework().take().empty());
}

TEST_F(Publish, TheJobFreezesAMovingPicture)
{
    const auto run = [this](int mode, int moving, bool preset) {
        PTZRequest request{};
        request.words[7] = preset ? 1 : 0;
        driver->parent_instance.current_request = &request;
        driver->current.image_freeze_mode = mode;
        driver->current.zoom_moving = driver->current.tilt_moving = 0;
        driver->current.pan_moving = moving;
        EXPECT_TRUE(ptz_driver_canon_utils_status_job(driver));
        driver->parent_instance.current_request = nullptr;
        const Lines calls = framework().take();
        return calls.back().starts_with("picture ") ? calls.back() : "";
    };
    EXPECT_EQ(run(2, 1, true), "");
    EXPECT_EQ(run(3, 1, false), "");
    EXPECT_EQ(run(1, 0, true), "");
    EXPECT_EQ(run(3, 1, true), "picture frozen");
    EXPECT_TRUE(driver->current.image_frozen);
    EXPECT_EQ(run(1, 1, false), "");
    EXPECT_EQ(run(2, 0, false), "picture live");
    EXPECT_FALSE(driver->current.image_frozen);

    framework().picture_fails = true;
    EXPECT_EQ(run(1, 1, false), "picture frozen");
    EXPECT_FALSE(driver->current.image_frozen);
    EXPECT_EQ(log.take(), (Lines{"error: Failed to set image freeze to on"}));
}

TEST_F(Publish, VideoOutput)
{
    EXPECT_TRUE(ptz_driver_canon_set_video_output(driver, TRUE));
    EXPECT_TRUE(ptz_driver_canon_set_video_output(driver, FALSE));
    EXPECT_EQ(framework().take(), (Lines{"video on", "video off"}));
    image_source_control_free(driver->image_source_control);
    driver->image_source_control = nullptr; // as after close
    EXPECT_FALSE(ptz_driver_canon_set_video_output(driver, TRUE));
    EXPECT_FALSE(ptz_driver_canon_utils_set_image_freeze(driver, FALSE));
    EXPECT_EQ(log.take(),
              (Lines{"error: Failed to set video output to on", "error: Failed to set image freeze to off"}));
}

} // namespace
