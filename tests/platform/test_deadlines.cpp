// How long a driver may take, with one that says what its camera block does.
#include "host/driver_host.h"
#include "ptzorvel/ptzd/deadlines.h"
#include "tests/platform/bus_fixture.h"

namespace {

// What the driver's host interface answers; one at a time.
struct Block {
    GCancellable *cancel = nullptr;
    gint64 status_age_us = -1;
    gint64 chunk_age_us = -1;
} block;

enum { PROP_CANCEL = 100, PROP_STATUS_AGE, PROP_CHUNK_AGE };

void set_up_class(gpointer klass, gpointer)
{
    auto *object = static_cast<GObjectClass *>(klass);
    object->set_property = [](GObject *, guint, const GValue *value, GParamSpec *) {
        block.cancel = static_cast<GCancellable *>(g_value_get_object(value));
    };
    object->get_property = [](GObject *, guint id, GValue *value, GParamSpec *) {
        g_value_set_int64(value, id == PROP_STATUS_AGE ? block.status_age_us : block.chunk_age_us);
    };
    const auto add = [object](guint id, GParamSpec *spec) { g_object_class_install_property(object, id, spec); };
    add(PROP_CANCEL, g_param_spec_object(DRIVER_HOST_CANCEL, "", "", G_TYPE_CANCELLABLE, G_PARAM_WRITABLE));
    add(PROP_STATUS_AGE, g_param_spec_int64(DRIVER_HOST_STATUS_AGE, "", "", -1, G_MAXINT64, -1, G_PARAM_READABLE));
    add(PROP_CHUNK_AGE, g_param_spec_int64(DRIVER_HOST_CHUNK_AGE, "", "", -1, G_MAXINT64, -1, G_PARAM_READABLE));
}

class DeadlinesTest : public testing::Test {
  protected:
    DeadlinesTest()
    {
        static const GType type =
            g_type_register_static_simple(PTZ_TYPE_DRIVER, "TalkingDriver", sizeof(PTZDriverClass), set_up_class,
                                          sizeof(PTZDriver), nullptr, static_cast<GTypeFlags>(0));
        block = {};
        auto *driver = static_cast<PTZDriver *>(g_object_new(type, "video_channel_nbr", 1, "id", 0, nullptr));
        host.attach(driver, 1);
        g_object_unref(driver);
    }

    static bool cancelled() { return g_cancellable_is_cancelled(block.cancel) != FALSE; }
    static gint64 seconds(double value) { return static_cast<gint64>(value * 1e6); }

    DriverHost host;
    TaskQueue queue;
};

TEST_F(DeadlinesTest, AStartMayGoOnAsLongAsSomethingGoodComes)
{
    Deadlines starts(host, queue, 100, 1e12); // those seconds pass in a microsecond
    const auto pass = [] {
        for (const gint64 now = g_get_monotonic_time(); g_get_monotonic_time() == now;) {
        }
    };
    for (gint64 *age : {&block.status_age_us, &block.chunk_age_us}) {
        *age = 0;
        starts.state_changed(PTZ_STATE_INITIALISING);
        EXPECT_EQ(starts.start_cut(), ""); // this is another one
        starts.look();
        EXPECT_FALSE(cancelled());
        *age = seconds(1000);
        pass();
        starts.look();
        EXPECT_TRUE(cancelled());
        EXPECT_EQ(starts.start_cut(), "the camera block has not answered for 100 seconds");
        EXPECT_TRUE(queue.run_next()); // when what was cancelled has returned
        EXPECT_FALSE(cancelled());
        starts.state_changed(PTZ_STATE_RUNNING);
        starts.look();
        EXPECT_FALSE(cancelled());
    }
    starts.state_changed(PTZ_STATE_INITIALISING);
    pass();
    starts.look();
    starts.end(); // meanwhile
    EXPECT_TRUE(queue.run_next());
    EXPECT_TRUE(cancelled()); // until the close
}

TEST_F(DeadlinesTest, TheEndCancelsWhatRunsAndThenACloseThatTakesTooLong)
{
    Deadlines deadlines(host, queue, 0, 1000); // a second is a millisecond
    deadlines.state_changed(PTZ_STATE_INITIALISING);
    deadlines.end();
    EXPECT_TRUE(cancelled());
    deadlines.close_begins();
    EXPECT_FALSE(cancelled()); // an orderly close waits
    run_until(cancelled);
}

TEST_F(DeadlinesTest, TheEndWaitsForAnUpgradeOnlyWhileItGetsOn)
{
    const struct {
        int state;
        double chunk_age_s;
        bool waits;
    } cases[] = {{PTZ_STATE_UPGRADING, -1e-6, false},
                 {PTZ_STATE_UPGRADING, 13.9, true},
                 {PTZ_STATE_UPGRADING, 14, false},
                 {PTZ_STATE_INITIALISING, 1, false}};
    for (const auto &[state, chunk_age_s, waits] : cases) {
        Deadlines fresh(host, queue, 0, 1000);
        host.resume();
        fresh.state_changed(state);
        block.chunk_age_us = seconds(chunk_age_s);
        fresh.end();
        EXPECT_EQ(cancelled(), !waits) << chunk_age_s;
        block.chunk_age_us = seconds(20);
        run_until(cancelled);
    }
}

} // namespace
