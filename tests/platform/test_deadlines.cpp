// How long a driver may take, and what the service manager hears meanwhile; with a driver that says what its camera
// block does.
#include "host/driver_host.h"
#include "ptzorvel/ptzd/deadlines.h"
#include "ptzorvel/ptzd/service_manager.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/temp_folder.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// What the driver's host interface answers; one at a time.
struct Block {
    GCancellable *cancel = nullptr;
    gint64 status_age_us = -1;
    gint64 chunk_age_us = -1;
    guint waits = 0;
} block;

enum { PROP_CANCEL = 100, PROP_STATUS_AGE, PROP_CHUNK_AGE, PROP_WAITS };

void set_up_class(gpointer klass, gpointer)
{
    auto *object = static_cast<GObjectClass *>(klass);
    object->set_property = [](GObject *, guint, const GValue *value, GParamSpec *) {
        block.cancel = static_cast<GCancellable *>(g_value_get_object(value));
    };
    object->get_property = [](GObject *, guint id, GValue *value, GParamSpec *) {
        if (id == PROP_WAITS)
            g_value_set_uint(value, block.waits);
        else
            g_value_set_int64(value, id == PROP_STATUS_AGE ? block.status_age_us : block.chunk_age_us);
    };
    const auto add = [object](guint id, GParamSpec *spec) { g_object_class_install_property(object, id, spec); };
    add(PROP_CANCEL, g_param_spec_object(DRIVER_HOST_CANCEL, "", "", G_TYPE_CANCELLABLE, G_PARAM_WRITABLE));
    add(PROP_STATUS_AGE, g_param_spec_int64(DRIVER_HOST_STATUS_AGE, "", "", -1, G_MAXINT64, -1, G_PARAM_READABLE));
    add(PROP_WAITS, g_param_spec_uint(DRIVER_HOST_WAITS, "", "", 0, G_MAXUINT, 0, G_PARAM_READABLE));
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

// Listens where the service manager would; it looks for a sign of life every millisecond.
class ServiceManagerTest : public DeadlinesTest {
  protected:
    ServiceManagerTest()
    {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        folder.file("notify").copy(name.sun_path, sizeof name.sun_path - 1);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&name), sizeof name), 0);
        setenv("NOTIFY_SOCKET", name.sun_path, 1);
        setenv("WATCHDOG_USEC", "4000", 1);
    }
    ~ServiceManagerTest() override
    {
        unsetenv("NOTIFY_SOCKET");
        unsetenv("WATCHDOG_USEC");
        close(fd);
    }

    // Whether it is told that; everything else goes by.
    bool told(const std::string &line)
    {
        bool found = false;
        char text[512];
        for (ssize_t got; (got = recv(fd, text, sizeof text, MSG_DONTWAIT)) > 0;)
            found |= (std::string(text, static_cast<std::size_t>(got)) + "\n").find(line + "\n") != std::string::npos;
        return found;
    }
    void await(const std::string &line)
    {
        run_until([&] { return told(line); });
    }
    // Whether it is told that within a hundred looks.
    bool told_soon(const std::string &line)
    {
        int looks = 0;
        bool found = false;
        run_until([&] {
            found |= told(line); // what nobody takes would keep the sender waiting
            return ++looks > 100;
        });
        return found;
    }

    TempFolder folder;
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    Deadlines deadlines{host, queue, 0, 1};
};

TEST_F(ServiceManagerTest, IsToldOfTheCommandThreadsLifeThroughLongWaitsButNotWhenItIsStuck)
{
    ServiceManager manager(queue, host, deadlines);
    std::mutex gate;
    queue.start();
    await("WATCHDOG=1");
    {
        const std::lock_guard stuck(gate);
        queue.post([&] { const std::lock_guard pass_through(gate); });
        told_soon("WATCHDOG=1"); // what was on its way
        EXPECT_FALSE(told_soon("WATCHDOG=1"));
        ++block.waits; // for the camera block, not for ever
        await("WATCHDOG=1");
    }
    await("WATCHDOG=1");
    queue.shutdown();
}

TEST_F(ServiceManagerTest, HearsOfReadinessAndThatAStartOrAnUpgradeAtTheEndTakesLonger)
{
    ServiceManager manager(queue, host, deadlines);
    queue.start();
    manager.state_changed(PTZ_STATE_INITIALISING, "starting");
    EXPECT_FALSE(told("READY=1"));
    await("EXTEND_TIMEOUT_USEC=4000");
    manager.state_changed(PTZ_STATE_FAILED, "failed");
    EXPECT_TRUE(told("READY=1"));
    manager.state_changed(PTZ_STATE_UPGRADING, "upgrading");
    EXPECT_TRUE(told("STATUS=Camera: upgrading"));
    EXPECT_FALSE(told_soon("EXTEND_TIMEOUT_USEC=4000"));
    deadlines.state_changed(PTZ_STATE_UPGRADING);
    block.chunk_age_us = 0;
    deadlines.end();
    await("EXTEND_TIMEOUT_USEC=4000");
    queue.shutdown();
}

} // namespace
