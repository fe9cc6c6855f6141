// Moves that tell how they ended, and stops that go on until the camera stands, through the real programs.
#include "tests/scenario/system_fixture.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class Motion : public SystemTest {
  protected:
    Motion()
    {
        const auto write_down = [](GDBusConnection *, const char *, const char *, const char *, const char *,
                                   GVariant *parameters, gpointer into) {
            GVariant *id = g_variant_get_child_value(parameters, 0);
            (*static_cast<std::map<guint32, std::string> *>(into))[g_variant_get_uint32(id)] += print(parameters);
            g_variant_unref(id);
        };
        subscription =
            g_dbus_connection_signal_subscribe(client.connection(), nullptr, "com.orna.PTZ", "MoveDone", nullptr,
                                               nullptr, G_DBUS_SIGNAL_FLAGS_NONE, write_down, &ended, nullptr);
    }

    // The programs say their last when they are ended, after this.
    ~Motion() override { g_dbus_connection_signal_unsubscribe(client.connection(), subscription); }

    // A move with a number; what is said to it.
    std::string move(guint32 id, const std::string &axes, double speed = 0)
    {
        const std::string arguments =
            "([" + axes + "], " + std::to_string(speed) + ", {'id': <uint32 " + std::to_string(id) + ">})";
        return client.call("Move", arguments.c_str()).said();
    }
    // The number's MoveDone, without its position.
    std::string end_of(guint32 id)
    {
        run_until([&] { return ended.count(id) != 0; });
        return ended[id].substr(0, ended[id].find(", {"));
    }
    std::string moving() { return client.property("Moving"); }
    // Bursts go through, and the block hears none of them.
    void spoil_link()
    {
        sim_command("fault hold-request high");
        sim_command("fault silence 1000s");
    }
    void pan_on(Client &by)
    {
        // So slow that the end of its way is minutes off.
        EXPECT_EQ(by.call("Move", "([('pan', 'continuous', 0.3)], 0.0, @a{sv} {})").said(), "()");
        run_until([this] { return sim_value("PanMoving") == 1; });
    }
    // Faults of the line may begin or end in the middle of an exchange.
    void expect_no_offences()
    {
        Counts offences = sim_counts("Offences");
        offences.erase("burst-without-request");
        EXPECT_EQ(offences, Counts{});
    }
    void expect_stands()
    {
        run_until([this] { return sim_value("PanMoving") == 0; });
        EXPECT_LT(sim_value("Pan"), 60);
    }

    guint subscription;
    std::map<guint32, std::string> ended; // MoveDone by number; once, or it would stand there twice
};

