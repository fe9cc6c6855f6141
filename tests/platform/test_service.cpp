// A PTZ service with a recording driver on a bus of its own: what clients ask for and get, and its life from start to
// end.
#include "ptzorvel/ports/port_registry.h"
#include "tests/platform/service_fixture.h"
#include "tests/support/temp_folder.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(ServiceTest, MovesReachTheDriverInItsNumbersUpToTheBoundsAndBadOnesNever)
{
    start();
    const std::pair<const char *, const char *> moves[] = {
        {"('pan','absolute',170.0),('tilt','absolute',-20.0),('zoom','absolute',19999.0)", "()"},
        {"('tilt','relative',110.0),('iris','relative',-9998.0),('brightness','continuous',-19.999992)", "()"},
        {"('%n','absolute',1.0)", "InvalidArgument: There is no axis \"%n\"; there are pan, tilt"},
        {"('pan','none',1.0)", "InvalidArgument: pan: there is no move type \"none\"; there are absolute"},
        {"('pan','absolute',1.0),('pan','relative',1.0)", "InvalidArgument: pan is asked for twice"},
        {"('pan','absolute',nan)", "InvalidArgument: pan: nan is not a number that can be used."},
        {"('pan','absolute',170.1)", "OutOfRange: pan: 170.1 is outside -170..170 degrees."},
        {"('pan','relative',40000.0)", "OutOfRange: pan: 40000 is outside -340..340 degrees."},
        {"('zoom','absolute',0.0)", "OutOfRange: zoom: 0 is outside 1..19999."},
        {"('zoom','absolute',12.5)", "InvalidArgument: zoom: positions are whole numbers, not 12.5."},
        {"('zoom','continuous',-100.5)", "OutOfRange: zoom: -100.5 is outside -100..100 percent."},
    };
    for (const auto &[axes, answer] : moves)
        EXPECT_THAT(move(client, axes), StartsWith(answer));
    const std::string zoom = "('zoom','continuous',0.0)";
    EXPECT_EQ(move(client, zoom, "50.0, {'preset': <true>}"), "()");
    EXPECT_EQ(move(client, zoom, "-1.0, @a{sv} {}"), "OutOfRange: speed: -1 is outside 0..100 percent.");
    EXPECT_THAT(move(client, zoom, "0.0, {'preset': <1>}"), HasSubstr("no move option \"preset\" of that type"));
    expect_answers({{"Move", "(@a(ssd) [], 0.0, @a{sv} {})", "InvalidArgument: The move names no axis"},
                    {"Move", "('pan',)", "InvalidArgs"}}); // the bus's own word for a wrong signature
    EXPECT_THAT(script.lines(), ElementsAre("move 11141120/1 -1310720/1 1310654464/1 - - - speed=6553600 zoom",
                                            "move - 7208960/2 - -655228928/2 - -1310719/3 speed=6553600", // -1310719.48
                                            "move - - 0/3 - - - speed=3276800 zoom preset"));
}

TEST_F(ServiceTest, QuestionsModesAndSpecialCommandsGoByUnitsAndWords)
{
    start();
    expect_answers({
        {"GetPosition", "()",
         "({'pan': 12.5, 'tilt': -1.0, 'zoom': -1.0, 'iris': -1.0, 'focus': -1.0, 'brightness': -1.0},)"},
        {"AngleToZoom", "(0.0, 100.0)", "OutOfRange"},
        {"AngleToZoom", "(10.0, 99.5)", "InvalidArgument"},
        {"SetIrisMode", "('manual',)", "()"},
        {"SetIrisMode", "('on',)", "InvalidArgument"},
        {"SetFocusMode", "('manual',)", "()"},
        {"SetBacklightMode", "('on',)", "()"},
        {"SetSpeedFactor", "(true, @n -5)", "NotSupported"}, // not replaced by this driver
        {"RunSpecialCommand", "('reset',)", "()"},
        {"RunSpecialCommand", "('wbonep',)", "Failed"},
        {"RunSpecialCommand", "('%n',)",
         "InvalidArgument: There is no special command \"%n\" now; there are: wbonep, r"},
    });
    EXPECT_THAT(script.lines(),
                ElementsAre("position", "I212", "F222", "B221", "special reset", "special wbonep", "special %n"));
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'error-bits': <uint32 4>, 'errors': <'Cam error DSP'>"));
}

