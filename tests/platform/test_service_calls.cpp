// What clients ask for, and what they get.
#include "tests/platform/service_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(ServiceTest, AMoveReachesTheDriverInItsNumbers)
{
    start();
    EXPECT_EQ(client
                  .call("Move", "([('pan','absolute',12.5),('zoom','relative',-3.0)], 50.0, "
                                "{'preset': <true>})")
                  .error,
              "");
    EXPECT_EQ(client.call("Move", "([('tilt','continuous',-25.5)], 0.0, @a{sv} {})").error, "");
    EXPECT_THAT(driver_calls(), ElementsAre("move pan=819200/1 zoom=-196608/2 speed=3276800 zoom preset",
                                            "move tilt=-1671168/3 speed=6553600"));
    DriverScript::get().set_works(false);
    EXPECT_EQ(client.call("Move", "([('pan','absolute',0.0)], 0.0, @a{sv} {})").error, "Failed");
}

TEST_F(ServiceTest, ABadMoveNeverReachesTheDriver)
{
    start();
    EXPECT_EQ(client.call("Move", "([('pan','absolute',171.0)], 0.0, @a{sv} {})").error, "OutOfRange");
    EXPECT_EQ(client.call("Move", "(@a(ssd) [], 0.0, @a{sv} {})").error, "InvalidArgument");
    EXPECT_EQ(client.call("Move", "('pan',)").error, "InvalidArgs"); // the bus's own word for a wrong signature
    EXPECT_THAT(driver_calls(), IsEmpty());
}

TEST_F(ServiceTest, PositionsAndFieldsComeInEngineeringUnits)
{
    start();
    EXPECT_EQ(client.call("GetPosition").text, "({'pan': 12.5, 'tilt': -1.0, 'zoom': 10000.0, 'iris': -1.0, "
                                               "'focus': -1.0, 'brightness': -1.0},)");
    EXPECT_EQ(client.call("GetFieldOfView").text,
              "({'angle': 30.0, 'widest': 60.0, 'horizontal': -1.0, 'vertical': -1.0},)");
}

TEST_F(ServiceTest, WhatTheDriverDoesNotReplaceIsNotSupported)
{
    start();
    EXPECT_EQ(client.call("AngleToZoom", "(10.0, 100.0)").error, "NotSupported");
    EXPECT_EQ(client.call("GetCapabilities", "('',)").error, "NotSupported");
    EXPECT_EQ(client.call("AngleToZoom", "(0.0, 100.0)").error, "OutOfRange");
    EXPECT_EQ(client.call("AngleToZoom", "(10.0, nan)").error, "InvalidArgument");
    EXPECT_EQ(client.call("AngleToZoom", "(10.0, 99.5)").error, "InvalidArgument");
}

TEST_F(ServiceTest, ACameraThatDoesNotRunSaysSoInWords)
{
    DriverScript::get().set_state_after_open(PTZ_STATE_FAILED);
    start();
    const Reply reply = client.call("Move", "([('pan','absolute',1.0)], 0.0, @a{sv} {})");
    EXPECT_EQ(reply.error, "NotReady");
    EXPECT_EQ(reply.text,
              "The camera is not ready (failed). See the system log, then run the special command \"reset\".");
    for (const char *method : {"Stop", "GetPosition", "GetFieldOfView"})
        EXPECT_EQ(client.call(method).error, "NotReady") << method;
    EXPECT_EQ(client.call("SetIrisMode", "('auto',)").error, "NotReady");
    EXPECT_THAT(driver_calls(), IsEmpty());
    EXPECT_EQ(client.call("GetState").text, "(7, 'failed')");
    EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").error, "");
}

TEST_F(ServiceTest, OutsideItsTemperatureTheCameraIsBusyWithTheControllersText)
{
    DriverScript::get().set_warm(false);
    DriverScript::get().set_state_after_open(PTZ_STATE_TOO_COLD);
    start();
    const Reply reply = client.call("Move", "([('pan','absolute',1.0)], 0.0, @a{sv} {})");
    EXPECT_EQ(reply.error, "Busy");
    EXPECT_EQ(reply.text, "The camera is outside its operating temperature. Try again later.");
    EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").error, "Busy");
    EXPECT_THAT(driver_calls(), IsEmpty());
}

