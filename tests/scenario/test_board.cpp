// The driver and the simulated board in one process, on one virtual clock: seconds pass in milliseconds.
#include "driver/ptz_driver_canon_type.h"
#include "port/ptz_port_canon_config.h"
#include "port/ptz_port_canon_settings.h"
#include "tests/sim/sim_fixture.h"
#include "tests/support/capture.h"
#include "tests/support/virtual_clock.h"
#include "vcc/vccif_status.h"

#include <algorithm>
#include <filesystem>

namespace {

PTZMotion motion(int type, double value)
{
    return {static_cast<gint32>(value * 65536.0), {0, 0}, type};
}

std::size_t open_descriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

class OnBoard : public testing::Test {
  protected:
    OnBoard()
    {
        port_transfer_settings = {};
        ptz_port_canon_forget_config();
        vccif_clear_status();
        EXPECT_EQ(board.start(), std::nullopt);
        clock.on_advance = [this](std::int64_t us) { board.advance(us); };
        clock.wait_slice_us = 1000;
        driver = ptz_driver_canon_new(1, 0);
        operations().install_params(&base());
    }

    ~OnBoard() override { g_object_unref(driver); }

    PTZDriver &base() { return driver->parent_instance; }
    PTZDriverClass &operations() { return *PTZ_DRIVER_GET_CLASS(&base()); }

    void open() { operations().open(&base()); }
    void reset() { operations().run_special_command(&base(), "reset"); }

    void move(const PTZMotion &pan, const PTZMotion &tilt = {}, const PTZMotion &zoom = {})
    {
        const PTZMotion none{};
        const PTZSpeed speed{};
        base().zoom_requested = zoom.type != PTZ_MOVE_NONE;
        operations().move(&base(), &pan, &tilt, &zoom, &none, &none, &none, &speed);
    }

    void pass(double seconds)
    {
        const auto us = static_cast<std::int64_t>(seconds * 1e6);
        clock.advance(us);
        move({}); // which refreshes the status
    }

    bool running() { return base().state == PTZ_STATE_RUNNING && driver->driver_initialized; }

    TempFolder folder;
    Environment data_dir{"PTZ_DATA_DIR", folder.path()};
    Environment board_dir{"PTZ_BOARD", folder.path()};
    sim::Board board{{.folder = folder.path(), .manual_time = true}};
    VirtualClock clock;
    LogCapture log;
    PTZDriverCanon *driver = nullptr;
};

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

TEST_F(OnBoard, ContinuousMoveGoesOnUntilTheStop)
{
    open();
    driver->limit_min_pan = -170;
    move(motion(3, -50), {}, motion(3, 20));
    clock.advance(1'000'000);
    EXPECT_TRUE(board.reading().pan_moving);
    EXPECT_TRUE(board.reading().zoom_moving);
    EXPECT_TRUE(operations().stop(&base()));
    const sim::Reading at_stop = board.reading();
    EXPECT_LT(at_stop.pan, -5);
    EXPECT_GT(at_stop.magnification, 1);
    clock.advance(3'000'000);
    EXPECT_FALSE(board.reading().pan_moving || board.reading().zoom_moving);
    EXPECT_NEAR(board.reading().pan, at_stop.pan, 1);
    EXPECT_EQ(board.offences(), sim::Counts{});
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

TEST_F(OnBoard, ABoardThatDiesIsReportedAndComesBackWithAReset)
{
    open();
    board.stop();
    log.take();
    move(motion(1, 10));
    EXPECT_GT(log.count("error: Failed to execute pan/tilt setup command"), 0);
    EXPECT_GT(log.count("error: Failed to communicate, could not write data"), 0);
    reset();
    EXPECT_EQ(base().state, PTZ_STATE_FAILED);

    ASSERT_EQ(board.start(), std::nullopt);
    log.take();
    reset();
    EXPECT_TRUE(running());
    move(motion(1, 10));
    pass(1);
    EXPECT_NEAR(board.reading().pan, 10, 0.001);
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

TEST_F(OnBoard, FailingPowerEndsInStateSevenAndAResetMendsIt)
{
    ASSERT_TRUE(board.command("fault power-good never").ok);
    open();
    EXPECT_EQ(base().state, PTZ_STATE_FAILED);
    EXPECT_EQ(log.count("error: Fatal error, camera block power could not be enabled.\n"), 1);
    EXPECT_EQ(log.count("error: Fatal error, timeout is occurred while waiting for cam_power_good!\n"), 1);
    EXPECT_EQ(log.count("error: Fatal error, Camera block setup is failed \n"), 1);
    ASSERT_TRUE(board.command("clear faults").ok);
    reset();
    EXPECT_TRUE(running());
    EXPECT_EQ(board.offences(), sim::Counts{});
}

TEST_F(OnBoard, ResetAgainAndAgainLeavesTheSameDescriptors)
{
    open();
    reset();
    const std::size_t descriptors = open_descriptors();
    for (int i = 0; i < 50; ++i)
        reset();
    EXPECT_TRUE(running());
    EXPECT_EQ(open_descriptors(), descriptors);
    EXPECT_EQ(G_OBJECT(driver->port)->ref_count, 2u);
    EXPECT_EQ(board.offences(), sim::Counts{});
}

} // namespace
