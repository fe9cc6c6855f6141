// From start to end: names, plug-ins, signals, shutdown, and all over again.
#include "ptzorvel/ptzd/plugin.h"
#include "tests/platform/service_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Writes down the signals of the service as a client sees them.
class SignalLog {
  public:
    explicit SignalLog(GDBusConnection *connection) : connection_(connection)
    {
        id_ = g_dbus_connection_signal_subscribe(connection, nullptr, "com.orna.PTZ", nullptr, "/com/orna/PTZ", nullptr,
                                                 G_DBUS_SIGNAL_FLAGS_NONE, on_signal, this, nullptr);
    }
    ~SignalLog() { g_dbus_connection_signal_unsubscribe(connection_, id_); }
    SignalLog(const SignalLog &) = delete;
    SignalLog &operator=(const SignalLog &) = delete;

    std::vector<std::string> lines;

  private:
    static void on_signal(GDBusConnection *, const char *, const char *, const char *, const char *name,
                          GVariant *parameters, gpointer self)
    {
        char *text = g_variant_print(parameters, FALSE);
        static_cast<SignalLog *>(self)->lines.push_back(name + std::string(text));
        g_free(text);
    }

    GDBusConnection *connection_;
    guint id_;
};

std::size_t open_descriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST_F(ServiceTest, ASecondServiceOnTheBusIsRefusedAndTheFirstGoesOn)
{
    start();
    Client other(address());
    std::string why;
    EXPECT_EQ(PtzService::create(other.connection(), options, why), nullptr);
    EXPECT_THAT(why, HasSubstr("runs on this bus already"));
    EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
}

TEST_F(ServiceTest, StatesEventsAndParametersAreAnnounced)
{
    SignalLog log(client.connection());
    EXPECT_EQ(client.call("GetState").error, "ServiceUnknown"); // the subscription is in place when this is answered
    start();
    client.call("SetParameter", "('UserAdv','Freeze',<'on'>)");
    service.reset();
    run_until([&] { return log.lines.size() == 5; });
    EXPECT_THAT(log.lines,
                ElementsAre("StateChanged(4, 'starting')", "Event(4, 'Cam error DSP')", "StateChanged(1, 'running')",
                            "ParameterChanged('UserAdv', 'Freeze', <'on'>)", "StateChanged(6, 'closed')"));
}

TEST_F(ServiceTest, PropertiesShowTheServiceAsItIs)
{
    start();
    const ReplyPtr reply = client.send_to("/com/orna/PTZ", "org.freedesktop.DBus.Properties", "GetAll",
                                          g_variant_new("(s)", "com.orna.PTZ"));
    run_until([&] { return reply->done; });
    EXPECT_THAT(reply->text, HasSubstr("'State': <1>, 'StateText': <'running'>, 'Speed': <100.0>, "
                                       "'VideoChannel': <2>, 'Id': <7>"));
}

TEST_F(ServiceTest, ATurnedPictureReachesTheDriver)
{
    start();
    g_dbus_connection_emit_signal(client.connection(), nullptr, "/com/orna/Streamer/Video/Channel/1",
                                  "com.orna.Streamer.Video.Channel", "CurrentRotationChanged",
                                  g_variant_new("(i)", 180), nullptr);
    run_until([&] { return driver_calls().size() == 1; });
    EXPECT_EQ(driver_calls()[0], "signal CurrentRotationChanged(180,)");
}

TEST_F(ServiceTest, ClosingComesBeforeWhatWaitsAndRefusesIt)
{
    start();
    const int destroyed = recording_driver_tasks_destroyed();
    const ReplyPtr position = occupy_command_thread();
    const ReplyPtr mode = client.send("SetFocusMode", "('auto',)");
    EXPECT_EQ(client.call("GetState").error, "");
    std::atomic<bool> closed{false};
    service->close([&] { closed = true; });
    DriverScript::get().open_gate();
    run_until([&] { return closed && mode->done; });
    EXPECT_EQ(mode->error, "Failed");
    EXPECT_EQ(position->error, "");
    EXPECT_THAT(DriverScript::get().lines(), ElementsAre("open", "position", "close"));
    EXPECT_EQ(DriverScript::get().alive(), 0);
    EXPECT_EQ(recording_driver_tasks_destroyed(), destroyed + 1);
    EXPECT_EQ(client.call("GetPosition").error, "NotReady"); // still there, and says so
}

TEST_F(ServiceTest, LoadsRunsAndClosesAgainAndAgainInOneProcess)
{
    start();
    service.reset();
    const std::size_t descriptors = open_descriptors();
    for (int round = 0; round < 5; round++) {
        start();
        EXPECT_EQ(client.call("Move", "([('pan','continuous',1.0)], 0.0, @a{sv} {})").error, "");
        EXPECT_EQ(DriverScript::get().alive(), 1);
        service.reset();
        EXPECT_EQ(DriverScript::get().alive(), 0);
        EXPECT_EQ(client.call("GetState").error, "ServiceUnknown");
    }
    EXPECT_LE(open_descriptors(), descriptors);
}

TEST_F(ServiceTest, APluginThatMakesNoDriverIsReported)
{
    options.driver_new = [](int, int) -> PTZDriver * { return nullptr; };
    start();
    EXPECT_THAT(problem, HasSubstr("made no driver"));
    EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").error, "NotReady");
    EXPECT_EQ(client.call("ListParameters", "('Limit',)").error, "NotReady");
}

TEST(Plugin, SaysWhyAFileCannotBeUsed)
{
    std::string why;
    EXPECT_EQ(load_plugin("/nonexistent/plugin.so", why), nullptr);
    EXPECT_THAT(why, HasSubstr("Cannot read the plug-in /nonexistent/plugin.so: No such file or directory"));
    EXPECT_EQ(load_plugin("/proc/self/cmdline", why), nullptr);
    EXPECT_THAT(why, HasSubstr("Cannot load the plug-in"));
    EXPECT_EQ(load_plugin("/proc/self/exe", why), nullptr);
}

} // namespace
