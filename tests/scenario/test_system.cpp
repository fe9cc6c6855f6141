#include "tests/scenario/system_fixture.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using System = SystemTest;

TEST_F(System, BootsMovesAndEndsInOrder)
{
    start_all();
    EXPECT_EQ(sim_state(), "running");

    ptzctl({"move", "pan=30", "tilt=-15", "zoom=9999"});
    await_sim("Pan", 30, 0.001);
    await_sim("Tilt", -15, 0.001);
    await_sim("Zoom", 30, 0.01);
    ptzctl({"move", "--relative", "pan=-10", "--speed", "50"});
    await_sim("Pan", 20, 0.001);
    run_until([this] { return client.call("GetPosition").text.find("'pan': 20.0") != std::string::npos; });
    EXPECT_NE(ptzctl({"fov"}).find("2.33"), std::string::npos);
    EXPECT_NE(ptzctl({"published"}).find("PTZ_POSITION_IS1"), std::string::npos);
    EXPECT_NE(ptzctl({"status"}).find("\"temperature\":40,\"error-bits\":0,"), std::string::npos);

    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
    EXPECT_EQ(sim_state(), "off");
    EXPECT_EQ(sim_counts("Offences"), Counts{});
    sim->signal(SIGTERM);
    EXPECT_EQ(sim->wait(), 0);
}

