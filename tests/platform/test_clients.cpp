// Clients of the service among each other: how much of one is taken, in whose turn, and what a stop overtakes.
#include "ptzorvel/ptzd/clients.h"
#include "tests/platform/service_fixture.h"

#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Kind = Clients::Kind;
using Witness = Clients::Witness;

constexpr std::size_t KB = 1024;

TEST(Clients, HaveSoManyCallsInWork)
{
    Clients clients;
    const auto call = [&](guint32 serial, Kind kind, bool wants_reply = true) {
        return clients.call_came(":1.1", serial, kind, wants_reply);
    };
    for (guint32 serial = 1; serial <= 32; ++serial)
        EXPECT_EQ(call(serial, Kind::work, serial != 32), Kind::work);
    EXPECT_EQ(call(33, Kind::work), Kind::refusal);
    EXPECT_EQ(call(34, Kind::work, false), std::nullopt);
    EXPECT_EQ(call(35, Kind::stop), Kind::stop);
    EXPECT_EQ(call(35, Kind::stop), std::nullopt); // never twice under one number
    EXPECT_EQ(clients.call_came(":1.2", 1, Kind::work, true), Kind::work);
    EXPECT_TRUE(clients.reply_goes(":1.1", 33, KB)); // of the refusal
    EXPECT_EQ(call(36, Kind::work), Kind::refusal);
    EXPECT_FALSE(clients.reply_goes(":1.1", 32, KB)); // it wanted none
    EXPECT_EQ(call(37, Kind::work), Kind::work);
    EXPECT_FALSE(clients.drop_abandoned(":1.1"));
    clients.left(":1.1");
    EXPECT_FALSE(clients.drop_abandoned(":1.1")); // 34 calls of those that have left
    for (guint32 serial = 2; serial <= 32; ++serial)
        EXPECT_EQ(clients.call_came(":1.2", serial, Kind::work, true), Kind::work);
    clients.left(":1.2"); // 66
    EXPECT_TRUE(clients.drop_abandoned(":1.2"));
    EXPECT_FALSE(clients.reply_goes(":1.2", 1, KB));
    EXPECT_FALSE(clients.drop_abandoned(":1.2"));
}

TEST(Clients, GetAnswersAsLongAsTheyRead)
{
    Clients clients;
    guint32 serial = 0;
    // Calls until it is dropped; in pairs, so that it is not one of those that wait for each answer.
    const auto fill = [&](const std::string &client, std::size_t size, std::size_t most, int at_a_time = 2) {
        std::size_t sent = 0;
        while (sent < most) {
            for (int i = 0; i < at_a_time; ++i)
                if (clients.call_came(client, ++serial, Kind::work, true) == std::nullopt)
                    return sent;
            for (int i = 0; i < at_a_time; ++i)
                sent += clients.reply_goes(client, serial - static_cast<guint32>(i), size) ? size : 0;
        }
        return sent;
    };
    EXPECT_EQ(fill("deaf", 2 * KB, 10000 * KB), 1026 * KB);
    EXPECT_EQ(clients.call_came("deaf", ++serial, Kind::stop, true), Kind::stop); // it stops, and is not answered
    EXPECT_FALSE(clients.reply_goes("deaf", serial, KB));
    EXPECT_EQ(fill("large", 5 * KB, 10000 * KB, 1), 1025 * KB);
    // It answers when it is asked, of what it had been sent by then.
    EXPECT_TRUE(clients.worth_asking("deaf", Witness::client));
    clients.asked("deaf", Witness::client, 7);
    clients.asked("deaf", Witness::daemon, 8);
    EXPECT_FALSE(clients.worth_asking("deaf", Witness::client));
    EXPECT_FALSE(clients.answered("large", 7, 0));
    EXPECT_TRUE(clients.answered("org.freedesktop.DBus", 8, 26 * KB));
    EXPECT_EQ(clients.unread(), (1025 + 26) * KB);
    EXPECT_EQ(fill("deaf", 2 * KB, 20 * KB), 20 * KB);
    EXPECT_TRUE(clients.answered("deaf", 7, {}));
    EXPECT_EQ(clients.unread(), (1025 + 20) * KB);
    // The daemon does not tell: it is not asked again.
    clients.asked("deaf", Witness::daemon, 9);
    EXPECT_TRUE(clients.answered("org.freedesktop.DBus", 9, {}));
    EXPECT_FALSE(clients.worth_asking("large", Witness::daemon));
    // One at a time and small: as much as there is for all together.
    EXPECT_EQ(fill("modest", 2 * KB, 10000 * KB, 1), (8192 - 1025 - 20) * KB + 1 * KB);
    EXPECT_EQ(fill("late", 2 * KB, 10000 * KB), 34 * KB);
    for (const char *client : {"deaf", "large", "modest", "late"})
        clients.left(client);
    EXPECT_EQ(clients.unread(), 0u);
}