TEST_F(ServiceTest, ParametersAreReadSetAndKept)
{
    const TempFolder folder;
    options.state_dir = folder.path();
    folder.write("parameters.conf", "[Limit]\nMinPan=400\n[UserAdv]\nUpdate=perhaps\nStatus=fine\nMinPan=8\n"
                                    "[ImageSource]\nExposure=Manual\nDefog=\xff\n");
    start();
    expect_answers({
        {"GetParameter", "('Limit','MinPan')", "(<-170>,)"}, // spoilt in the file, like the next two
        {"GetParameter", "('UserAdv','Update')", "(<true>,)"},
        {"GetParameter", "('UserAdv','Status')", "UnknownParameter"}, // no value
        {"GetParameter", "('UserAdv','MinPan')", "(<8>,)"},
        {"GetParameter", "('ImageSource','Exposure')", "(<'manual'>,)"},
        {"GetParameter", "('ImageSource','Defog')", "(<'off'>,)"},
        {"SetParameter", "('ImageSource','Defog',<'ON'>)", "()"},
        {"SetParameter", "('ImageSource','Defog',<'%n\\n12345678901234567890123456789012345678901234567890123456789'>)",
         "InvalidArgument: ImageSource.Defog: there are control characters in "
         "\"%n?123456789012345678901234567890123456789012345678901234567...\"."},
        {"SetParameter", "('ImageSource','Defog',<'On '>)",
         "OutOfRange: ImageSource.Defog takes one of off, on, not \"On \"."},
        {"SetParameter", "('ImageSource','Defog',<true>)",
         "InvalidArgument: ImageSource.Defog takes a value of kind string."},
        {"SetParameter", "('Limit','MinPan',<nan>)", "InvalidArgument: Limit.MinPan takes a value of kind integer."},
        {"SetParameter", "('Limit','MinPan',<'-80\\n'>)", "InvalidArgument"},
        {"SetParameter", "('Lim\\nit','MinPan',<1>)",
         "UnknownParameter: There is no parameter group \"Lim?it\"; there are "},
        {"SetParameter", "('ImageSource','Sepia',<'on'>)", "UnknownParameter"}, // not one of the framework's
        {"ListParameters", "('Limits',)", "UnknownParameter"},
        {"SetParameter", "('Limit','MinPan',<-90>)", "()"},
        {"SetParameter", "('Limit','MinPan',<'-80'>)", "()"},
        {"SetParameter", "('Limit','MinPan',<171>)", "OutOfRange: Limit.MinPan takes numbers in -170..170, not 171."},
        {"SetParameter", "('Limit','MinPan',<1.5>)", "InvalidArgument"},
        {"SetParameter", "('UserAdv','Status',<'fine'>)", "InvalidArgument"},
    });
    const std::string long_text = "('ImageSource','Defog',<'" + std::string(256, 'x') + "'>)";
    EXPECT_EQ(client.call("SetParameter", long_text.c_str()).error, "InvalidArgument");
    EXPECT_THAT(script.lines(), ElementsAre("I Defog", "L MinPan", "L MinPan"));
    service.reset();
    start();
    expect_answers({{"GetParameter", "('Limit','MinPan')", "(<-80>,)"},
                    {"GetParameter", "('UserAdv','MinPan')", "(<8>,)"},
                    {"GetParameter", "('ImageSource','Defog')", "(<'on'>,)"}});
    service.reset();
    folder.write("parameters.conf", "no key file");
    start();
    expect_answers({{"GetParameter", "('Limit','MinPan')", "(<-170>,)"}});
}