TEST_F(System, AContinuousMoveEndsWithAStopOrWithItsClient)
{
    start_all();
    // So slow that the end of its way is half a minute off.
    const std::unique_ptr<Process> mover =
        run({PTZCTL_FILE, "move", "--continuous", "pan=-0.3", "zoom=1"}, "mover.log"); // stays as long as the move
    run_until([this] { return sim_value("Pan") < -0.1 && sim_value("Zoom") > 1.01; });
    ptzctl({"stop"});
    run_until([this] { return sim_value("PanMoving") == 0 && sim_value("ZoomMoving") == 0; });
    EXPECT_GT(sim_value("Pan"), -169);
    EXPECT_EQ(mover->wait(), 0) << mover->output();
    {
        Client other(address());
        EXPECT_EQ(other.call("Move", "([('pan', 'continuous', 0.3)], 0.0, @a{sv} {})").error, "");
        run_until([this] { return sim_value("PanMoving") == 1; });
    }
    run_until([this] { return sim_value("PanMoving") == 0; });
    EXPECT_LT(sim_value("Pan"), 169);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(System, AStopOvertakesWhatWaits)
{
    start_all();
    sim->signal(SIGSTOP); // the block holds still until the stop is in
    std::vector<ReplyPtr> moves;
    for (int i = 0; i < 20; ++i) {
        const std::string axis = "([('pan', 'absolute', " + std::to_string(i) + ".0)], 0.0, @a{sv} {})";
        moves.push_back(client.send("Move", axis.c_str()));
    }
    const ReplyPtr stop = client.send("Stop");
    EXPECT_EQ(client.call("GetState").error, ""); // answered after all of them have been taken in
    sim->signal(SIGCONT);
    run_until([&] { return stop->done; });
    EXPECT_TRUE(stop->error.empty() || stop->error == "StillMoving") << stop->error; // which a second is given for
    run_until([&] { return std::all_of(moves.begin(), moves.end(), [](const ReplyPtr &move) { return move->done; }); });
    // Those that had not begun when the stop came were given up.
    EXPECT_LT(sim_counts("Records")["Pan position"], 20u);
    EXPECT_EQ(moves.back()->error, "Cancelled");
}

TEST_F(System, TheTourFindsEverythingInOrder)
{
    start_all();
    EXPECT_TRUE(ptzctl({"tour"}).ends_with("{\"ok\":true}\n"));
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(System, ASimulatorKilledUnderneathIsSurvived)
{
    start_all();
    const std::size_t descriptors = ptzd_descriptors();
    for (int round = 0; round < 2; ++round) {
        sim->signal(SIGKILL);
        sim->wait();
        int status = 0;
        ptzctl({"stop"}, &status);
        EXPECT_EQ(status, 1);
        EXPECT_GT(logged("Failed to communicate, could not write data"), 0u);
        start_sim();
        ptzctl({"special", "reset"});
        await_state(1);
        ptzctl({"move", "pan=5"});
        await_sim("Pan", 5, 0.001);
        ptzctl({"move", "pan=0"});
        await_sim("Pan", 0, 0.001);
    }
    EXPECT_EQ(sim_counts("Offences"), Counts{});
    run_until([&] { return ptzd_descriptors() <= descriptors; }); // one may be open for a moment
}

TEST_F(System, APtzdKilledInAMoveIsFollowedByAnother)
{
    start_all();
    const ReplyPtr move = client.send("Move", "([('pan', 'continuous', 20.0)], 0.0, @a{sv} {})");
    run_until([&] { return move->done; });
    ptzd->signal(SIGKILL);
    ptzd->wait();
    start_ptzd();
    await_state(1);
    ptzctl({"move", "pan=5"});
    await_sim("Pan", 5, 0.001);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(System, HeatStopsTheCameraAndCoolingBringsItBack)
{
    start_all();
    const std::unique_ptr<Process> monitor = run({PTZCTL_FILE, "monitor"}, "monitor.log");
    run_until([&] { return monitor->output().starts_with("Snapshot {\"state\":1,"); });
    sim_command("set temperature 70");
    await_state(3);
    run_until([this] { return sim_state() == "off"; });
    run_until([&] { return monitor->output().find("\nStateChanged 3 \"stopped, too hot\"\n") != std::string::npos; });
    const Reply refused = client.call("Move", "([('pan', 'absolute', 5.0)], 0.0, @a{sv} {})");
    EXPECT_EQ(refused.error, "Busy");
    EXPECT_TRUE(refused.text.starts_with("Cannot perform the request because of camera temperature."));
    EXPECT_NE(ptzctl({"status"}).find("\"temperature\":70,"), std::string::npos);
    sim_command("set temperature 40");
    await_state(1);
    ptzctl({"move", "pan=5"});
    await_sim("Pan", 5, 0.001);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(System, WhatIsWrongInTheConfigurationIsToldWithItsLine)
{
    start_sim();
    const std::string good = folder.read("krx_driver.conf");
    const std::string ports = folder.read("krx_port.conf");
    const auto check = [this] {
        const auto checker = run({PTZD_FILE, "--plugin", PLUGIN_FILE, "--check"}, "check.log");
        const int status = checker->wait();
        EXPECT_EQ(status, checker->output().empty() ? 0 : 1);
        return checker->output();
    };
    EXPECT_EQ(check(), "");
    const struct {
        const char *file;
        std::string from;
        std::string to;
        const char *told;
    } faults[] = {
        {"krx_driver.conf",
         "ResetPin=", "ResetPn=", ":6: warning: ResetPn is no key of [KRX_DRIVER]; did you mean ResetPin?"},
        {"krx_driver.conf", "ResetPin=", "ResetPn=", ":2: error: ResetPin is missing from [KRX_DRIVER]"},
        {"krx_driver.conf", "FpgaIsUsed=true", "FpgaIsUsed=maybe",
         ":12: error: FpgaIsUsed: \"maybe\" is neither true nor"},
        {"krx_driver.conf", "PowerPin=cam_power", "PowerPin=-1",
         ":3: error: PowerPin: \"-1\" is neither the number of"},
        {"krx_driver.conf", "cam_power_good", "cam_good",
         ":5: warning: PowerGoodPin: there is no GPIO line called cam_good"},
        {"krx_driver.conf", "TemperatureLower", "TemperatureLow",
         ": warning: TemperatureUpperLimit counts only beside a "},
        {"krx_driver.conf", "UpperLimit=60", "UpperLimit=-20",
         "TemperatureUpperLimit is not above TemperatureLowerLimit"},
        {"krx_driver.conf", "[KRX_DRIVER]", "[KRX_DRIVR]",
         ":2: warning: [KRX_DRIVR] is no group of this file; did you"},
        {"krx_driver.conf", "MaxDigitalZoom=12\n", "MaxDigi",
         ": error: \"MaxDigi\" is neither KEY=VALUE, [GROUP] nor a"},
        {"krx_driver.conf", "ResetPin=", "PowerPin=7\nResetPin=", ":6: warning: PowerPin stands there twice; this one"},
        {"krx_port.conf", "Ports=2", "Ports=0x2", ":3: error: Ports: \"0x2\" is no whole number"},
        {"krx_port.conf", "[KRX_PORT0]", "[KRX_PORTO]", ": error: [KRX_PORT0] is missing"},
        {"krx_port.conf", "BurstLenght=1024", "BurstLenght=4096",
         ": error: BurstLenght: 4096 is not between 16 and 1920"},
        {"krx_port.conf", "BurstLenght", "BurstLength",
         ": warning: BurstLength is no key of [KRX_PORT0]; did you mean Bu"},
    };
    for (const auto &[file, from, to, told] : faults) {
        std::string text = file[4] == 'd' ? good : ports;
        const std::string whole = text;
        ASSERT_NE(text.find(from), std::string::npos) << from;
        folder.write(file, text.replace(text.find(from), from.size(), to));
        const std::string found = check();
        EXPECT_THAT(found, HasSubstr(told));
        EXPECT_THAT(found, HasSubstr(folder.file(file)));
        folder.write(file, whole);
    }
    std::filesystem::remove(folder.file("krx_port.conf"));
    EXPECT_THAT(check(), HasSubstr("krx_port.conf: error: is not there; copy the sample"));
    std::filesystem::create_directory(folder.file("krx_port.conf"));
    EXPECT_THAT(check(), HasSubstr("krx_port.conf: error: is a folder; put the configuration file in its place"));
    std::filesystem::remove(folder.file("krx_port.conf"));
    folder.write("krx_port.conf", ports);
    // A start that cannot work ends soon, and says why.
    folder.write("krx_driver.conf", "[KRX_DRIVER]\nResetPn=3\n");
    const double begin = sim_value("Time");
    start_ptzd();
    await_state(7);
    EXPECT_LT(sim_value("Time") - begin, 60);
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr(":1: error: ResetPin is missing from [KRX_DRIVER]"));
    EXPECT_EQ(logged(":2: warning: ResetPn is no key of [KRX_DRIVER]; did you mean ResetPin?"), 1u);
}

TEST_F(System, TheDoctorNamesEachThingThatIsWrong)
{
    folder.write("ptzd.sh", std::string("#!/bin/sh\nexec ") + PTZD_FILE + " --plugin " + PLUGIN_FILE + " \"$@\"\n");
    std::filesystem::permissions(folder.file("ptzd.sh"), std::filesystem::perms::owner_all);
    const auto doctor = [this] {
        const auto run_it =
            run({"/usr/bin/env", "PTZD=" + folder.file("ptzd.sh"), PTZCTL_FILE, "doctor"}, "doctor.log");
        const int status = run_it->wait();
        EXPECT_EQ(status, run_it->output().find("\n ") == std::string::npos ? 0 : 1); // a next step, as all is not well
        return run_it->output();
    };
    start_sim();
    EXPECT_THAT(doctor(), HasSubstr("fault    bus: nobody serves com.orna.PTZ\n"));
    start_ptzd();
    await_state(1);
    EXPECT_THAT(doctor(), AllOf(HasSubstr("ok       configuration: "), HasSubstr("/spi0 can be read and written\n"),
                                HasSubstr("ok       link: "), HasSubstr("ok       temperature: 40 degrees\n"),
                                HasSubstr("ok       image service: com.orna.Streamer is there\n")));
    folder.write("IMC.APP", "no image");
    folder.write("krx_driver.conf", folder.read("krx_driver.conf") + "PowerPn=3\n");
    sim_command("fault streamer missing");
    sim_command("fault hold-request low");
    run_until([this] { return client.call("GetStatus").text.find("'link': <'down'>") != std::string::npos; });
    EXPECT_THAT(doctor(),
                AllOf(HasSubstr("PowerPn is no key of [KRX_DRIVER]; did you mean PowerPin?\n"),
                      HasSubstr("warning  firmware file: "), HasSubstr("fault    link: the camera block does not"),
                      HasSubstr("warning  image service: com.orna.Streamer is not on the bus")));
}

TEST_F(System, ASecondPtzdRefusesAndSaysWhy)
{
    start_all();
    // The same camera, and another one on the same bus.
    for (const auto &[id, reason] : {std::pair("0", "runs this board already"), std::pair("1", "runs on this bus")}) {
        const std::unique_ptr<Process> second = run({PTZD_FILE, "--plugin", PLUGIN_FILE, "--id", id}, "second.log");
        EXPECT_EQ(second->wait(), 3);
        EXPECT_NE(second->output().find(reason), std::string::npos) << second->output();
    }
    EXPECT_EQ(sim_state(), "running");
}

TEST_F(System, WithoutItsBusPtzdClosesTheCameraAndSaysSo)
{
    start_sim({"--verbose", "--big-endian", "--invert-lines"}); // which its configuration tells
    start_ptzd();
    await_state(1);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
    stop_bus();
    EXPECT_EQ(ptzd->wait(), 3);
    EXPECT_EQ(logged("The bus has gone. Closing the camera"), 1u);
    EXPECT_TRUE(sim->output().ends_with("block off\n")) << sim->output();
}

} // namespace
