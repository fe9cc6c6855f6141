// A PTZ service with a recording driver on a bus of its own: what clients ask for and get, and its life from start to
// end.
#include "ptzorvel/ptzd/plugin.h"
#include "ptzorvel/ptzd/service.h"
#include "tests/platform/bus_fixture.h"
#include "tests/platform/recording_driver.h"
#include "tests/support/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

int open_descriptors()
{
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

class ServiceTest : public BusTest {
  protected:
    // Starts the service and waits until the driver's start-up is over.
    void start()
    {
        service = PtzService::create(owner.connection(), options, problem);
        ASSERT_NE(service, nullptr) << problem;
        service->start([this](const std::string &text) {
            problem = text;
            failed = true;
        });
        run_until([&] { return failed || service->state() == script.state_after_open; });
    }

    struct Asked {
        const char *method, *arguments, *answer; // the result as text, or the beginning of "Error: message"
    };
    void expect_answers(std::initializer_list<Asked> calls)
    {
        for (const auto &[method, arguments, answer] : calls) {
            const Reply reply = client.call(method, arguments);
            const std::string said = reply.error.empty() ? reply.text : reply.error + ": " + reply.text;
            EXPECT_THAT(said, testing::StartsWith(answer)) << method << arguments;
        }
    }

    // The name of the error, if any.
    static std::string move(Client &by, const std::string &axes)
    {
        return by.call("Move", ("([" + axes + "], 0.0, @a{sv} {})").c_str()).error;
    }

    // Has the command thread wait inside a position query until the gate is unlocked.
    ReplyPtr occupy_command_thread()
    {
        gate.lock();
        ReplyPtr reply = client.send("GetPosition");
        run_until([this] { return script.in_position.load(); });
        return reply;
    }

    DriverScript script;
    Client owner{address()};
    Client client{address()};
    PtzService::Options options{recording_driver_new, 2, 7, ""};
    std::string problem;
    std::atomic<bool> failed{false};
    std::unique_ptr<PtzService> service;
    std::unique_lock<std::mutex> gate{script.gate, std::defer_lock}; // open before the service is closed
};

TEST_F(ServiceTest, MovesReachTheDriverInItsNumbersAndBadOnesNever)
{
    start();
    expect_answers({
        {"Move", "([('pan','absolute',12.5),('zoom','relative',-3.0)], 50.0, {'preset': <true>})", "()"},
        {"Move", "([('tilt','continuous',-19.999992)], 0.0, @a{sv} {})", "()"}, // x 65536 is -1310719.48
        {"Move", "([('pan','absolute',171.0)], 0.0, @a{sv} {})", "OutOfRange"},
        {"Move", "('pan',)", "InvalidArgs"}, // the bus's own word for a wrong signature
        {"SetParameter", "('UserAdv','Speed',<25>)", "()"},
        {"Move", "([('focus','absolute',7.0),('iris','absolute',8.0),('brightness','absolute',9.0)], 0.0, @a{sv} {})",
         "()"},
    });
    EXPECT_THAT(script.lines(),
                ElementsAre("move pan=819200/1 zoom=-196608/2 speed=3276800 zoom preset",
                            "move tilt=-1310719/3 speed=6553600", "useradv Speed", // from here on the speed is 25 %
                            "move iris=524288/1 focus=458752/1 bri=589824/1 speed=1638400"));
}

TEST_F(ServiceTest, QuestionsAreAnsweredInEngineeringUnits)
{
    start();
    expect_answers({
        {"GetPosition", "()",
         "({'pan': 12.5, 'tilt': -1.0, 'zoom': 10000.0, 'iris': -1.0, 'focus': -1.0, 'brightness': -1.0},)"},
        {"GetStatus", "()", "({'state': <1>, 'text': <'running'>, "},
        {"GetFieldOfView", "()", "({'angle': 30.0, 'widest': 60.0, 'horizontal': -1.0, 'vertical': -1.0},)"},
        {"AngleToZoom", "(10.0, 100.0)", "NotSupported"}, // not replaced by this driver
        {"GetCapabilities", "('',)", "NotSupported"},
        {"AngleToZoom", "(0.0, 100.0)", "OutOfRange"},
        {"AngleToZoom", "(10.0, 99.5)", "InvalidArgument"},
    });
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'error-bits': <uint32 4>, 'errors': <'Cam error DSP'>"));
    const ReplyPtr all = client.send_to("/com/orna/PTZ", "org.freedesktop.DBus.Properties", "GetAll",
                                        g_variant_new("(s)", "com.orna.PTZ"));
    run_until([&] { return all->done; });
    EXPECT_THAT(all->text, HasSubstr("'State': <1>, 'StateText': <'running'>, 'Speed': <100.0>, 'VideoChannel': <2>, "
                                     "'Id': <7>"));
}

TEST_F(ServiceTest, ModesAndSpecialCommandsGoByTheirWords)
{
    start();
    expect_answers({
        {"SetIrisMode", "('manual',)", "()"},
        {"SetIrisMode", "('on',)", "InvalidArgument"},
        {"SetFocusMode", "('auto',)", "()"},
        {"SetBacklightMode", "('off',)", "()"},
        {"SetSpeedFactor", "(true, @n -5)", "()"},
        {"ListSpecialCommands", "()", "(['wbonep', 'reset'],)"},
        {"RunSpecialCommand", "('reset',)", "()"},
        {"RunSpecialCommand", "('wbonep',)", "Failed"},
        {"RunSpecialCommand", "('%n dance',)",
         "InvalidArgument: There is no special command \"%n dance\" now; there are: wbonep, reset."},
    });
    EXPECT_THAT(script.lines(), ElementsAre("iris 2 1 2", "focus 2 1 2", "light 2 1 2", "factor 1 -5", "special reset",
                                            "special wbonep", "special %n dance"));
}

TEST_F(ServiceTest, ParametersAreListedReadSetAndKept)
{
    const TempFolder folder;
    options.state_dir = folder.path();
    folder.write("parameters.conf", "[Limit]\nMinPan=400\n[UserAdv]\nUpdate=perhaps\nStatus=fine\nSpeed=8\n"
                                    "[ImageSource]\nExposure=Manual\nDefog=\xff\n");
    start();
    expect_answers({
        {"GetParameter", "('Limit','MinPan')", "(<-170>,)"}, // spoilt in the file, like the next two
        {"GetParameter", "('UserAdv','Update')", "(<true>,)"},
        {"GetParameter", "('UserAdv','Status')", "UnknownParameter"}, // no value
        {"GetParameter", "('UserAdv','Speed')", "(<8>,)"},
        {"GetParameter", "('ImageSource','Exposure')", "(<'manual'>,)"},
        {"GetParameter", "('ImageSource','Defog')", "(<'off'>,)"},
        {"SetParameter", "('ImageSource','Defog',<'ON'>)", "()"},
        {"SetParameter", "('ImageSource','Defog',<''>)", "OutOfRange"},
        {"SetParameter", "('ImageSource','Sepia',<'on'>)", "UnknownParameter"}, // not one of the framework's
        {"ListParameters", "('Limits',)", "UnknownParameter"},
        {"SetParameter", "('Limit','MinPan',<-90>)", "()"},
        {"SetParameter", "('Limit','MinPan',<'-80'>)", "()"},
        {"GetParameter", "('Limit','MinPan')", "(<-80>,)"},
        {"SetParameter", "('Limit','MinPan',<1.5>)", "InvalidArgument"},
        {"SetParameter", "('UserAdv','Status',<'fine'>)", "InvalidArgument"},
    });
    EXPECT_THAT(client.call("ListParameters", "('',)").text, HasSubstr("'minimum': <-170>, 'maximum': <170>"));
    EXPECT_THAT(script.lines(), ElementsAre("image Defog", "limit MinPan", "limit MinPan"));
    service.reset();
    const int descriptors = open_descriptors();
    start();
    expect_answers({{"GetParameter", "('Limit','MinPan')", "(<-80>,)"},
                    {"GetParameter", "('UserAdv','Speed')", "(<8>,)"},
                    {"GetParameter", "('ImageSource','Defog')", "(<'on'>,)"}});
    service.reset();
    folder.write("parameters.conf", "no key file");
    start();
    expect_answers({{"GetParameter", "('Limit','MinPan')", "(<-170>,)"}});
    service.reset();
    // Connections close theirs on a thread of their own, so the last one may take a moment.
    run_until([&] { return open_descriptors() <= descriptors; });
}

TEST_F(ServiceTest, WhatTheDriverRefusesFailsAndIsTakenBack)
{
    start();
    script.works = false;
    EXPECT_EQ(move(client, "('pan','absolute',0.0)"), "Failed");
    expect_answers({
        {"Stop", "()", "Failed"},
        {"SetFocusMode", "('manual',)", "Failed"},
        {"SetBacklightMode", "('on',)", "Failed"},
        {"SetParameter", "('UserAdv','Update',<false>)", "Failed"},
        {"GetParameter", "('UserAdv','Update')", "(<true>,)"},
    });
    EXPECT_THAT(script.lines(), testing::Contains("light 1 1 1")); // the focus mode is what it was
}

TEST_F(ServiceTest, ACameraThatDoesNotRunSaysWhyInWords)
{
    constexpr char pan[] = "([('pan','absolute',1.0)], 0.0, @a{sv} {})";
    script.state_after_open = PTZ_STATE_FAILED;
    start();
    expect_answers({{"Move", pan,
                     "NotReady: The camera is not ready (failed). See the system log, then run the special command "
                     "\"reset\"."},
                    {"GetPosition", "()", "NotReady"},
                    {"Stop", "()", "NotReady"},
                    {"GetFieldOfView", "()", "NotReady"},
                    {"SetIrisMode", "('auto',)", "NotReady"},
                    {"GetState", "()", "(7, 'failed')"},
                    {"RunSpecialCommand", "('reset',)", "()"}});
    service.reset();
    script.warm = false;
    script.state_after_open = PTZ_STATE_TOO_COLD;
    start();
    expect_answers({{"Move", pan, "Busy: The camera is outside its operating temperature. Try again later."},
                    {"RunSpecialCommand", "('reset',)", "Busy"}});
    EXPECT_THAT(script.lines(), ElementsAre("special reset", "close"));
}

TEST_F(ServiceTest, AStopOvertakesWhatWaitsAndCancelsMovesButNothingElse)
{
    start();
    const ReplyPtr position = occupy_command_thread();
    const ReplyPtr waiting = client.send("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    const ReplyPtr mode = client.send("SetFocusMode", "('manual',)");
    {
        Client visitor(address()); // its call goes on without it
        visitor.send("SetBacklightMode", "('on',)");
        g_dbus_connection_flush_sync(visitor.connection(), nullptr, nullptr);
    }
    const ReplyPtr stop = client.send("Stop");
    // Answered at once and after the calls above have been taken in, while the driver is still occupied.
    expect_answers({{"GetState", "()", "(1, 'running')"}});
    EXPECT_FALSE(stop->done);
    gate.unlock();
    run_until([&] { return position->done && waiting->done && mode->done && script.lines().size() == 4; });
    EXPECT_EQ(script.lines().at(1), "stop");
    EXPECT_THAT(script.lines(),
                testing::UnorderedElementsAre("position", "stop", HasSubstr("focus"), HasSubstr("light")));
    EXPECT_EQ(waiting->error, "Cancelled");
    EXPECT_EQ(stop->error + mode->error + position->error, "");
    EXPECT_EQ(move(client, "('pan','absolute',0.0)"), "");
}

TEST_F(ServiceTest, OnlyAClientThatLeavesDuringItsContinuousMoveIsStoppedFor)
{
    start();
    {
        Client absolute(address()), overruled(address()), stopped(address());
        move(absolute, "('pan','absolute',30.0)");
        move(stopped, "('tilt','continuous',30.0)");
        stopped.call("Stop");
        move(overruled, "('pan','continuous',30.0)");
        move(client, "('pan','continuous',-10.0)"); // this client's now
    }
    // A last visitor whose move does run: the one stop that comes is on its behalf, so the others caused none.
    move(*std::make_unique<Client>(address()), "('zoom','continuous',10.0)");
    run_until([&] { return script.lines().back() == "stop"; });
    EXPECT_THAT(script.lines(), ElementsAre(HasSubstr("pan"), HasSubstr("tilt"), "stop", HasSubstr("pan"),
                                            HasSubstr("pan"), HasSubstr("zoom"), "stop"));
    {
        Client owner_of_pan(address()); // and stays it when others fail
        move(owner_of_pan, "('pan','continuous',30.0)");
        script.works = false;
        EXPECT_EQ(move(client, "('pan','absolute',1.0)"), "Failed");
        expect_answers({{"Stop", "()", "Failed"}});
    }
    run_until([&] { return script.lines().size() == 11; });
    EXPECT_EQ(script.lines().back(), "stop");
}

TEST_F(ServiceTest, StatesEventsAndParametersAreAnnouncedAndPictureSignalsPassedOn)
{
    std::vector<std::string> lines;
    const auto write_down = [](GDBusConnection *, const char *, const char *, const char *, const char *name,
                               GVariant *parameters, gpointer to) {
        static_cast<std::vector<std::string> *>(to)->push_back(name + print(parameters));
    };
    const guint id =
        g_dbus_connection_signal_subscribe(client.connection(), nullptr, "com.orna.PTZ", nullptr, "/com/orna/PTZ",
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, write_down, &lines, nullptr);
    EXPECT_EQ(client.call("GetState").error, "ServiceUnknown"); // the subscription is in place when this is answered
    start();
    client.call("SetParameter", "('UserAdv','Update',<false>)");
    g_dbus_connection_emit_signal(client.connection(), nullptr, "/com/orna/Streamer/Video/Channel/1",
                                  "com.orna.Streamer.Video.Channel", "CurrentRotationChanged",
                                  g_variant_new("(i)", 180), nullptr);
    run_until([&] { return script.lines().size() == 2; });
    EXPECT_EQ(script.lines().at(1), "signal CurrentRotationChanged(180,)");
    service.reset();
    run_until([&] { return lines.size() == 5; });
    EXPECT_THAT(lines,
                ElementsAre("StateChanged(4, 'starting')", "Event(4, 'Cam error DSP')", "StateChanged(1, 'running')",
                            "ParameterChanged('UserAdv', 'Update', <false>)", "StateChanged(6, 'closed')"));
    expect_answers({{"GetState", "()", "ServiceUnknown"}});
    g_dbus_connection_signal_unsubscribe(client.connection(), id);
}

TEST_F(ServiceTest, ClosingComesBeforeWhatWaitsAndRefusesIt)
{
    start();
    const ReplyPtr position = occupy_command_thread();
    const ReplyPtr mode = client.send("SetFocusMode", "('auto',)");
    expect_answers({{"GetState", "()", "(1, "}});
    std::atomic<bool> closed{false};
    service->close([&] { closed = true; });
    gate.unlock();
    run_until([&] { return closed && mode->done; });
    EXPECT_EQ(mode->error, "Failed");
    EXPECT_EQ(position->error, "");
    EXPECT_THAT(script.lines(), ElementsAre("position", "close"));
    EXPECT_EQ(script.alive, 0);
    EXPECT_EQ(script.tasks_destroyed, 1);
    expect_answers({{"GetPosition", "()", "NotReady"}}); // still there, and says so
}

TEST_F(ServiceTest, APluginThatMakesNoDriverIsReported)
{
    options.driver_new = [](int, int) -> PTZDriver * { return nullptr; };
    start();
    EXPECT_THAT(problem, HasSubstr("made no driver"));
    expect_answers({{"RunSpecialCommand", "('reset',)", "NotReady"}, {"ListParameters", "('Limit',)", "NotReady"}});
}

TEST(Plugin, SaysWhyAFileCannotBeUsed)
{
    std::string why;
    const std::pair<const char *, const char *> files[] = {
        {"/nonexistent/plugin.so", "Cannot read the plug-in /nonexistent/plugin.so: No such file or directory"},
        {"/proc/self/cmdline", "Cannot load the plug-in"},
        {"/proc/self/exe", ""}};
    for (const auto &[file, reason] : files) {
        EXPECT_EQ(load_plugin(file, why), nullptr);
        EXPECT_THAT(why, HasSubstr(reason));
    }
}

} // namespace
