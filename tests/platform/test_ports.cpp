#include "ptzorvel/ports/port_registry.h"
#include "tests/platform/bench.h"
#include "tests/platform/bus_fixture.h"

namespace {

constexpr char kXml[] = "<node><interface name=\"com.orna.PTZ.Port.KRX\">"
                        "<property name=\"BurstLength\" type=\"i\" access=\"write\"/>"
                        "<property name=\"TriggerMode\" type=\"i\" access=\"write\"/>"
                        "<property name=\"Colour\" type=\"i\" access=\"write\"/></interface></node>";

TEST(PortLocks, AreHeldByOneThreadAndReportMisuse)
{
    PTZPortRegistry registry;
    registry.lock();
    std::thread([&] { EXPECT_FALSE(registry.try_lock()); }).join();
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
    int fd = 4711; // not open
    EXPECT_EQ(close_fd(&fd), -1);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(close_fd(&fd), 0);
}

class PortServerTest : public BusTest {
  protected:
    PortServerTest()
    {
        PTZ_PORT_GET_CLASS(port)->port_config = [](PTZPort *, const PTZPortConfig *config) {
            for (const int number : {config->baud_rate, config->burst_len, config->trig_mode})
                configs += std::to_string(number) + " ";
        };
        configs.clear();
        owner.take_name("com.orna.PTZ");
        ptz_ports_set_connection(owner.connection());
        ptz_command_queue_set_current(&bench.command_queue);
        server = ptz_port_dbus_server_new(port, kXml, "Port.KRX.SIO3");
    }

    ~PortServerTest() override
    {
        bench.queue.shutdown();
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

    // The name of the error, if any.
    std::string finish(const ReplyPtr &reply)
    {
        run_until([&] {
            bench.pass(10000); // the time between two looks at the locks
            return reply->done;
        });
        return reply->error;
    }

    std::string write(const char *property, int value)
    {
        return finish(send_write(property, g_variant_new_int32(value)));
    }

    static inline std::string configs;
    Client owner{address()};
    Client client{address()};
    QueueBench bench;
    GObject *port = static_cast<GObject *>(g_object_new(PTZ_TYPE_PORT, nullptr));
    GObject *server = nullptr;
    PTZPortRegistry *registry = ptz_port_registry_current();
};

TEST_F(PortServerTest, WritesReachThePortWhenItsLocksAreFreeWithZeroInTheOtherFields)
{
    EXPECT_EQ(write("TriggerMode", -1), "");
    EXPECT_EQ(write("Colour", 1), "NotSupported");
    EXPECT_NE(finish(send_write("BurstLength", g_variant_new_string("x"))), "");
    for (const bool shut_down : {false, true}) {
        ptz_driver_port_lock_all(registry);
        const ReplyPtr waiting = send_write("BurstLength", g_variant_new_int32(4000));
        run_until([this] { return bench.queue.repeating() == 1; });
        bench.pass(20000);
        EXPECT_EQ(bench.queue.repeating(), 1u);
        EXPECT_FALSE(waiting->done);
        if (shut_down)
            bench.queue.shutdown();
        else
            ptz_driver_port_unlock_all(registry);
        EXPECT_EQ(finish(waiting), shut_down ? "Failed" : "");
    }
    ptz_driver_port_unlock_all(registry);
    EXPECT_EQ(configs, "0 0 -1 0 4000 0 ");
}

TEST_F(PortServerTest, UnregisteringAndReleasingTakeThePortOffTheBus)
{
    ptz_driver_port_unregister(registry, 2); // another one
    EXPECT_EQ(write("BurstLength", 64), "");
    ptz_driver_port_unregister(registry, 3);
    EXPECT_EQ(write("BurstLength", 64), "UnknownMethod");

    g_object_unref(std::exchange(server, ptz_port_dbus_server_new(port, kXml, "Port.KRX.SIO3")));
    EXPECT_EQ(registry->size(), 1u);
    g_clear_object(&port); // not kept by the server
    EXPECT_EQ(write("BurstLength", 64), "Failed");
    g_clear_object(&server);
    EXPECT_EQ(write("BurstLength", 64), "UnknownMethod");
    EXPECT_EQ(registry->size(), 0u);
}

} // namespace
