// What clients of the bus may do to the service: nothing that ends it, and little that the others notice.
#include "glib_owned.h"
#include "tests/scenario/system_fixture.h"
#include "tests/support/raw_client.h"

#include <cmath>
#include <fstream>
#include <list>
#include <numeric>

namespace {

class SystemClients : public SystemTest {
  protected:
    // The most memory that ptzd ever had, in kB.
    std::size_t ptzd_memory() const
    {
        std::ifstream status("/proc/" + ptzd->pid() + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("VmHWM:"))
                return std::stoul(line.substr(6));
        return 0;
    }

    // As if the image pipeline had something to say.
    static GDBusMessage *spoofed_signal(GVariant *body)
    {
        GDBusMessage *signal = g_dbus_message_new_signal("/com/orna/ImageControl/0/0",
                                                         "org.freedesktop.DBus.Properties", "PropertiesChanged");
        if (body != nullptr)
            g_dbus_message_set_body(signal, body);
        return signal;
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
        ASSERT_TRUE(hostile.send(spoofed_signal(nullptr), 16));
    }
    for (std::size_t refused = 0, more = 1; refused < 100 && more > 0; refused += more)
        more = hostile.read();
    EXPECT_EQ(hostile.last_error(), "org.freedesktop.DBus.Error.NotSupported");
    EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
    EXPECT_LE(ptzd_descriptors(), before + 1); // what the waiting itself needs
}

TEST_F(SystemClients, NothingThatIsSentEndsTheService)
{
    start_all();
    const std::string properties = "org.freedesktop.DBus.Properties";
    const std::string long_text(100000, 'x');
    const auto deep = [] { // for the bus, nothing out of the ordinary
        const std::string type = std::string(31, 'a') + std::string(16, '(') + "y" + std::string(16, ')');
        GVariant *value = g_variant_new_array(G_VARIANT_TYPE(type.c_str() + 1), nullptr, 0);
        for (int i = 0; i < 30; ++i)
            value = g_variant_new_variant(value);
        return g_variant_new_tuple(&value, 1);
    };
    const struct {
        std::string path, interface, member;
        GVariant *arguments;
        std::size_t replies;
    } calls[] = {
        {"/com/orna/PTZ", "com.orna.PTZ", "GetState", deep(), 0},
        {"/com/orna/PTZ", "com.orna.PTZ", "RunSpecialCommand", g_variant_new("(s)", (long_text + long_text).c_str()),
         0},
        {"/com/orna/PTZ", "com.orna.PTZ", "RunSpecialCommand", g_variant_new("(s)", long_text.c_str()), 1},
        {"/" + long_text, "com.orna.PTZ", "GetState", nullptr, 1},
        {"/com/orna/PTZ", "com.orna.PTZ", "Move", g_variant_new("(v)", g_variant_new_double(NAN)), 1},
        {"/com/orna/PTZ", "com.orna.PTZ", "stop", nullptr, 1},
        {"/com/orna/PTZ", "no.such.face", "Stop", g_variant_new("(u)", 5u), 1},
        {"/com/orna/PTZ", properties, "Set", g_variant_new("(ssv)", "com.orna.PTZ", "State", g_variant_new_int32(1)),
         1},
        {"/com/orna/PTZ", properties, "Get", g_variant_new("(ss)", "", "\n"), 1},
        {"/", "org.freedesktop.DBus.Introspectable", "Introspect", nullptr, 1},
    };
    RawClient hostile(address());
    std::size_t expected = 0;
    for (const auto &call : calls) {
        GDBusMessage *message = g_dbus_message_new_method_call("com.orna.PTZ", call.path.c_str(),
                                                               call.interface.c_str(), call.member.c_str());
        if (call.arguments != nullptr)
            g_dbus_message_set_body(message, call.arguments);
        ASSERT_TRUE(hostile.send(message)) << call.member;
        expected += call.replies;
    }
    ASSERT_TRUE(hostile.send(spoofed_signal(deep())));
    for (std::size_t more = 1; expected > 0 && more > 0; expected -= std::min(more, expected))
        more = hostile.read();
    EXPECT_EQ(expected, 0u);
    EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
    EXPECT_FALSE(ptzd->ended()) << ptzd->output();
}

TEST_F(SystemClients, ThoseThatDoNotReadCostLittleAndHoldUpNobody)
{
    start_all();
    std::list<RawClient> deaf;
    for (int i = 0; i < 20; ++i)
        deaf.emplace_back(address());
    gint64 longest_us = 0;
    for (int round = 0; round < 100; ++round) {
        for (RawClient &each : deaf)
            ASSERT_TRUE(each.call("ListParameters", g_variant_new("(s)", "")));
        const gint64 begin = g_get_monotonic_time();
        EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
        longest_us = std::max(longest_us, g_get_monotonic_time() - begin);
    }
    EXPECT_LT(std::accumulate(deaf.begin(), deaf.end(), std::size_t{0},
                              [this](std::size_t sum, const RawClient &each) { return sum + held(each); }),
              16u << 20);
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // which take several times as much
    EXPECT_LT(ptzd_memory(), 32u * 1024);
#endif
    EXPECT_LT(longest_us, G_USEC_PER_SEC);
    // Who reads at last is served again, although it answers no ping.
    RawClient &cured = deaf.front();
    run_until([&] { return cured.read(0) == 0 && held(cured) == 0; });
    run_until([&] { return cured.call("GetState") && cured.read(20) == 1 && cured.last_error().empty(); });
}

} // namespace
