#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ports/port_registry.h"
#include "tests/platform/bus_fixture.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr char kXml[] = "<node><interface name=\"com.orna.PTZ.Port.KRX\">"
                        "<property name=\"BurstLength\" type=\"i\" access=\"write\"/>"
                        "<property name=\"TriggerMode\" type=\"i\" access=\"write\"/>"
                        "<property name=\"Colour\" type=\"i\" access=\"write\"/></interface></node>";

std::mutex configs_mutex;
std::vector<std::vector<int>> configs;

void on_config(PTZPort *, const PTZPortConfig *config)
{
    const std::lock_guard lock(configs_mutex);
    configs.push_back({config->baud_rate, config->burst_len, config->trig_mode});
}

GObject *new_port()
{
    auto *port = static_cast<GObject *>(g_object_new(PTZ_TYPE_PORT, nullptr));
    PTZ_PORT_GET_CLASS(port)->port_config = on_config;
    return port;
}

TEST(PortLocks, AreHeldByOneThreadAndReportMisuse)
{
    PTZPortRegistry registry;
    registry.lock();
    std::thread other([&] { EXPECT_FALSE(registry.try_lock()); });
    other.join();
    g_test_expect_message(G_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, "*taken again*");
    registry.lock();
    registry.unlock();
    EXPECT_TRUE(registry.try_lock());
    registry.unlock();
    g_test_expect_message(G_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, "*does not hold*");
    registry.unlock();
    g_test_assert_expected_messages();
    ptz_driver_port_lock_all(nullptr);
    ptz_driver_port_unlock_all(nullptr);
    ptz_driver_port_unregister(nullptr, 0);
}

TEST(CloseFd, ClosesOnceAndLeavesMinusOne)
{
    int fd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    const int number = fd;
    EXPECT_EQ(close_fd(&fd), 0);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
    EXPECT_EQ(close_fd(&fd), 0);
    fd = number; // not open
    EXPECT_EQ(close_fd(&fd), -1);
    EXPECT_EQ(fd, -1);
}

class PortServerTest : public BusTest {
  protected:
    class StepClock final : public QueueClock {
      public:
        std::int64_t now_us() override { return now; }
        void wait_until(std::condition_variable &, std::unique_lock<std::mutex> &, std::int64_t) override {}
        std::int64_t now = 0;
    };

    PortServerTest()
    {
        configs.clear();
        g_dbus_connection_call_sync(owner.connection(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus",
                                    "RequestName", g_variant_new("(su)", "com.orna.PTZ", 4u), nullptr,
                                    G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        ptz_ports_set_connection(owner.connection());
        ptz_command_queue_set_current(&queue);
        server = ptz_port_dbus_server_new(port, kXml, "Port.KRX.SIO3");
    }

    ~PortServerTest() override
    {
        queue.queue.shutdown();
        g_clear_object(&server);
        g_clear_object(&port);
        ptz_command_queue_set_current(nullptr);
        ptz_ports_set_connection(nullptr);
    }

    ReplyPtr send_write(const char *property, GVariant *value)
    {
        return client.send_to("/com/orna/PTZ/Port/KRX/SIO3", "org.freedesktop.DBus.Properties", "Set",
                              g_variant_new("(ssv)", "com.orna.PTZ.Port.KRX", property, value));
    }

    std::string write(const char *property, GVariant *value)
    {
        const ReplyPtr reply = send_write(property, value);
        finish(reply);
        return reply->error;
    }

    // The command thread's part, played by the test: a hundredth of a second passes, and what is due runs.
    void step()
    {
        clock.now += 10000;
        while (queue.queue.run_next()) {
        }
    }

    void finish(const ReplyPtr &reply)
    {
        run_until([&] {
            step();
            return reply->done;
        });
    }

    std::vector<std::vector<int>> seen() const
    {
        const std::lock_guard lock(configs_mutex);
        return configs;
    }

    Client owner{address()};
    Client client{address()};
    StepClock clock;
    PTZCommandQueue queue{clock};
    GObject *port = new_port();
    GObject *server = nullptr;
};

TEST_F(PortServerTest, WritesReachThePortWithZeroInTheOtherFields)
{
    EXPECT_EQ(write("BurstLength", g_variant_new_int32(4000)), "");
    EXPECT_EQ(write("TriggerMode", g_variant_new_int32(-1)), "");
    EXPECT_THAT(seen(), ElementsAre(ElementsAre(0, 4000, 0), ElementsAre(0, 0, -1)));
    EXPECT_EQ(write("Colour", g_variant_new_int32(1)), "NotSupported");
    EXPECT_NE(write("BurstLength", g_variant_new_string("x")), "");
    EXPECT_EQ(seen().size(), 2u);
}

TEST_F(PortServerTest, WritesWaitForThePortLocksWithoutHoldingAnythingUp)
{
    ptz_driver_port_lock_all(ptz_port_registry_current());
    const ReplyPtr reply = send_write("BurstLength", g_variant_new_int32(512));
    run_until([&] { return queue.queue.repeating() == 1; });
    for (int looks = 0; looks < 3; looks++)
        step();
    EXPECT_EQ(queue.queue.repeating(), 1u);
    EXPECT_FALSE(reply->done);
    EXPECT_TRUE(seen().empty());
    ptz_driver_port_unlock_all(ptz_port_registry_current());
    finish(reply);
    EXPECT_THAT(seen(), ElementsAre(ElementsAre(0, 512, 0)));
}

TEST_F(PortServerTest, AWriteThatWaitsAtShutdownIsRefused)
{
    ptz_driver_port_lock_all(ptz_port_registry_current());
    const ReplyPtr reply = send_write("BurstLength", g_variant_new_int32(512));
    run_until([&] { return queue.queue.repeating() == 1; });
    queue.queue.shutdown();
    run_until([&] { return reply->done; });
    EXPECT_EQ(reply->error, "Failed");
    ptz_driver_port_unlock_all(ptz_port_registry_current());
}

TEST_F(PortServerTest, TheServerDoesNotKeepThePortAndSaysWhenItIsGone)
{
    GWeakRef weak;
    g_weak_ref_init(&weak, port);
    g_clear_object(&port);
    EXPECT_EQ(g_weak_ref_get(&weak), nullptr);
    g_weak_ref_clear(&weak);
    EXPECT_EQ(write("BurstLength", g_variant_new_int32(64)), "Failed");
}

TEST_F(PortServerTest, UnregisteringAndReleasingTakeThePortOffTheBus)
{
    EXPECT_EQ(ptz_port_registry_current()->size(), 1u);
    ptz_driver_port_unregister(ptz_port_registry_current(), 2); // another one
    EXPECT_EQ(write("BurstLength", g_variant_new_int32(64)), "");
    ptz_driver_port_unregister(ptz_port_registry_current(), 3);
    EXPECT_EQ(ptz_port_registry_current()->size(), 0u);
    EXPECT_NE(write("BurstLength", g_variant_new_int32(64)), "");

    GObject *again = ptz_port_dbus_server_new(port, kXml, "Port.KRX.SIO3");
    EXPECT_EQ(write("BurstLength", g_variant_new_int32(64)), "");
    g_object_unref(again);
    EXPECT_NE(write("BurstLength", g_variant_new_int32(64)), "");
    EXPECT_EQ(ptz_port_registry_current()->size(), 0u);
}

} // namespace