TEST_F(ServiceTest, WhatTheDriverRefusesFailsAndIsTakenBack)
{
    options.time_scale = 20; // a second to wait for the stop is less
    start();
    script.works = false;
    EXPECT_THAT(move(client, "('pan','absolute',0.0)"), HasSubstr("Failed"));
    expect_answers({
        {"Stop", "()", "StillMoving"},
        {"SetFocusMode", "('manual',)", "Failed"},
        {"SetIrisMode", "('manual',)", "Failed"},
        {"SetBacklightMode", "('on',)", "Failed"},
        {"SetParameter", "('UserAdv','Update',<false>)", "Failed"},
        {"GetParameter", "('UserAdv','Update')", "(<true>,)"},
    });
    EXPECT_THAT(script.lines(), testing::Contains("B111")); // iris and focus mode are what they were
}

TEST_F(ServiceTest, ACameraThatDoesNotRunSaysWhyInWords)
{
    script.state_after_open = PTZ_STATE_FAILED;
    start();
    EXPECT_THAT(move(client, "('pan','absolute',0.0)"),
                StartsWith("NotReady: The camera is not ready (failed). See the system log, then run the special "));
    expect_answers({{"GetPosition", "()", "NotReady"},
                    {"Stop", "()", "NotReady"},
                    {"RunSpecialCommand", "('reset',)", "Failed: The camera did not start: see the system log."}});
    EXPECT_THAT(script.lines(), ElementsAre("special reset"));
    service.reset();
    options.driver_new = [](int, int) -> PTZDriver * { return nullptr; };
    script.state_after_open = PTZ_STATE_NOT_OPENED;
    start();
    expect_answers({{"RunSpecialCommand", "('reset',)", "NotReady"}, {"ListParameters", "('Limit',)", "NotReady"}});
    EXPECT_THAT(script.lines().back(), HasSubstr("made no driver"));
}

