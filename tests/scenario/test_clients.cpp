// What clients of the bus may do to the service: nothing that ends it, and little that the others notice.
#include "glib_owned.h"
#include "tests/scenario/system_fixture.h"
#include "tests/support/machine.h"
#include "tests/support/raw_client.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <list>
#include <numeric>

namespace {

constexpr char RUNNING[] = "(1, 'running')";

// The shipped policy under the limits of a system bus. Only root can be a stranger too: for anybody else there is no
// bus, and all are of one user on one without a policy.
class PolicyBus {
  protected:
    PolicyBus()
    {
        if (!user::MANY)
            return;
        std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
        bus_address = "unix:path=" + folder_.file("bus");
        const std::vector<std::string> command{"dbus-daemon", "--nofork", "--config-file=" SYSTEM_BUS_CONF,
                                               "--address=" + bus_address, "--print-address"};
        daemon_ = std::make_unique<Process>(command, Process::Variables{}, folder_.file("log"));
        run_until([this] { return daemon_->output().find(bus_address) != std::string::npos; });
    }

    std::string bus_address;

  private:
    TempFolder folder_;
    std::unique_ptr<Process> daemon_;
};

class SystemClients : PolicyBus, public SystemTest {
  protected:
    SystemClients() : SystemTest(bus_address) {}

    void TearDown() override
    {
        if (!ptzd->ended()) // as the test has seen
            expect_life();
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
    RawClient hostile(address(), user::STRANGER);
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
    for (int i = 0; i < DEAF_CLIENTS; ++i)
        deaf.emplace_back(address(), user::STRANGER);
    for (int round = 0; round < 2; ++round) {
        for (RawClient &each : deaf)
            for (int call = 0; call < 32; ++call)
                ASSERT_TRUE(each.call("ListParameters", g_variant_new("(s)", "")));
        EXPECT_EQ(state_at_once(), RUNNING);
    }
    EXPECT_LT(std::accumulate(deaf.begin(), deaf.end(), std::size_t{0},
                              [this](std::size_t sum, const RawClient &each) { return sum + held(each); }),
              10u << 20);
    // Of what ptzd itself asks for, the bus lets only so much be unanswered.
    const unsigned rates = sim_counts("Records")["Capture frame rate"];
    sim_command("set capture-frequency 25");
    run_until([&] { return sim_counts("Records")["Capture frame rate"] > rates; });
    // Who reads at last is served again, although it answers no ping.
    RawClient &cured = deaf.front();
    run_until([&] { return cured.read(0) == 0 && held(cured) == 0; });
    run_until([&] { return cured.call("GetState") && cured.read(20) == 1 && cured.last_error().empty(); });
}

TEST_F(SystemClients, ThousandsOfCallsAndWordsInTheNameOfOthersChangeNothing)
{
    time_scale = "4"; // so that the move lasts
    start_all();
    const std::string name = g_dbus_connection_get_unique_name(client.connection());
    const struct {
        const char *path, *interface, *member;
        std::string body;
    } signals[] = {
        {"/com/orna/ImageControl/0/0", "org.freedesktop.DBus.Properties", "PropertiesChanged",
         "('com.orna.ImageControlStream', {'CaptureFrequency': <25>}, @as [])"},
        {"/com/orna/Streamer", "com.orna.Streamer", "CurrentRotationChanged", "(90,)"},
        {"/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged", "('" + name + "', '" + name + "', '')"},
    };
    const Counts before = sim_counts("Records");
    client.call("Move", "([('pan', 'continuous', 2.0)], 0.0, @a{sv} {})");
    RawClient hostile(address(), user::STRANGER);
    RawClient careless(address(), user::STRANGER);
    for (int round = 0; round < 150; ++round) { // fifty a second
        for (int call = 0; call < 34; ++call) {
            ASSERT_TRUE(hostile.call("GetPosition"));
            GDBusMessage *unanswered =
                g_dbus_message_new_method_call("com.orna.PTZ", "/com/orna/PTZ", "com.orna.PTZ", "GetStatus");
            g_dbus_message_set_flags(unanswered, G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
            ASSERT_TRUE(careless.send(unanswered));
        }
        for (const auto &signal : signals) {
            for (const char *to : {static_cast<const char *>(nullptr), "com.orna.PTZ"}) {
                GDBusMessage *message = g_dbus_message_new_signal(signal.path, signal.interface, signal.member);
                g_dbus_message_set_destination(message, to);
                g_dbus_message_set_body(message, g_variant_new_parsed(signal.body.c_str()));
                ASSERT_TRUE(hostile.send(message));
            }
        }
        const gint64 next = g_get_monotonic_time() + 20000;
        run_until([&] { return g_get_monotonic_time() >= next; });
        if (round % 25 == 0) {
            EXPECT_EQ(state_at_once(), RUNNING);
        }
    }
    Counts after = sim_counts("Records");
    for (const char *record : {"Capture frame rate", "Rotation"})
        EXPECT_EQ(after[record], before.at(record)) << record; // those of the start
    const double pan = sim_value("Pan");
    run_until([&] { return sim_value("Pan") > pan; }); // nobody has left whose move it was
    sim_command("set capture-frequency 25");
    run_until([&] { return sim_counts("Records")["Capture frame rate"] > after["Capture frame rate"]; });
}

TEST_F(SystemClients, NamesThatOthersHaveHoldUpTheStartAlone)
{
    RawClient thief(address());
    for (const char *name : {"com.orna.ImageControl", "com.orna.Streamer"})
        ASSERT_TRUE(thief.ask_bus("RequestName", g_variant_new("(su)", name, 4u)));
    start_sim();
    start_ptzd();
    await_state(4); // until the time for an answer is over
    EXPECT_EQ(state_at_once(), "(4, 'starting')");
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
}

TEST_F(SystemClients, StrangersMayLook)
{
    if (!user::MANY)
        GTEST_SKIP() << "only root can be somebody else";
    start_all();
    RawClient stranger(address(), user::STRANGER);
    for (const char *denied : {"Stop", "Move", "SetParameter", "RunSpecialCommand", "GetPosition", "com.orna.PTZ"}) {
        const bool name = std::strchr(denied, '.') != nullptr;
        ASSERT_TRUE(name ? stranger.ask_bus("RequestName", g_variant_new("(su)", denied, 2u)) : stranger.call(denied));
        stranger.read();
        const char *error = std::strcmp(denied, "GetPosition") == 0 ? "" : "org.freedesktop.DBus.Error.AccessDenied";
        EXPECT_EQ(stranger.last_error(), error) << denied;
    }
}

} // namespace
