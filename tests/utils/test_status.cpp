#include "core/parameter.h"
#include "tests/support/driver_fixture.h"
#include "utils/publish.h"
#include "utils/slow_shutter_limit.h"
#include "utils/status.h"
#include "vcc/status.h"

namespace {

// That there is one publishing job, and when it ends, is told with a whole board.
class Status : public DriverBench {
  protected:
    Status() { make_driver(); }

    Lines published()
    {
        ptz_driver_canon_utils_publish_status(driver);
        return framework().take();
    }
};

TEST_F(Status, DerivesWhatTheBlocksSay)
{
    port.status = StatusRun()
                      .set(0xF8, 29, 1, 0x10)         // zoom moving
                      .set(0xF8, 34, 2, 1596)         // half of the focus range
                      .set(0xF8, 79, 1, 0x88)         // exponents 8 and 8
                      .set(0xF8, 88, 2, 0x1E00)       // 30x
                      .set(0xF8, 92, 2, 2 * 256 + 77) // 2.30078125 degrees
                      .set(0xF8, 94, 2, 256)
                      .set(0xE0, 4, 1, 0x20) // tilt moving
                      .set(0xE0, 16, 4, -12500)
                      .set(0xE0, 32, 4, 90000)
                      .bytes();
    EXPECT_TRUE(ptz_driver_canon_cmd_update_status(driver));
    const CameraState &now = driver->current;
    EXPECT_EQ((std::vector<float>{now.pan_degree, now.tilt_degree, now.zoom_magnification, now.hfov, now.vfov,
                                  now.mask_hfov}),
              (std::vector<float>{-12.5f, 90.0f, 30.0f, 2.30078125f, 1.0f, 2.30078125f}));
    EXPECT_EQ((std::vector<int>{now.focus_position, now.focus_zenta, now.zoom_zenta, now.zoom_moving, now.focus_moving,
                                now.pan_moving, now.tilt_moving}),
              (std::vector<int>{1596, 5000, 9999, 1, 0, 0, 1}));
    port.status.clear(); // old blocks count as available
    EXPECT_TRUE(ptz_driver_canon_cmd_update_status(driver));

    // Beyond the optical range the fields of view are computed.
    port.status = StatusRun().set(0xF8, 79, 1, 0x88).set(0xF8, 88, 2, 0x1E00).set(0xF8, 80, 2, 256).bytes(); // 60x
    ptz_driver_canon_cmd_update_status(driver);
    EXPECT_EQ(now.zoom_zenta, 10909);
    EXPECT_NEAR(now.hfov, 1.1658f, 0.001f); // 2 atan(tan(31.4 deg) / 60)
    EXPECT_EQ(now.mask_hfov, now.hfov);
}

TEST_F(Status, NothingReadChangesNothingButABadRunIsDerivedFrom)
{
    EXPECT_FALSE(ptz_driver_canon_cmd_update_status(driver));
    EXPECT_EQ(driver->current.hfov, -1.0f);
    EXPECT_TRUE(framework().take().empty());

    port.status = {0xF8, 0, 0, 0};
    EXPECT_FALSE(ptz_driver_canon_cmd_update_status(driver));
    EXPECT_EQ(log.take(), (Lines{"error: Invalid status length"}));
    EXPECT_EQ(driver->current.zoom_zenta, -343);
    EXPECT_EQ(driver->rx_buffer->len, 0u);

    const Bytes full(1024, 0); // a full buffer is left alone
    g_byte_array_append(driver->rx_buffer, full.data(), 1024);
    ptz_driver_canon_cmd_receive_status(driver);
    EXPECT_EQ(port.reads, 2);
}

TEST_F(Status, WaitsThreeHundredPollsAtTenASecond)
{
    EXPECT_FALSE(ptz_driver_canon_utils_wait_all_status(driver));
    EXPECT_EQ(port.reads, 300);
    EXPECT_EQ(clock.slept_us(), 301 * 100000);
    port.status = StatusRun().set(0xF8, 29, 1, 0x02).bytes();
    EXPECT_FALSE(ptz_driver_canon_utils_wait_lens_ready(driver));
    port.status = StatusRun().set(0xF8, 29, 1, 0x55).bytes(); // the bits that do not count
    EXPECT_TRUE(ptz_driver_canon_utils_wait_lens_ready(driver));
}

TEST_F(Status, FirmwareRevisionMustComeWithinEightRefreshes)
{
    const Bytes run = StatusRun().set(0x40, 4, 4, 0x01020304).bytes();
    int refreshes = 0;
    clock.on_advance = [&](std::int64_t) {
        if (port.reads == refreshes - 1)
            port.status = run;
    };
    for (const auto &[after, revision] : {std::pair{1, 0x01020304}, {8, 0x01020304}, {9, -1}, {99, -1}}) {
        refreshes = after;
        port.reads = 0;
        port.status.clear();
        EXPECT_EQ(vccif_wait_fw_revision(driver), revision) << after;
    }
    EXPECT_EQ(clock.slept_us(), clock.sleeps() * 5000);
    EXPECT_EQ(port.reads, 10);
}

TEST_F(Status, ErrorBits)
{
    EXPECT_EQ(vccif_inq_error_info(driver), 0x86); // nothing received
    const std::pair<int, int> lens[] = {{0x02, 0xC0}, {0x20, 0x88}, {0x80, 0x10}, {0x5D, 0}, {0xA2, 0xD8}};
    for (const auto &[bits, errors] : lens) {
        port.status = StatusRun().set(0xF8, 29, 1, bits).bytes();
        ptz_driver_canon_cmd_update_status(driver);
        EXPECT_EQ(vccif_inq_error_info(driver), errors) << "lens " << bits;
    }
    Life::stop(driver); // the lens may still be on its way
    EXPECT_EQ(vccif_inq_error_info(driver), 0);
}

TEST_F(Status, PublishesGroupsInOrderWithoutCaches)
{
    driver->current.auto_focus = TRUE;
    EXPECT_EQ(published(),
              (Lines{"report -1 -1 -1 -1 -1 0 results 0 0 words 1 13",
                     "group PTZ_POSITION_IS1 flags=0 ZOOM_MAG=1 ZOOM_ZENTA=1 ZOOM_STATUS=-1 ZOOM_HFOV=-1 ZOOM_VFOV=-1 "
                     "ZOOM_MASK_HFOV=-1 ZOOM_MASK_VFOV=-1 FOCUS_ZENTA=-1 FOCUS_STATUS=-1 IRIS_ZENTA=-1 IRIS_STATUS=-1 "
                     "BRIGHTNESS_ZENTA=0 BRIGHTNESS_STATUS=0 PAN_DEG=0 PAN_STATUS=-1 TILT_DEG=0 TILT_STATUS=-1",
                     "group PTZ_VARIOUS_IS1 flags=0 AUTO_FOCUS=1 AUTO_IRIS=1"}));
    drop_driver();
    make_driver(); // another one publishes its own values, and those of that moment
    driver->current.auto_iris = FALSE;
    driver->current.zoom_zenta = 42;
    const Lines again = published();
    EXPECT_NE(again[1].find(" ZOOM_ZENTA=42 "), std::string::npos);
    EXPECT_EQ(again[2], "group PTZ_VARIOUS_IS1 flags=0 AUTO_FOCUS=2 AUTO_IRIS=2");

    framework().status_records = 13;
    framework().set_group_short = 5;
    published();
    framework().set_group_fails = true;
    published();
    EXPECT_EQ(log.take(), (Lines{"error: Could only set 25 of 30 params", "error: Could not set group",
                                 "error: Could only set -1 of 30 params"}));
}

TEST_F(Status, DataCachesComeFromTheStatusFieldsCutTowardsZero)
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

TEST_F(Status, TheJobFreezesAMovingPicture)
{
    PTZRequest request{};
    driver->parent_instance.current_request = &request;
    driver->current.zoom_moving = driver->current.tilt_moving = 0;
    const auto run = [&](int mode, int moving, bool preset) {
        request.words[7] = preset ? 1 : 0;
        driver->current.image_freeze_mode = mode;
        driver->current.pan_moving = moving;
        EXPECT_TRUE(ptz_driver_canon_utils_status_job(driver));
        const std::string last = framework().take().back();
        return last.starts_with("picture ") ? last : "";
    };
    EXPECT_EQ(run(2, 1, true), "");
    EXPECT_EQ(run(3, 1, false), "");
    EXPECT_EQ(run(1, 0, true), "");
    EXPECT_EQ(run(3, 1, true), "picture frozen");
    EXPECT_EQ(run(1, 1, false), "");
    EXPECT_EQ(run(2, 0, false), "picture live");
    framework().picture_fails = true;
    for (int i = 0; i < 2; ++i) // tried again, as it is not frozen
        EXPECT_EQ(run(1, 1, false), "picture frozen");
    EXPECT_EQ(log.take(), Lines(2, "error: Failed to set image freeze to on"));
    driver->parent_instance.current_request = nullptr;
}

TEST_F(Status, ASlowShutterLimitBeginsWithANumber)
{
    constexpr int UNTOUCHED = 4711;
    const std::tuple<std::variant<int, const char *, bool>, int, Lines> cases[] = {
        {-8, -8, {}},
        {"  +40000 us", 40000, {}},
        {"0x10", 0, {}},
        {"99999999999999999999", 2147483647, {}},
        {"abc %n", UNTOUCHED, {"error: Unsupported slow shutter limit: abc %n"}},
        {"", UNTOUCHED, {"error: Unsupported slow shutter limit: "}},
        {true, UNTOUCHED, {}},
    };
    for (const auto &[value, wanted, messages] : cases) {
        framework().params = {{"limit", value}};
        int limit = UNTOUCHED;
        const gboolean parsed =
            ptz_driver_canon_utils_parse_slow_shutter_limit(Parameter(nullptr, "limit").value(), &limit);
        EXPECT_EQ(parsed, limit != UNTOUCHED);
        EXPECT_EQ(limit, wanted);
        EXPECT_EQ(log.take(), messages);
    }
}

} // namespace