using ServiceClients = ServiceTest;

TEST_F(ServiceClients, TakeTurnsAndAStopOvertakesThemAll)
{
    start();
    Client other(address());
    const ReplyPtr first = occupy_command_thread();
    std::vector<ReplyPtr> calls;
    calls.reserve(40);
    for (int i = 0; i < 40; ++i)
        calls.push_back(client.send("SetFocusMode", "('auto',)"));
    run_until([&] { return calls.back()->done; }); // while the driver is still occupied
    EXPECT_EQ(calls.back()->error, "LimitsExceeded");
    const ReplyPtr theirs = other.send("SetIrisMode", "('auto',)");
    other.call("GetState");
    const ReplyPtr stop = client.send("Stop");
    run_until([&] { return service->stops() == 1; });
    other.call("GetState"); // the stop was counted as it came; now it is in the command thread's lane
    gate.unlock();
    run_until([&] { return theirs->done && calls[30]->done; });
    const std::vector<std::string> lines = script.lines();
    EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 4),
                ElementsAre("position", "stop", StartsWith("F"), StartsWith("I")));
    EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const ReplyPtr &call) { return call->error.empty(); }), 31);
}

TEST_F(ServiceClients, AMoveIsCancelledByTheStopAfterItAndNotByTheOneBefore)
{
    start();
    // The main loop, which is this thread's, stands still until all three have come.
    const ReplyPtr before = client.send("Move", "([('pan','absolute',1.0)], 0.0, @a{sv} {})");
    const ReplyPtr stop = client.send("Stop");
    while (service->stops() == 0)
        std::this_thread::yield();
    const ReplyPtr after = client.send("Move", "([('pan','absolute',2.0)], 0.0, @a{sv} {})");
    run_until([&] { return before->done && stop->done && after->done; });
    EXPECT_EQ(before->error, "Cancelled");
    EXPECT_EQ(after->error, "");
    EXPECT_THAT(script.lines(), ElementsAre("stop", HasSubstr("131072/1")));
}

TEST_F(ServiceClients, HearOfATurnedPictureFromTheStreamerAlone)
{
    start();
    Client streamer(address());
    streamer.take_name("com.orna.Streamer");
    const auto turn = [](Client &by, int degrees, const char *to = nullptr) {
        g_dbus_connection_emit_signal(by.connection(), to, "/x", "a.b", "CurrentRotationChanged",
                                      g_variant_new("(i)", degrees), nullptr);
    };
    occupy_command_thread();
    const char *service_name = g_dbus_connection_get_unique_name(owner.connection());
    for (const int degrees : {90, 180, 270})
        turn(streamer, degrees);
    streamer.call("GetState"); // by now they have come
    turn(client, 10);
    turn(client, 10, service_name);
    client.call("GetState");
    gate.unlock();
    client.call("SetFocusMode", "('auto',)");
    EXPECT_THAT(script.lines(), ElementsAre("position", "CurrentRotationChanged (270,)", StartsWith("F")));
}

TEST_F(ServiceClients, TextsAreShortAndPrintable)
{
    start();
    const std::string text_of_300 = "('" + std::string(300, 'x') + "',)";
    expect_answers({
        {"RunSpecialCommand", "('re\\nset',)", "InvalidArgument: command: there are control characters in \"re?set\"."},
        {"RunSpecialCommand", text_of_300.c_str(), "InvalidArgument: command: a text of more than 255 bytes"},
        {"GetCapabilities", "('\\u0007',)", "InvalidArgument: category: "},
    });
    EXPECT_THAT(script.lines(), ElementsAre());
}

} // namespace
