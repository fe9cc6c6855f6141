#include "host/driver_host.h"
#include "tests/scenario/board_fixture.h"

#include <algorithm>

namespace {

TEST_F(OnBoard, StartsUpMovesAndClosesWithoutAnOffence)
{
    open();
    ASSERT_TRUE(running());
    EXPECT_EQ(board.reading().state, sim::BlockState::running);
    EXPECT_EQ(driver->cam_model_id, 1);

    move(motion(1, 25.5), motion(1, -10), motion(1, 9999));
    pass(5);
    EXPECT_NEAR(board.reading().pan, 25.5, 0.001);
    EXPECT_NEAR(driver->current.pan_degree, 25.5f, 0.001f);
    EXPECT_NEAR(driver->current.tilt_degree, -10.0f, 0.001f);
    EXPECT_EQ(driver->current.zoom_zenta, 9999);
    EXPECT_NEAR(driver->current.hfov, 2.33f, 0.02f);

    move(motion(2, -5.5), motion(2, 20));
    pass(5);
    EXPECT_NEAR(driver->current.pan_degree, 20.0f, 0.001f);
    EXPECT_NEAR(driver->current.tilt_degree, 10.0f, 0.001f);

    operations().close(&base());
    EXPECT_EQ(board.reading().state, sim::BlockState::off);
    EXPECT_EQ(board.offences(), sim::Counts{});
    EXPECT_EQ(log.take(), Lines{"warning: Can't open firmware file"}); // this board has none
}

TEST_F(OnBoard, EveryDamagedAnswerFailsOneExchangeOnly)
{
    open();
    log.take();
    const std::pair<const char *, const char *> faults[] = {
        {"fault flip-bit 1", "Checksum does not match"},
        {"fault bad-checksum 1", "Checksum does not match"},
        {"fault stretch-frame 1", "Transports data size"},
        {"fault zero-length-block 1", "Invalid status length"},
        {"fault cut-frame 1", "Invalid status length"},
        {"fault empty-frame 1", ""},
        {"fault garbage 1", ""},
        {"fault garbage-blocks 3", ""},
        {"fault drop-edge 1", ""},
        {"fault delay-edge 50ms 1", ""},
    };
    double target = 0;
    for (const auto &[fault, message] : faults) {
        SCOPED_TRACE(fault);
        ASSERT_TRUE(board.command(fault).ok);
        target += 5;
        move(motion(1, target)); // refreshes the status first, so the fault strikes there
        pass(2);
        pass(0.1);
        EXPECT_TRUE(running());
        EXPECT_NEAR(board.reading().pan, target, 0.001);
        EXPECT_NEAR(driver->current.pan_degree, target, 0.001);
        const Lines lines = log.take();
        EXPECT_TRUE(*message == '\0' ||
                    std::any_of(lines.begin(), lines.end(), [text = message](const std::string &line) {
                        return line.find(text) != std::string::npos;
                    }));
    }
    EXPECT_EQ(board.offences(), sim::Counts{});
}

TEST_F(OnBoard, ABlockThatStartsAnewIsNoticedAndGetsEverythingBack)
{
    bus().replies["VideoCaptureMode"] = "(<'1080p50'>,)";
    open();
    const auto settings = [this] {
        std::vector<sim::Values> all;
        for (std::size_t id = 0; id < sim::kRecCount; ++id)
            all.push_back(board.setting(static_cast<sim::Rec>(id)));
        return all;
    };
    const auto reboots = [this] {
        guint count = 0;
        g_object_get(driver, DRIVER_HOST_REBOOTS, &count, nullptr);
        return count;
    };
    pass(0.1);
    const auto before = settings();
    const guint starts = reboots();
    ASSERT_TRUE(board.command("fault reboot").ok);
    for (int polls = 0; polls < 2; ++polls)
        pass(0.033);
    EXPECT_NE(settings(), before);
    EXPECT_EQ(reboots(), starts);
    pass(1);
    EXPECT_EQ(reboots(), starts + 1);
    gboolean applied = FALSE;
    g_signal_emit_by_name(driver, DRIVER_HOST_APPLY, &applied);
    EXPECT_TRUE(applied);
    EXPECT_EQ(settings(), before);
    EXPECT_EQ(log.take(), Lines{"warning: Can't open firmware file"}); // of the first start
    EXPECT_EQ(board.offences(), sim::Counts{});
}

TEST_F(OnBoard, ADeadRequestLineCostsTenSecondsAnAttempt)
{
    open();
    log.take();
    driver->cmd_retries = 3;
    ASSERT_TRUE(board.command("fault hold-request low").ok);
    const std::int64_t before = clock.now_us();
    EXPECT_FALSE(operations().stop(&base()));
    EXPECT_NEAR(static_cast<double>(clock.now_us() - before), 30e6, 0.1e6);
    EXPECT_EQ(log.count("warning: Timeout (10s) occurred while waiting for request!"), 3);
    EXPECT_EQ(log.count("warning: Abort waiting the request for communication start"), 3);
    ASSERT_TRUE(board.command("clear faults").ok);
    EXPECT_TRUE(operations().stop(&base()));
}

} // namespace