TEST_F(ServiceTest, AStopOvertakesWhatWaitsAndCancelsMovesButNothingElse)
{
    start();
    const ReplyPtr position = occupy_command_thread();
    const ReplyPtr move = client.send("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    const ReplyPtr mode = client.send("SetFocusMode", "('manual',)");
    const ReplyPtr stop = client.send("Stop");
    // Answered at once and after the calls above have been taken in, while the driver is still occupied.
    EXPECT_EQ(client.call("GetState").text, "(1, 'running')");
    EXPECT_FALSE(stop->done);
    DriverScript::get().open_gate();
    run_until([&] { return position->done && move->done && mode->done && stop->done; });
    EXPECT_THAT(driver_calls(), ElementsAre("position", "stop", "focus 2"));
    EXPECT_EQ(move->error, "Cancelled");
    EXPECT_EQ(stop->error + mode->error + position->error, "");
    EXPECT_EQ(client.call("Move", "([('pan','absolute',0.0)], 0.0, @a{sv} {})").error, "");
}

TEST_F(ServiceTest, AClientThatLeavesDuringItsContinuousMoveIsStoppedFor)
{
    start();
    auto visitor = std::make_unique<Client>(address());
    EXPECT_EQ(visitor->call("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})").error, "");
    visitor.reset();
    run_until([&] { return driver_calls().size() == 2; });
    EXPECT_EQ(driver_calls()[1], "stop");
}

TEST_F(ServiceTest, AClientWhoseMoveIsOverLeavesUnnoticed)
{
    start();
    auto absolute = std::make_unique<Client>(address());
    auto overruled = std::make_unique<Client>(address());
    auto stopped = std::make_unique<Client>(address());
    absolute->call("Move", "([('pan','absolute',30.0)], 0.0, @a{sv} {})");
    stopped->call("Move", "([('tilt','continuous',30.0)], 0.0, @a{sv} {})");
    stopped->call("Stop");
    overruled->call("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    client.call("Move", "([('pan','continuous',-10.0)], 0.0, @a{sv} {})"); // this client's now
    absolute.reset();
    overruled.reset();
    stopped.reset();
    // A last visitor whose move does run: the one stop that comes is on its behalf, so the others caused none.
    auto last = std::make_unique<Client>(address());
    last->call("Move", "([('zoom','continuous',10.0)], 0.0, @a{sv} {})");
    last.reset();
    run_until([&] { return DriverScript::get().lines().back() == "stop"; });
    const auto calls = driver_calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "stop"), 2);
}

TEST_F(ServiceTest, ARefusedMoveLeavesTheAxisWithItsOwner)
{
    start();
    auto owner_of_pan = std::make_unique<Client>(address());
    owner_of_pan->call("Move", "([('pan','continuous',30.0)], 0.0, @a{sv} {})");
    DriverScript::get().set_works(false);
    EXPECT_EQ(client.call("Move", "([('pan','absolute',1.0)], 0.0, @a{sv} {})").error, "Failed");
    EXPECT_EQ(client.call("Stop").error, "Failed");
    owner_of_pan.reset();
    run_until([&] { return driver_calls().size() == 4; });
    EXPECT_EQ(driver_calls()[3], "stop");
}

TEST_F(ServiceTest, ACallGoesOnWithoutTheClientThatMadeIt)
{
    start();
    const ReplyPtr position = occupy_command_thread();
    {
        Client visitor(address());
        visitor.send("SetBacklightMode", "('on',)");
        g_dbus_connection_flush_sync(visitor.connection(), nullptr, nullptr);
    }
    EXPECT_EQ(client.call("GetState").error, "");
    DriverScript::get().open_gate();
    run_until([&] { return driver_calls().size() == 2; });
    EXPECT_EQ(driver_calls()[1], "backlight 1");
    EXPECT_TRUE(position->error.empty());
}

