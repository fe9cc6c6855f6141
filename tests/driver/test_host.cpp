// What a host reads of the driver and asks of it, and what the driver notes of its own life.
#include "cmd/stop.h"
#include "core/clock.h"
#include "driver/device_status.h"
#include "driver/startup.h"
#include "glib_owned.h"
#include "host/driver_host.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"
#include "utils/publish.h"
#include "utils/status.h"

namespace {

class Host : public DriverBench {
  protected:
    Host() { make_driver(); }
    ~Host() override { drop_driver(); }

    std::int64_t time_of(const char *property)
    {
        gint64 us = 0;
        g_object_get(driver, property, &us, nullptr);
        return us;
    }
    unsigned count_of(const char *property)
    {
        guint count = 0;
        g_object_get(driver, property, &count, nullptr);
        return count;
    }
    unsigned sends_failed() { return count_of(DRIVER_HOST_SENDS_FAILED); }

    FakeHardware hardware;
};

TEST_F(Host, SilenceBeginsWithTheFirstExchangeThatBringsNothingGood)
{
    EXPECT_EQ(time_of(DRIVER_HOST_STATUS_AGE), -1);
    EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 0);
    port.status = StatusRun().bytes();
    ptz_driver_canon_cmd_update_status(driver);
    clock.advance(5'000'000); // nothing is asked: no silence
    EXPECT_EQ(time_of(DRIVER_HOST_STATUS_AGE), 5'000'000);
    EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 0);
    for (const Bytes &nothing : {Bytes{}, Bytes{0xF8, 0, 0, 0}}) {
        port.status = nothing;
        ptz_driver_canon_cmd_update_status(driver);
        clock.advance(1'000'000);
        ptz_driver_canon_cmd_update_status(driver);
        EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 1'000'000);
        port.status = StatusRun().bytes();
        ptz_driver_canon_cmd_update_status(driver);
        EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 0);
        EXPECT_EQ(time_of(DRIVER_HOST_STATUS_AGE), 0);
    }
    log.take();
    port.deaf = true;
    const unsigned waits = count_of(DRIVER_HOST_WAITS);
    EXPECT_FALSE(ptz_driver_canon_cmd_stop(driver));
    EXPECT_EQ(count_of(DRIVER_HOST_WAITS) - waits, 20u); // its ten pauses, begun and ended
    EXPECT_EQ(sends_failed(), 1u);
    EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 10 * 5000); // its ten attempts
    port.deaf = false;
    EXPECT_TRUE(ptz_driver_canon_cmd_stop(driver));
    EXPECT_EQ(sends_failed(), 1u);
    EXPECT_EQ(time_of(DRIVER_HOST_SILENCE), 0);
    log.take();
}

