// What clients of the bus may do to the service: nothing that ends it, and little that the others notice.
#include "glib_owned.h"
#include "tests/scenario/system_fixture.h"
#include "tests/support/raw_client.h"

#include <fstream>
#include <list>

namespace {

class SystemClients : public SystemTest {
  protected:
    // Of /proc/PID/status, in kB: "VmHWM" is the most memory that ptzd ever had.
    std::size_t ptzd_memory(const std::string &key) const
    {
        std::ifstream status("/proc/" + ptzd->pid() + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with(key + ":"))
                return std::stoul(line.substr(key.size() + 1));
        return 0;
    }

    // How many bytes the bus keeps for a client that has not read them.
    std::size_t held(const RawClient &by)
    {
        const GVariantOwned reply(g_dbus_connection_call_sync(
            client.connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats",
            "GetConnectionStats", g_variant_new("(s)", by.name().c_str()), G_VARIANT_TYPE("(a{sv})"),
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
        const GVariantOwned numbers(g_variant_get_child_value(reply.get(), 0));
        guint32 bytes = 0;
        g_variant_lookup(numbers.get(), "OutgoingBytes", "u", &bytes);
        return bytes;
    }
};

TEST_F(SystemClients, WhatCarriesDescriptorsIsRefusedBeforeItWaits)
{
    start_sim();
    ptzd = run({"/bin/sh", "-c", "ulimit -n 128; exec " PTZD_FILE " --foreground --plugin " PLUGIN_FILE}, "ptzd.log");
    await_state(1);
    const std::size_t before = ptzd_descriptors();
    sim_command("fault image-control silent");
    sim_command("set capture-frequency 25"); // keeps the command thread waiting
    RawClient hostile(address());
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(hostile.call("GetPosition", nullptr, 16));
        GDBusMessage *spoofed = g_dbus_message_new_signal("/com/orna/ImageControl/0/0",
                                                          "org.freedesktop.DBus.Properties", "PropertiesChanged");
        ASSERT_TRUE(hostile.send(spoofed, 16));
    }
    for (std::size_t refused = 0, last = 1; refused < 100 && last > 0;)
        {last = hostile.read(); refused += last; fprintf(stderr,"refused %zu\n",refused);} fprintf(stderr, "%s", ptzd->output().c_str());
    EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
    EXPECT_LE(ptzd_descriptors(), before + 1); // what the waiting itself needs
}

TEST_F(SystemClients, ThoseThatDoNotReadCostLittleAndHoldUpNobody)
{
    start_all();
    std::list<RawClient> deaf;
    for (int i = 0; i < 20; ++i)
        deaf.emplace_back(address());
    std::size_t most = 0;
    gint64 longest = 0;
    for (int round = 0; round < 100; ++round) {
        for (RawClient &each : deaf)
            ASSERT_TRUE(each.call("ListParameters", g_variant_new("(s)", "")));
        const gint64 begin = g_get_monotonic_time();
        EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
        longest = std::max(longest, g_get_monotonic_time() - begin);
    }
    for (RawClient &each : deaf)
        most += held(each);
    std::fprintf(stderr, "held %zu hwm %zu rss %zu longest %ld\n", most, ptzd_memory("VmHWM"), ptzd_memory("VmRSS"), longest);
    EXPECT_LT(most, 16u << 20);
    EXPECT_LT(ptzd_memory("VmHWM"), 32u * 1024);
    EXPECT_LT(longest, G_USEC_PER_SEC);
}

} // namespace