TEST_F(Motion, AWaitingPtzctlTellsWhetherTheMoveArrivedAndWhere)
{
    start_all();
    const struct {
        std::vector<std::string> words;
        int status;
        const char *said;
    } steps[] = {
        {{"move", "--wait", "pan=10", "tilt=5", "zoom=2000", "focus=5000", "iris=4000"}, 0, "\"reason\":\"reached\""},
        {{"move", "--wait", "pan=abs:12", "tilt=rel:-2", "brightness=7000"}, 0, "\"pan\":12,\"tilt\":3,"},
        {{"move", "--wait", "--relative", "pan=0", "zoom=500", "focus=-1000"}, 0, "\"reached\":true"},
        {{"move", "--wait", "zoom=15000"}, 5, "\"reason\":\"limit\""}, // the default of MaxZoom
        {{"angle-to-zoom", "62.8"}, 0, "{\"zoom\":1}"},                // the lens is 62.80078125 degrees wide
        {{"angle-to-zoom", "12.56", "--scale", "20"}, 0, "{\"zoom\":1}"},
        {{"angle-to-zoom", "2.3310"}, 0, "{\"zoom\":9999}"},
        {{"angle-to-zoom", "63"}, 1, "63 degrees are more than the lens shows"},
        {{"angle-to-zoom", "0.5"}, 1, "and a zoom ends at 9999; 'ptzctl params set Limit.MaxZoom 1"},
        {{"angle-to-zoom", "0.05"}, 1, "0.05 degrees are less than the camera shows"},
        {{"params", "set", "UserAdv.StatusUpdate", "false"}, 0, ""},
        {{"move", "--wait", "pan=0", "tilt=0"}, 0, "\"reached\":true"}, // also without the driver's poll
        {{"stop"}, 0, "\"ok\":true"},
        {{"params", "set", "Limit.MaxPan", "20"}, 0, ""},
        {{"params", "set", "Limit.MinTilt", "-5"}, 0, ""},
        {{"params", "set", "Limit.MaxFocus", "9999"}, 0, ""},
        {{"params", "reset", "Limit.MaxFocus"}, 0, "\"ok\":true"},
        {{"params", "reset", "Limit.MaxFun"}, 1, "there is no parameter 'Limit.MaxFun'"},
        {{"move", "--wait", "pan=20.5"}, 1, "beyond the limit 20 degrees, which the parameter Limit.MaxPan sets"},
        {{"move", "--wait", "tilt=-6"}, 1, "Limit.MinTilt"},
        {{"move", "--wait", "pan=20", "tilt=-5"}, 0, "\"reached\":true"},
        {{"move", "--wait", "pan=15", "tilt=0"}, 0, "\"reached\":true"},
        {{"move", "--wait", "--relative", "pan=30", "tilt=3"}, 5, "\"pan\":20,\"tilt\":3,"},
        {{"move", "--wait", "--relative", "tilt=-30"}, 5, "\"reason\":\"limit\""},
        {{"move", "--continuous", "pan=50"}, 0, "\"reason\":\"limit\""},
        {{"move", "--continuous", "pan=-1", "--for", "0.5"}, 0, "\"reason\":\"stopped\""},
        {{"move", "--continuous", "iris=5"}, 5, "\"reason\":\"not taken\""}, // which no driver operation does
        {{"move", "pan=0"}, 0, "\"ok\":true"},
    };
    for (const auto &[words, status, said] : steps) {
        int result = -1;
        EXPECT_THAT(ptzctl(words, &result), HasSubstr(said)) << words[1];
        EXPECT_EQ(result, status) << testing::PrintToString(words);
    }
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(Motion, EveryMoveIsDoneOnceAndSaysWhy)
{
    start_all();
    const std::string slow = "('pan', 'absolute', 160.0)";
    move(1, slow, 1);
    run_until([this] { return sim_value("PanMoving") == 1; });
    EXPECT_EQ(moving(), "(<['pan']>,)");
    EXPECT_EQ(move(2, "('zoom', 'absolute', 3000.0)"), "()");
    EXPECT_EQ(end_of(2), "(2, true, 'reached'"); // the pan goes on
    EXPECT_EQ(move(3, slow, 1), "()");
    EXPECT_EQ(end_of(1), "(1, false, 'replaced'");
    EXPECT_EQ(client.call("Stop").said(), "()");
    EXPECT_EQ(end_of(3), "(3, false, 'stopped'");
    EXPECT_EQ(sim_value("PanMoving"), 0);
    EXPECT_EQ(moving(), "(<@as []>,)");

    move(4, "('focus', 'continuous', -1.0)"); // which the driver's own stop leaves alone
    run_until([this] { return sim_value("FocusMoving") == 1; });
    EXPECT_EQ(client.call("Stop").said(), "()");
    EXPECT_EQ(sim_value("FocusMoving"), 0);
    EXPECT_EQ(end_of(4), "(4, false, 'stopped'");

    move(5, "('pan', 'continuous', 0.3)");
    ptzctl({"params", "set", "Limit.MaxPan", "-100"}); // behind it
    EXPECT_EQ(end_of(5), "(5, false, 'limit'");
    expect_stands();
    ptzctl({"params", "set", "Limit.MaxPan", "170"});

    move(6, slow, 1);
    sim_command("fault silence 3s");
    sim_command("set pan 40"); // held up on its way
    EXPECT_EQ(end_of(6), "(6, false, 'link lost'");
    move(7, slow, 1);
    ptzctl({"special", "reset"});
    EXPECT_EQ(end_of(7), "(7, false, 'camera stopped'");
    EXPECT_EQ(move(8, "('pan', 'absolute', nan)").substr(0, 15), "InvalidArgument");
    EXPECT_EQ(move(0, slow), "OutOfRange: id: 0 is outside 1..2147483647.");
    EXPECT_EQ(client.call("Move", "([('pan', 'absolute', 0.0)], 0.0, @a{sv} {})").said(), "()");
    EXPECT_EQ(end_of(2147483648), "(2147483648, true, 'reached'");
    EXPECT_EQ(ended.size(), 8u);
    expect_no_offences();
}

TEST_F(Motion, AMoveThatTheBlockDoesNotTakeFails)
{
    start_all();
    guint32 id = 0;
    for (const char *fault : {"silence 1000s", "bad-checksum forever", "flip-bit forever", "stretch-frame forever",
                              "empty-frame forever", "garbage forever"}) {
        SCOPED_TRACE(fault);
        sim_command("fault hold-request high");
        sim_command(std::string("fault ") + fault);
        EXPECT_THAT(move(++id, "('tilt', 'absolute', 10.0), ('pan', 'absolute', 20.0)"), StartsWith("Failed: "));
        EXPECT_EQ(end_of(id), "(" + std::to_string(id) + ", false, 'not taken'");
        EXPECT_THAT(move(++id, "('pan', 'continuous', 0.3)"), StartsWith("Failed: "));
        sim_command("clear faults");
        expect_stands(); // though the block may have heard more than it answered
        EXPECT_EQ(move(++id, "('pan', 'absolute', 0.0)"), "()");
        EXPECT_THAT(end_of(id), HasSubstr("true, 'reached'"));
    }
}

TEST_F(Motion, AStopGoesOnOverABadLinkWhoeverAskedForIt)
{
    start_all();
    {
        Client other(address());
        pan_on(other);
        spoil_link();
    } // and leaves
    run_until([this] { return logged("A client left while its move was running") == 1; });
    run_until([this] { return logged("Write command failed") > 20; }); // more than one stop has tries
    EXPECT_EQ(sim_value("PanMoving"), 1);
    sim_command("clear faults");
    expect_stands();

    pan_on(client);
    spoil_link();
    EXPECT_THAT(client.call("Stop").said(), StartsWith("StillMoving: "));
    EXPECT_EQ(sim_value("PanMoving"), 1);
    sim_command("clear faults");
    expect_stands();
    EXPECT_EQ(client.call("Stop").said(), "()");

    // It gives way to a newer move, but only where that goes.
    pan_on(client);
    spoil_link();
    EXPECT_THAT(client.call("Stop").said(), StartsWith("StillMoving: "));
    EXPECT_THAT(move(1, "('tilt', 'continuous', 0.3)"), StartsWith("Failed: "));
    const ReplyPtr tilt = client.send("Move", "([('tilt', 'continuous', 0.3)], 0.0, @a{sv} {})");
    sim_command("clear faults");
    run_until([&] { return tilt->done; });
    expect_stands();
    EXPECT_EQ(sim_value("TiltMoving"), tilt->error.empty() ? 1 : 0); // it may have come before the link was back
    expect_no_offences();
}

TEST_F(Motion, AStopDoesNotWaitForAnotherService)
{
    start_all();
    pan_on(client);
    sim_command("fault image-control silent");
    const std::size_t asked = logged("Failed to get videocapturemode");
    sim_command("set capture-frequency 50");
    // Until a question to the command thread goes unanswered: it asks.
    run_until([this] {
        const ReplyPtr question = client.send("GetFieldOfView");
        for (int i = 0; i < 20; ++i)
            client.call("GetState");
        return !question->done;
    });
    EXPECT_EQ(client.call("Stop").said(), "()");
    expect_stands();
    EXPECT_EQ(logged("Failed to get videocapturemode"), asked + 1);
}

TEST_F(Motion, TheEndOfTheServiceStopsWhatMoves)
{
    start_all();
    pan_on(client);
    const unsigned stops = sim_counts("Records")["Pan/tilt stop"];
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
    EXPECT_EQ(sim_counts("Records")["Pan/tilt stop"], stops + 2);
    EXPECT_EQ(sim_state(), "off");
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

} // namespace