TEST_F(ServiceTest, ModesAreWordsAndARefusedOneIsTakenBack)
{
    start();
    EXPECT_EQ(client.call("SetIrisMode", "('manual',)").error, "");
    EXPECT_EQ(client.call("SetIrisMode", "('on',)").error, "InvalidArgument");
    DriverScript::get().set_works(false);
    EXPECT_EQ(client.call("SetFocusMode", "('manual',)").error, "Failed");
    DriverScript::get().set_works(true);
    EXPECT_EQ(client.call("SetSpeedFactor", "(true, @n -5)").error, "");
    EXPECT_THAT(driver_calls(), ElementsAre("iris 2", "focus 2", "factor 1 -5"));
}

TEST_F(ServiceTest, SpecialCommandsTellTheUnknownFromTheFailed)
{
    start();
    EXPECT_EQ(client.call("ListSpecialCommands").text, "(['wbonep', 'reset'],)");
    EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").error, "");
    EXPECT_EQ(client.call("RunSpecialCommand", "('wbonep',)").error, "Failed");
    const Reply reply = client.call("RunSpecialCommand", "('%n dance',)");
    EXPECT_EQ(reply.error, "InvalidArgument");
    EXPECT_EQ(reply.text, "There is no special command \"%n dance\" now; there are: wbonep, reset.");
}

TEST_F(ServiceTest, ParametersAreListedReadAndSet)
{
    start();
    EXPECT_THAT(client.call("ListParameters", "('',)").text, HasSubstr("'minimum': <-170>, 'maximum': <170>"));
    EXPECT_EQ(client.call("ListParameters", "('Limits',)").error, "UnknownParameter");
    EXPECT_EQ(client.call("GetParameter", "('Limit','MinPan')").text, "(<-170>,)");
    EXPECT_EQ(client.call("GetParameter", "('UserAdv','Status')").error, "UnknownParameter"); // no value
    EXPECT_EQ(client.call("SetParameter", "('Limit','MinPan',<-90>)").error, "");
    EXPECT_EQ(client.call("SetParameter", "('Limit','MinPan',<'-80'>)").error, "");
    EXPECT_EQ(client.call("GetParameter", "('Limit','MinPan')").text, "(<-80>,)");
    EXPECT_EQ(client.call("SetParameter", "('Limit','MinPan',<-171>)").error, "OutOfRange");
    EXPECT_EQ(client.call("SetParameter", "('Limit','MinPan',<1.5>)").error, "InvalidArgument");
    EXPECT_EQ(client.call("SetParameter", "('Limit','MaxPan',<1>)").error, "UnknownParameter");
    EXPECT_EQ(client.call("SetParameter", "('UserAdv','Freeze',<'never'>)").error, "OutOfRange");
    EXPECT_EQ(client.call("SetParameter", "('UserAdv','Status',<'fine'>)").error, "InvalidArgument");
    EXPECT_THAT(driver_calls(), ElementsAre("changed MinPan", "changed MinPan"));
}

TEST_F(ServiceTest, AParameterTheDriverRefusesHasItsFormerValueAgain)
{
    start();
    DriverScript::get().set_works(false);
    EXPECT_EQ(client.call("SetParameter", "('UserAdv','Update',<false>)").error, "Failed");
    EXPECT_EQ(client.call("GetParameter", "('UserAdv','Update')").text, "(<true>,)");
}

TEST_F(ServiceTest, TheDriversSpeedIsTheDefaultOfMoves)
{
    start();
    EXPECT_EQ(client.call("SetParameter", "('UserAdv','Speed',<25>)").error, "");
    client.call("Move", "([('pan','absolute',0.0)], 0.0, @a{sv} {})");
    EXPECT_EQ(driver_calls().back(), "move pan=0/1 speed=1638400");
}

TEST_F(ServiceTest, SetValuesAreKeptInTheStateFolder)
{
    char folder[] = "/tmp/ptz-state-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    options.state_dir = folder;
    start();
    EXPECT_EQ(client.call("SetParameter", "('Limit','MinPan',<-90>)").error, "");
    service.reset();
    start();
    EXPECT_EQ(client.call("GetParameter", "('Limit','MinPan')").text, "(<-90>,)");
    std::filesystem::remove_all(folder);
}

} // namespace
