#include "driver/ptz_driver_canon_capture.h"
#include "tests/support/bus_fake.h"
#include "tests/support/driver_fixture.h"
#include "utils/ptz_driver_canon_utils_capabilities.h"
#include "utils/ptz_driver_canon_utils_services.h"
#include "vcc/ptz_driver_canon_model.h"
#include "vcc/vccif_model.h"

namespace {

class Services : public DriverBench {
  protected:
    Services() { make_driver(); }

    std::string capture_mode()
    {
        char *mode = nullptr;
        if (!ptz_driver_canon_utils_get_video_capture_mode(driver, &mode))
            return mode == nullptr ? "none" : "left behind";
        std::string text = mode;
        g_free(mode);
        return text;
    }

    int rotation()
    {
        int degrees = -1;
        return ptz_driver_canon_utils_get_rotation(driver, &degrees) ? degrees : -1;
    }
};

TEST_F(Services, AreAskedOverOneConnection)
{
    bus().replies = {{"VideoCaptureMode", "(<'720p25'>,)"}, {"Rotation", "(<180>,)"}};
    EXPECT_EQ(capture_mode(), "720p25");
    EXPECT_EQ(rotation(), 180);
    EXPECT_EQ(bus().connections, 1u);
    EXPECT_EQ(bus().calls, (Lines{"com.orna.ImageControl /com/orna/ImageControl/0/0 "
                                  "com.orna.ImageControlStream.VideoCaptureMode 10000",
                                  "com.orna.Streamer /com/orna/Streamer/Video/Channel/1 "
                                  "com.orna.Streamer.Video.Channel.Rotation 10000"}));
}

TEST_F(Services, ThatDoNotAnswerOrAnswerNonsenseAreReported)
{
    bus().replies.clear();
    EXPECT_EQ(capture_mode(), "none");
    EXPECT_EQ(rotation(), -1);
    EXPECT_EQ(log.take(), (Lines{"warning: Failed to get videocapturemode: no answer",
                                 "warning: Failed to get rotation: no answer"}));
    for (const char *reply : {"(<5>,)", "('bare',)", "(<'720p25'>, 1)", "()"}) {
        bus().replies = {{"VideoCaptureMode", reply},
                         {"Rotation", std::string(reply) == "(<5>,)" ? "(<'x'>,)" : reply}};
        EXPECT_EQ(capture_mode(), "none");
        EXPECT_EQ(rotation(), -1);
        EXPECT_EQ(log.take(), (Lines{"warning: Failed to parse videocapturemode",
                                     "warning: Failed to get rotation: the reply holds no 32-bit integer"}));
    }
    drop_driver();
    make_driver();
    bus().reachable = false;
    EXPECT_EQ(capture_mode(), "none");
    EXPECT_EQ(rotation(), -1);
    EXPECT_FALSE(ptz_driver_canon_utils_subscribe_capture_changes(driver, nullptr));
    const std::string line = "error: Failed to get DBus connection, no bus";
    EXPECT_EQ(log.take(), (Lines{line, line, line}));
}

TEST_F(Services, OneSubscriptionHoweverOftenAndNoneOfADeadDriver)
{
    const auto subscribe = [this] {
        return ptz_driver_canon_utils_subscribe_capture_changes(driver, ptz_driver_canon_utils_on_properties_changed);
    };
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(subscribe());
    EXPECT_EQ(bus().subscriptions(), 1u);
    const std::string stream = "('com.orna.ImageControlStream', ";
    bus().emit(stream + "{'CaptureFrequency': <50>, 'Other': <'x'>}, @as [])");
    EXPECT_EQ(framework().queued.size(), 1u);
    bus().emit(stream + "{'Other': <50>}, @as [])");
    bus().emit("('com.orna.Other', {'CaptureFrequency': <50>}, @as [])");
    EXPECT_EQ(framework().queued.size(), 1u);
    bus().emit("('com.orna.ImageControlStream', 5)");
    EXPECT_EQ(log.take(), (Lines{"error: Failed to parse properties changed data"}));

    framework().drop_tasks();
    drop_driver(); // nothing holds it back
    EXPECT_EQ(bus().subscriptions(), 0u);
    make_driver();
    ptz_driver_canon_utils_unsubscribe_capture_changes(driver);
    bus().takes_subscriptions = false;
    EXPECT_FALSE(subscribe());
    EXPECT_EQ(log.take(),
              (Lines{"error: Failed to subscribe to com.orna.ImageControlStream propertiesChanged signal."}));
}

TEST_F(Services, CaptureModesComeFromTheTableThatTheRatesChoose)
{
    CameraModel model = *vccif_model_krx131();
    driver->cam_model = &model;
    const auto expect_code = [&](bool by_broadcast, bool by_integer, bool broadcast_wanted, const char *mode,
                                 int code) {
        model.capture_modes_broadcast = by_broadcast;
        model.capture_modes_integer = by_integer;
        driver->current.broadcast_frame_rate = broadcast_wanted;
        const CaptureModeRow *row = nullptr;
        const gboolean found = ptz_driver_canon_utils_parse_capture_modes(driver, mode, &row);
        EXPECT_EQ(found ? row->frame_rate_code : -1, code) << (mode != nullptr ? mode : "null");
    };
    expect_code(true, true, true, "720p60", 0);
    expect_code(true, true, false, "720P60", 4);
    expect_code(true, false, false, "1080p30", 2);
    expect_code(false, true, true, "1080p30", 5);
    expect_code(false, true, true, "1080i60%n", -1);
    expect_code(false, false, true, "720p60", -1);
    expect_code(true, true, true, nullptr, -1);
    model.capture_mode_tbls[1] = nullptr;
    expect_code(true, true, false, "720p60", -1);
    EXPECT_EQ(log.take(), (Lines{"error: Unsupported capture mode: 1080i60%n", "error: Unavailable capture mode table",
                                 guard_line("ptz_driver_canon_utils_parse_capture_modes", "mode"),
                                 "error: Unavailable capture mode table"}));
}

class Capabilities : public Services {
  protected:
    Lines of(const char *category)
    {
        char **list = nullptr;
        EXPECT_TRUE(ptz_driver_canon_utils_get_capabilities(driver, category, &list));
        Lines lines;
        for (char **entry = list; *entry != nullptr; ++entry)
            lines.emplace_back(*entry);
        g_strfreev(list);
        return lines;
    }
};

TEST_F(Capabilities, ByCategory)
{
    EXPECT_EQ(of("focus"),
              (Lines{"focusSpeed=20",
                     "minFocus=value=1|distance=30,value=2124|distance=80,value=2832|distance=120,"
                     "value=3540|distance=140,value=4247|distance=170,value=5154|distance=200,value=5807|distance=250,"
                     "value=6371|distance=310,value=7068|distance=420,value=7731|distance=600,value=8498|distance=1000,"
                     "value=9092|distance=2000"}));
    EXPECT_EQ(of("speed"), (Lines{"queryInterval=300", "panSpeed=100", "tiltSpeed=100"}));
    const Lines zoom = of("zoom");
    ASSERT_EQ(zoom.size(), 4u);
    EXPECT_EQ(Lines(zoom.begin(), zoom.end() - 1),
              (Lines{"maxOpticalZoomMag=30", "maxDigitalZoomMag=12", "zoomSpeed=100"}));
    EXPECT_TRUE(zoom[3].starts_with("zoomSteps=value=345|zoom=2,value=690|zoom=3,value=1035|zoom=4,"));
    EXPECT_TRUE(zoom[3].ends_with(
        ",value=9999|zoom=30,value=10909|zoom=60,value=12727|zoom=120,value=14545|zoom=180,value=16363|zoom=240,"
        "value=18181|zoom=300,value=19999|zoom=360"));
    EXPECT_EQ(of(nullptr).size(), 9u);
    EXPECT_EQ(of("").back(), zoom.back());
    EXPECT_EQ(of("Zoom"), Lines{});
}

TEST_F(Capabilities, FollowTheConfiguration)
{
    driver->move_speed = TRUE;
    EXPECT_EQ(of("speed").back(), "speeds=");
    driver->move_speed_enum = g_strdup("1|0.5,bad, 3 | 1.256 more");
    EXPECT_EQ(of("speed").back(), "speeds=value=1|speed=0.50,value=3|speed=1.26");
    EXPECT_EQ(log.take(), (Lines{"error: Could not parse speed table entry \"bad\""}));
    driver->max_digital_zoom = 1.9f;
    EXPECT_EQ(of("zoom")[1], "maxDigitalZoomMag=1");
    EXPECT_TRUE(of("zoom").back().ends_with("zoom=30"));
    driver->max_digital_zoom = 5.0f;
    EXPECT_TRUE(of("zoom").back().ends_with("zoom=60,value=17499|zoom=120"));
    driver->max_digital_zoom = 1e30f;
    EXPECT_EQ(of("zoom").back().size(), std::size("zoomSteps=") - 1 + 2047);
    CameraModel model = *vccif_model_krx131();
    driver->cam_model = &model;
    model.near_focus_limit_supported = FALSE;
    EXPECT_EQ(of("focus").back(), "minFocus=");
}

} // namespace
