// Presets and the position as it changes, through the real programs; and the picture, which a move to a preset freezes
// and nothing leaves frozen.
#include "tests/scenario/system_fixture.h"

#include <csignal>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class SystemPresets : public SystemTest {
  protected:
    struct Said {
        gint64 at_us;
        std::string what;
    };

    SystemPresets()
    {
        const auto write_down = [](GDBusConnection *, const char *, const char *, const char *interface,
                                   const char *name, GVariant *parameters, gpointer self) {
            auto *test = static_cast<SystemPresets *>(self);
            if (g_strcmp0(name, "PositionChanged") == 0)
                test->positions.push_back({g_get_monotonic_time(), print(parameters)});
            else if (g_strcmp0(interface, "com.orna.PTZ.Presets") == 0)
                test->said.push_back(name + print(parameters));
        };
        subscription =
            g_dbus_connection_signal_subscribe(client.connection(), nullptr, nullptr, nullptr, "/com/orna/PTZ", nullptr,
                                               G_DBUS_SIGNAL_FLAGS_NONE, write_down, this, nullptr);
    }
    ~SystemPresets() override { g_dbus_connection_signal_unsubscribe(client.connection(), subscription); }

    void expect_said(const std::vector<std::pair<std::vector<std::string>, const char *>> &steps)
    {
        for (const auto &[words, answer] : steps) {
            int status = -1;
            EXPECT_THAT(ptzctl(words, &status), HasSubstr(answer)) << testing::PrintToString(words);
        }
    }
    bool frozen() { return client.call("GetVideo").text.find("'frozen': true") != std::string::npos; }
    void await_frozen(bool wanted)
    {
        run_until([&] { return frozen() == wanted; });
    }
    void restart_ptzd()
    {
        ptzd->signal(SIGTERM);
        ASSERT_EQ(ptzd->wait(), 0) << ptzd->output();
        start_ptzd();
        await_state(1);
    }

    guint subscription;
    std::vector<Said> positions;
    std::vector<std::string> said; // by the presets
};