TEST_F(Host, ABusyLensAfterAPauseIsAStartOnceItIsReady)
{
    const struct {
        std::int64_t pause_us;
        unsigned lens; // bits 1, 5 and 7 are those of a busy one
        unsigned starts;
    } statuses[] = {
        {0, 0x02, 0},       {300'000, 0x02, 0}, {33'000, 0x00, 1},  // the first status of all
        {33'000, 0x20, 1},  {33'000, 0x00, 1},                      // a lens in trouble, the link well
        {900'000, 0x10, 1}, {33'000, 0x00, 1},                      // the link away, zoom moving
        {33'000, 0x82, 1},  {900'000, 0x82, 1}, {33'000, 0x00, 1},  // in trouble before the link went
        {200'001, 0xA2, 1}, {33'000, 0x02, 1},  {400'000, 0x00, 2}, // anew
    };
    for (const auto &[pause_us, lens, starts] : statuses) {
        clock.advance(pause_us);
        port.status = StatusRun().set(0xF8, 29, 1, lens).bytes();
        ptz_driver_canon_cmd_update_status(driver);
        EXPECT_EQ(count_of(DRIVER_HOST_REBOOTS), starts);
    }
}

TEST_F(Host, ARefreshReadsOneStatusWhileTheDriverRuns)
{
    const auto statuses = [this] {
        guint count = 0;
        g_object_get(driver, DRIVER_HOST_STATUSES, &count, nullptr);
        return count;
    };
    for (const bool running : {false, true}) {
        running ? Life::run(driver) : Life::stop(driver);
        const int reads = port.reads;
        port.status = StatusRun().bytes();
        g_signal_emit_by_name(driver, DRIVER_HOST_REFRESH);
        EXPECT_EQ(port.reads, reads + running);
        EXPECT_EQ(statuses(), running ? 1u : 0u);
    }
    port.status = {};
    g_signal_emit_by_name(driver, DRIVER_HOST_REFRESH);
    EXPECT_EQ(statuses(), 1u); // only good ones count
}

TEST_F(Host, ParametersAreAppliedAgainOnlyWhileTheDriverRuns)
{
    Life::stop(driver);
    gboolean applied = FALSE;
    g_signal_emit_by_name(driver, DRIVER_HOST_SETTLE);
    g_signal_emit_by_name(driver, DRIVER_HOST_APPLY, &applied);
    EXPECT_TRUE(applied);
    EXPECT_EQ(port.attempts + port.reads, 0);
    Life::run(driver);
    port.status = StatusRun().set(0x60, 28, 1, 1).set(0x60, 30, 1, 1).bytes();
    ptz_driver_canon_cmd_update_status(driver);
    driver->current.capture_mode = g_strdup("720p60"); // which the sensor is not in: a restart brings everything
    g_signal_emit_by_name(driver, DRIVER_HOST_APPLY, &applied);
    EXPECT_TRUE(applied);
    EXPECT_EQ(driver->parent_instance.state, PTZ_STATE_RUNNING);
    EXPECT_FALSE(hardware.calls_of({"drive"}).empty());
    log.take();
}

TEST_F(Host, ACancelledDriverWaitsForNothing)
{
    const GOwned<GCancellable, g_object_unref> cancel(g_cancellable_new());
    g_object_set(driver, DRIVER_HOST_CANCEL, cancel.get(), nullptr);
    g_cancellable_cancel(cancel.get());
    const std::int64_t before = clock.now_us();
    ptz_driver_canon_startup(driver); // with a block that says nothing
    EXPECT_EQ(driver->parent_instance.state, PTZ_STATE_FAILED);
    EXPECT_EQ(clock.now_us(), before);
    EXPECT_LT(port.attempts + port.reads, 5);
    log.take();
    g_cancellable_reset(cancel.get());
    ptz_driver_canon_startup(driver);
    EXPECT_GT(clock.now_us() - before, 30'000'000); // it is waited for as ever
    log.take();
}

TEST_F(Host, AJobThatTheQueueRefusesIsNotThoughtToRun)
{
    for (const bool refuse : {true, false}) {
        framework().refuse_tasks = refuse;
        ptz_driver_canon_start_status_poll(driver);
        ptz_driver_canon_start_status_dump(driver);
        ptz_driver_canon_utils_start_publishing(driver);
        for (const LifeFlag *active :
             {&driver->status_poll_active, &driver->status_dump_active, &driver->publishing_active})
            EXPECT_EQ(*active, !refuse);
    }
    EXPECT_EQ(framework().queued.size(), 3u);
}

TEST_F(Host, OnlyACommandBringsAClosedDriverBack)
{
    PTZDriver *base = ptz_driver_of(driver);
    PTZ_DRIVER_GET_CLASS(base)->close(base);
    EXPECT_EQ(driver->image_source_control, nullptr);
    ptz_driver_canon_reset(driver); // late, by a task
    EXPECT_EQ(base->state, PTZ_STATE_CLOSED);
    EXPECT_TRUE(PTZ_DRIVER_GET_CLASS(base)->run_special_command(base, "reset"));
    EXPECT_FALSE(driver->closed);
    EXPECT_NE(driver->image_source_control, nullptr); // or there would be no picture
    EXPECT_NE(base->state, PTZ_STATE_CLOSED);
    log.take();
}

} // namespace