TEST_F(ServiceTest, AStopOvertakesWhatWaitsAndCancelsMovesButNothingElse)
{
    start();
    const ReplyPtr position = occupy_command_thread();
    const ReplyPtr waiting = client.send("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    const ReplyPtr mode = client.send("SetFocusMode", "('manual',)");
    const ReplyPtr stop = client.send("Stop");
    // Answered at once and after the calls above have been taken in, while the driver is still occupied.
    expect_answers({{"GetState", "()", "(1, 'running')"}});
    EXPECT_FALSE(stop->done);
    gate.unlock();
    run_until([&] { return mode->done && stop->done; });
    EXPECT_THAT(script.lines(), ElementsAre("position", "stop", "F122"));
    EXPECT_EQ(waiting->error, "Cancelled");
    EXPECT_EQ(stop->error + mode->error + position->error, "");
    EXPECT_EQ(move(client, "('pan','absolute',0.0)"), "()");
}

TEST_F(ServiceTest, AStopThatComesInWhileAMoveIsSentIsTheNewerOne)
{
    start();
    gate.lock();
    const ReplyPtr sent = client.send("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    run_until([this] { return !script.lines().empty(); });
    const ReplyPtr stop = client.send("Stop");
    expect_answers({{"GetState", "()", "(1, 'running')"}}); // the stop is in
    gate.unlock();
    run_until([&] { return stop->done; });
    EXPECT_EQ(sent->said() + stop->said(), "()()");
    EXPECT_THAT(script.lines(), ElementsAre(StartsWith("move "), "stop"));
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
    EXPECT_THAT(script.lines(), ElementsAre(HasSubstr("/1"), HasSubstr("/3"), "stop", HasSubstr("/3"), HasSubstr("/3"),
                                            HasSubstr("zoom"), "stop"));
    {
        Client owner_of_pan(address()); // and stays it when others fail
        move(owner_of_pan, "('pan','continuous',30.0)");
        script.works = false;
        EXPECT_THAT(move(client, "('pan','absolute',1.0)"), HasSubstr("Failed"));
    }
    // What stops for it goes on until it is taken.
    run_until([&] { return script.lines().size() >= 12; });
    script.works = true;
    EXPECT_EQ(client.call("Stop").said(), "()");
    std::vector<std::string> lines = script.lines();
    lines.erase(lines.begin(), lines.begin() + 9);
    EXPECT_THAT(lines, testing::Each("stop"));
}

TEST_F(ServiceTest, StatesEventsAndParametersAreAnnounced)
{
    static std::vector<std::string> lines;
    const auto write_down = [](GDBusConnection *, const char *, const char *, const char *, const char *name,
                               GVariant *parameters, gpointer) { lines.push_back(name + print(parameters)); };
    g_dbus_connection_signal_subscribe(client.connection(), nullptr, "com.orna.PTZ", nullptr, "/com/orna/PTZ", nullptr,
                                       G_DBUS_SIGNAL_FLAGS_NONE, write_down, nullptr, nullptr);
    expect_answers({{"GetState", "()", "ServiceUnknown"}}); // the subscription is in place when this is answered
    start();
    client.call("SetParameter", "('UserAdv','Update',<false>)");
    service.reset();
    run_until([&] { return lines.size() == 7; });
    EXPECT_THAT(lines,
                ElementsAre("StateChanged(4, 'starting')", "Event(4, 'Cam error DSP')", "StateChanged(1, 'running')",
                            "LinkChanged('up', -1.0)", "ParameterChanged('UserAdv', 'Update', <false>)",
                            "StateChanged(6, 'closed')", "LinkChanged('off', -1.0)"));
    expect_answers({{"GetState", "()", "ServiceUnknown"}});
}

TEST_F(ServiceTest, ClosingComesBeforeWhatWaitsAndRefusesIt)
{
    start();
    occupy_command_thread();
    const ReplyPtr mode = client.send("SetFocusMode", "('auto',)");
    expect_answers({{"GetState", "()", "(1, "}});
    std::atomic<bool> closed{false};
    service->close([&] { closed = script.released.load(); }); // by then the tasks have let go of it
    gate.unlock();
    run_until([&] { return closed && mode->done; });
    EXPECT_EQ(mode->error, "Failed");
    EXPECT_THAT(script.lines(), ElementsAre("position", "close"));
    expect_answers({{"GetPosition", "()", "NotReady"}}); // still there, and says so
}

TEST_F(ServiceTest, PortsTakeWritesUnderTheirLocksAsLongAsTheyAreThere)
{
    start();
    auto *port = static_cast<GObject *>(g_object_new(PTZ_TYPE_PORT, nullptr));
    PTZ_PORT_GET_CLASS(port)->port_config = [](PTZPort *, const PTZPortConfig *config) {
        EXPECT_FALSE(ptz_port_registry_current()->try_lock());
        recording::note("config " + std::to_string(config->baud_rate) + " " + std::to_string(config->burst_len) + " " +
                        std::to_string(config->trig_mode));
    };
    GObject *server =
        ptz_port_dbus_server_new(port,
                                 R"(<node><interface name="a.b"><property name="BurstLength" type="i" access="write"/>)"
                                 R"(<property name="TriggerMode" type="i" access="write"/></interface></node>)",
                                 "Port.KRX.SIO3");
    const auto write = [&](const char *property, int value) {
        return client.send_to("/com/orna/PTZ/Port/KRX/SIO3", "org.freedesktop.DBus.Properties", "Set",
                              g_variant_new("(ssv)", "a.b", property, g_variant_new_int32(value)));
    };
    PTZPortRegistry *registry = ptz_port_registry_current();
    ptz_driver_port_lock_all(registry);
    g_test_expect_message(G_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, "*taken again*");
    ptz_driver_port_lock_all(registry);
    const ReplyPtr waiting = write("BurstLength", 4000);
    run_until([] { return ptz_command_queue_current()->queue.repeating() == 2; });
    ptz_driver_port_unlock_all(registry);
    EXPECT_EQ(Client::wait(waiting).error, "");
    EXPECT_EQ(Client::wait(write("TriggerMode", 3)).error, "");
    EXPECT_THAT(script.lines(), ElementsAre("config 0 4000 0", "config 0 0 3")); // zero in the other fields
    g_test_expect_message(G_LOG_DOMAIN, G_LOG_LEVEL_CRITICAL, "*does not hold*");
    ptz_driver_port_unlock_all(registry);
    g_test_assert_expected_messages();

    g_clear_object(&port); // not kept by the server
    EXPECT_EQ(Client::wait(write("BurstLength", 64)).error, "Failed");
    ptz_driver_port_unregister(registry, 3);
    EXPECT_EQ(Client::wait(write("BurstLength", 64)).error, "UnknownMethod");
    g_object_unref(server);
}

} // namespace