TEST_F(SystemPresets, AreKeptFoundAgainAndToldWhenTheyAreReachedAndLeft)
{
    start_all();
    const std::string file = folder.file("p.json");
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    expect_said({
        {{"move", "--wait", "pan=10", "tilt=5", "zoom=2000", "focus=5000"}, "\"reached\":true"},
        {{"mode"}, "{\"iris\":\"auto\",\"focus\":\"manual\",\"backlight\":\"off\"}"},
        {{"params", "set", "ImageSource.WDR", "on"}, "ok"},
        {{"preset", "set", "Tür"}, "ok"},
        {{"preset", "set", "N", "pan", "tilt", "--settings", "ImageSource.WDR,ImageSource.Gamma"}, "ok"},
        {{"preset", "home", "set"}, "ok"},
        {{"preset", "set", "N", "pan", "--settings", "ImageSource.Sepia"}, "\"code\":\"UnknownParameter\""},
        {{"preset", "set", "N", "pan", "iris"}, "iris: it is not known where it stands."},
        {{"preset", "export", file}, "ok"},
        {{"preset", "export"}, "}}]}\n"},
        {{"preset", "export", folder.file("pipe")}, "it is no file"},
        {{"params", "set", "ImageSource.WDR", "off"}, "ok"},
        {{"move", "--wait", "pan=30"}, "\"reached\":true"},
        {{"preset", "which"}, "{\"presets\":[]}"},
        {{"preset", "which", "pan=20.5"}, "[\"Tür\",\"N\",\"home\"]"},
        {{"preset", "goto", "N", "--wait", "--speed", "50"}, "\"reached\":true"},
        {{"params", "get", "ImageSource.WDR"}, "\"on\""},
        {{"preset", "rename", "N", "Tür"}, "There is a preset"},
        {{"preset", "rename", "N", "Nacht"}, "ok"},
        {{"preset", "remove", "home"}, "ok"},
        {{"preset", "home"}, "\"code\":\"UnknownPreset\""},
        {{"preset", "goto", "Tür", "--wait"}, "\"reached\":true"}, // where it is already
        {{"preset", "import", folder.file("ptzd.log")}, "is no list of presets"},
        {{"params", "set", "Limit.MaxPan", "5"}, "ok"},
        {{"preset", "goto", "Tür"}, "beyond the limit 5 degrees"},
        {{"params", "reset", "Limit.MaxPan"}, "ok"},
    });
    EXPECT_THAT(folder.read("p.json"), HasSubstr("\"ImageSource.WDR\" : \"on\""));
    EXPECT_THAT(said, testing::IsSupersetOf({"Left('N',)", "Reached('Nacht',)", "Changed()"}));
    restart_ptzd();
    expect_said({
        {{"preset", "list"}, "{\"presets\":[{\"name\":\"Tür\",\"position\":{\"pan\":10,\"tilt\":5,\"zoom\":"},
        {{"preset", "list"}, "{\"name\":\"Nacht\",\"position\":{\"pan\":10,\"tilt\":5},\"settings\":{\"Imag"},
        {{"preset", "import", file, "--alone"}, "ok"}, // what was exported, so without "Nacht"
        {{"preset", "list"}, "\"name\":\"N\""},
    });
    EXPECT_THAT(ptzctl({"preset", "list"}), testing::Not(HasSubstr("Nacht")));
    // Passing by is not reaching.
    said.clear();
    ptzctl({"move", "--wait", "pan=-20"});
    ptzctl({"move", "--wait", "pan=20"});
    EXPECT_THAT(said, testing::Not(testing::Contains("Reached('N',)")));
    ptzctl({"preset", "goto", "N", "--wait"});
    run_until([this] { return std::find(said.begin(), said.end(), "Reached('N',)") != said.end(); });
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(SystemPresets, ThePictureIsNeverLeftFrozenWhateverEndsTheMove)
{
    start_all();
    EXPECT_EQ(client.preset("Import", "(uint32 0, uint32 1, true, [('far', {'pan': 160.0}, @a{ss} {})])"), "()");
    const struct {
        const char *mode, *what;
        std::function<void()> happens;
        bool moves_on; // the picture lives while the camera still moves
    } ways[] = {
        {"auto", "a stop", [this] { client.call("Stop"); }, false},
        {"auto", "the next move", [this] { client.call("Move", "([('pan', 'absolute', -160.0)], 0.1, @a{sv} {})"); },
         true},
        {"auto", "a link that is lost", [this] { sim_command("fault silence 1000s"); }, true},
        {"on", "the same in a move to no preset", [this] { sim_command("fault silence 1000s"); }, true},
        {"auto", "a reset", [this] { client.send("RunSpecialCommand", "('reset',)"); }, false},
        {"auto", "heat", [this] { sim_command("set temperature 90"); }, false},
        {"auto", "a move that takes too long", [] {}, true},
        {"on", "the place is reached", [this] { client.call("Move", "([('pan', 'absolute', 0.0)], 0.0, @a{sv} {})"); },
         false},
    };
    for (const auto &[mode, what, happens, moves_on] : ways) {
        SCOPED_TRACE(what);
        ptzctl({"params", "set", "UserAdv.CamImageFreeze", mode});
        sim_command("set pan 0");
        EXPECT_EQ(mode == std::string("auto")
                      ? client.preset("Goto", "('far', 0.1, uint32 0)")
                      : client.call("Move", "([('pan', 'continuous', 0.3)], 0.0, @a{sv} {})").said(),
                  "()");
        await_frozen(true);
        happens();
        await_frozen(false);
        EXPECT_TRUE(!moves_on || sim_value("PanMoving") == 1);
        sim_command("clear faults");
        sim_command("set temperature 40");
        await_state(1);
        run_until([this] { return client.call("Stop").said() == "()"; });
    }
    // Refused: some of it may have got through, and the driver takes the camera for moving.
    for (const char *mode : {"on", "auto"}) {
        ptzctl({"params", "set", "UserAdv.CamImageFreeze", mode});
        sim_command("fault hold-request high");
        sim_command("fault silence 1000s");
        EXPECT_THAT(client.preset("Goto", "('far', 0.1, uint32 0)"), HasSubstr("Failed"));
        await_frozen(false);
        sim_command("clear faults");
        run_until([this] { return client.call("Stop").said() == "()"; });
        await_frozen(false);
    }
    // A client that dies does not end the move, at the end of which the picture lives.
    {
        Client other(address());
        other.send_to("/com/orna/PTZ", "com.orna.PTZ.Presets", "Goto", g_variant_new("(sdu)", "far", 0.1, 7u));
        await_frozen(true);
    }
    ptzctl({"preset", "goto", "far", "--wait"});
    await_frozen(false);
    // Nor does the service's end leave it so, or the start after one that was killed.
    for (const int signal : {SIGTERM, SIGKILL}) {
        SCOPED_TRACE(signal);
        sim_command("set pan 0");
        EXPECT_EQ(client.preset("Goto", "('far', 0.1, uint32 0)"), "()");
        await_frozen(true);
        ptzd->signal(signal);
        ptzd->wait();
        EXPECT_THAT(folder.read("picture"), HasSubstr(signal == SIGTERM ? "frozen=0" : "frozen=1"));
        start_ptzd();
        await_state(1);
        EXPECT_THAT(folder.read("picture"), HasSubstr("frozen=0"));
        EXPECT_FALSE(frozen());
    }
}

TEST_F(SystemPresets, ThePositionIsToldAsItChangesAndNotOtherwise)
{
    time_scale = "1"; // thirty a second by the wall's clock
    start_all();
    run_until([this] { return client.call("GetStatus").text.find("'link': <'up'>") != std::string::npos; });
    const auto monitor = run({PTZCTL_FILE, "monitor", "--positions"}, "monitor.log");
    run_until([&] { return monitor->output().find("\"moving\":[]") != std::string::npos; });
    positions.clear();
    EXPECT_EQ(client.call("Move", "([('pan', 'absolute', 40.0)], 0.0, {'id': <uint32 9>})").said(), "()");
    expect_said({{{"wait", "--for", "reached", "--timeout", "100"}, "ok"}});
    run_until([this] { return !positions.empty() && positions.back().what.ends_with("[])"); });
    ASSERT_GT(positions.size(), 5u);
    const double seconds = static_cast<double>(positions.back().at_us - positions.front().at_us) / 1e6;
    EXPECT_LE(static_cast<double>(positions.size()), 30 * seconds + 2);
    EXPECT_THAT(positions.back().what, AllOf(HasSubstr("{'pan': 40.0, 'tilt': "), HasSubstr("{'horizontal': 6")));
    EXPECT_THAT(positions[positions.size() / 2].what, HasSubstr("['pan'])"));
    const std::size_t told = positions.size();
    for (int i = 0; i < 20; ++i) // half a second of statuses, and each question refreshes them
        client.call("GetPosition");
    EXPECT_EQ(positions.size(), told);
    run_until([&] { return monitor->output().find("\"done\":9,\"reached\":true") != std::string::npos; });
    EXPECT_THAT(monitor->output(), AllOf(HasSubstr("\"pan\":40,"), HasSubstr("\"horizontal\":6")));

    const struct {
        const char *condition, *timeout;
        int status;
        const char *answer;
    } waits[] = {
        {"standing", "5", 0, "ok"},
        {"state=running", "5", 0, "ok"},
        {"link=up", "5", 0, "ok"},
        {"temperature<60", "5", 0, "ok"},
        {"temperature>60", "0.2", 4, "it is at: 40"},
        {"link=left", "5", 2, "there is no condition 'link=left'"},
    };
    for (const auto &[condition, timeout, status, answer] : waits) {
        int result = -1;
        EXPECT_THAT(ptzctl({"wait", "--for", condition, "--timeout", timeout}, &result), HasSubstr(answer));
        EXPECT_EQ(result, status) << condition;
    }
    const auto waiting =
        run({PTZCTL_FILE, "wait", "--for", "temperature>90"}, "wait.log"); // long before the service ends
    EXPECT_EQ(client.call("Move", "([('pan', 'absolute', 150.0)], 1.0, @a{sv} {})").said(), "()");
    client.call("Stop");
    int result = -1;
    EXPECT_THAT(ptzctl({"wait", "--for", "reached", "--timeout", "60"}, &result), HasSubstr("to its place: stopped"));
    EXPECT_EQ(result, 5);
    ptzd->signal(SIGTERM);
    ptzd->wait();
    EXPECT_EQ(waiting->wait(), 3);
    EXPECT_THAT(waiting->output(), HasSubstr("ptzd"));
    EXPECT_EQ(monitor->wait(), 3);
}

} // namespace
