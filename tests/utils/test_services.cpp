#include "driver/capture.h"
#include "glib_owned.h"
#include "tests/support/bus_fake.h"
#include "tests/support/driver_fixture.h"
#include "utils/capabilities.h"
#include "utils/services.h"
#include "vcc/model.h"
#include "vcc/select_model.h"

namespace {

class Services : public DriverBench {
  protected:
    Services() { make_driver(); }

    // What the services say: "720p25 180"; a dash where that is nothing.
    std::string answers()
    {
        char *mode = nullptr;
        int degrees = -1;
        const bool has_mode = ptz_driver_canon_utils_get_video_capture_mode(driver, &mode);
        const bool has_rotation = ptz_driver_canon_utils_get_rotation(driver, &degrees);
        const GText owned(mode);
        return std::string(has_mode ? mode : "-") + " " + (has_rotation ? std::to_string(degrees) : "-");
    }
};

TEST_F(Services, AreAskedOverOneConnection)
{
    bus().replies = {{"VideoCaptureMode", "(<'720p25'>,)"}, {"Rotation", "(<180>,)"}};
    EXPECT_EQ(answers(), "720p25 180");
    EXPECT_EQ(bus().connections, 1u);
    EXPECT_EQ(bus().calls, (Lines{"com.orna.ImageControl /com/orna/ImageControl/0/0 "
                                  "com.orna.ImageControlStream.VideoCaptureMode 10000",
                                  "com.orna.Streamer /com/orna/Streamer/Video/Channel/1 "
                                  "com.orna.Streamer.Video.Channel.Rotation 10000"}));
    bus().replies.clear();
    EXPECT_EQ(answers(), "- -");
    EXPECT_EQ(log.take(), (Lines{"warning: Failed to get videocapturemode: no answer",
                                 "warning: Failed to get rotation: no answer"}));
    for (const char *nonsense : {"(<5.5>,)", "('bare',)", "(<'720p25'>, 1)", "()"}) {
        bus().replies = {{"VideoCaptureMode", nonsense}, {"Rotation", nonsense}};
        EXPECT_EQ(answers(), "- -");
        EXPECT_EQ(log.take(), (Lines{"warning: Failed to parse videocapturemode",
                                     "warning: Failed to get rotation: the reply holds no 32-bit integer"}));
    }
    drop_driver();
    make_driver();
    bus().reachable = false;
    EXPECT_EQ(answers(), "- -");
    EXPECT_FALSE(ptz_driver_canon_utils_subscribe_capture_changes(driver, nullptr));
    EXPECT_EQ(log.take(), Lines(3, "error: Failed to get DBus connection, no bus"));
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
    bus().emit(stream + "{'Other': <50>}, @as [])");
    bus().emit("('com.orna.Other', {'CaptureFrequency': <50>}, @as [])");
    bus().emit("('com.orna.ImageControlStream', 5)");
    EXPECT_EQ(framework().queued.size(), 1u);
    EXPECT_EQ(log.take(), (Lines{"error: Failed to parse properties changed data"}));

    framework().drop_tasks();
    drop_driver(); // nothing holds it back
    EXPECT_EQ(bus().subscriptions(), 0u);
    make_driver();
    bus().takes_subscriptions = false;
    EXPECT_FALSE(subscribe());
    EXPECT_EQ(log.take(),
              (Lines{"error: Failed to subscribe to com.orna.ImageControlStream propertiesChanged signal."}));
}

TEST_F(Services, CaptureModesComeFromTheTableThatTheRatesChoose)
{
    CameraModel model = *vccif_model_krx131();
    driver->cam_model = &model;
    const std::tuple<bool, bool, bool, const char *, int> cases[] = {
        {true, true, true, "720p60", 0},   {true, true, false, "720P60", 4},     {true, false, false, "1080p30", 2},
        {false, true, true, "1080p30", 5}, {false, true, true, "1080i60%n", -1}, {false, false, true, "720p60", -1},
    };
    for (const auto &[by_broadcast, by_integer, broadcast_wanted, mode, code] : cases) {
        model.capture_modes_broadcast = by_broadcast;
        model.capture_modes_integer = by_integer;
        driver->current.broadcast_frame_rate = broadcast_wanted;
        const CaptureModeRow *row = nullptr;
        const gboolean found = ptz_driver_canon_utils_parse_capture_modes(driver, mode, &row);
        EXPECT_EQ(found ? row->frame_rate_code : -1, code) << mode;
    }
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported capture mode: 1080i60%n", "error: Unavailable capture mode table"}));
}

TEST_F(Services, CapabilitiesByCategoryAndConfiguration)
{
    const auto of = [this](const char *category) {
        char **list = nullptr;
        EXPECT_TRUE(ptz_driver_canon_utils_get_capabilities(driver, category, &list));
        Lines lines(list, list + g_strv_length(list));
        g_strfreev(list);
        return lines;
    };
    EXPECT_EQ(of(nullptr).size(), 9u);
    EXPECT_EQ(of("").back(), of("zoom").back());
    EXPECT_EQ(of("Zoom"), Lines{});
    EXPECT_EQ(of("focus")[0], "focusSpeed=20");
    EXPECT_TRUE(of("focus")[1].starts_with("minFocus=value=1|distance=30,value=2124|distance=80,"));
    EXPECT_TRUE(of("focus")[1].ends_with(",value=9092|distance=2000"));
    EXPECT_EQ(of("speed"), (Lines{"queryInterval=300", "panSpeed=100", "tiltSpeed=100"}));
    const Lines zoom = of("zoom");
    EXPECT_EQ(Lines(zoom.begin(), zoom.end() - 1),
              (Lines{"maxOpticalZoomMag=30", "maxDigitalZoomMag=12", "zoomSpeed=100"}));
    EXPECT_TRUE(zoom.back().starts_with("zoomSteps=value=345|zoom=2,value=690|zoom=3,value=1035|zoom=4,"));
    EXPECT_TRUE(zoom.back().ends_with(",value=9999|zoom=30,value=10909|zoom=60,value=12727|zoom=120,value=14545|"
                                      "zoom=180,value=16363|zoom=240,value=18181|zoom=300,value=19999|zoom=360"));

    driver->move_speed = TRUE;
    driver->move_speed_enum = g_strdup("1|0.5,bad, 3 | 1.256 more");
    EXPECT_EQ(of("speed").back(), "speeds=value=1|speed=0.50,value=3|speed=1.26");
    EXPECT_EQ(log.take(), (Lines{"error: Could not parse speed table entry \"bad\""}));
    driver->max_digital_zoom = 1.9f;
    EXPECT_TRUE(of("zoom").back().ends_with("zoom=30"));
    driver->max_digital_zoom = -2.5f; // every step ends at -75x
    EXPECT_EQ(of("zoom")[1], "maxDigitalZoomMag=-2");
    EXPECT_TRUE(of("zoom").back().starts_with("zoomSteps=value=-26200|zoom=2,value=-26200|zoom=3,"));
    driver->max_digital_zoom = 1e30f;
    EXPECT_EQ(of("zoom").back().size(), std::size("zoomSteps=") - 1 + 2047);
}

} // namespace
