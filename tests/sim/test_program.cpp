// krx-sim as a person runs it.
#include "sim_fixture.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/process.h"

#include <csignal>

namespace {

class KrxSim : public testing::Test {
  protected:
    std::unique_ptr<Process> run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), KRX_SIM);
        return std::make_unique<Process>(arguments, Process::Variables{}, folder.file("log" + std::to_string(++runs_)));
    }
    std::unique_ptr<Process> run_until_ready(const std::vector<std::string> &arguments)
    {
        auto program = run(arguments);
        run_until([&] { return said(*program, "ready\n"); });
        return program;
    }
    static bool said(const Process &program, const std::string &text)
    {
        return program.output().find(text) != std::string::npos;
    }
    static int end(Process &program, int signal)
    {
        program.signal(signal);
        return program.wait();
    }

    TempFolder folder;
    std::string dir = folder.file("new/board");
    Environment board{"PTZ_BOARD", dir};
    Environment bus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"};

  private:
    int runs_ = 0;
};

TEST_F(KrxSim, BootsAHostAndReportsAtTheEnd)
{
    folder.write("script", "set temperature 61\n");
    const auto program = run_until_ready({"--board", dir, "--time-scale", "1000", "--strict", "--script",
                                          folder.file("script"), "--trace", folder.file("trace")});
    run_until([&] { return folder.read("new/board/thermal_zone0/temp") == "61000\n"; });
    EXPECT_EQ(drive_line("cam_power", true), 0);
    run_until([] { return read_line("cam_power_good") == 1; });
    EXPECT_EQ(drive_line("cam_reset", true), 0);
    run_until([] { return read_line("imc_req") == 1; });
    EXPECT_TRUE(parse_answer(SpiHost(folder.file("new/board/spi0")).burst(command({4, 1, 5, 0, 1}))).good);
    EXPECT_EQ(end(*program, SIGTERM), 0);
    for (const char *text : {"running without D-Bus", "Pan/tilt stop pan\n", "Offences: none\n"})
        EXPECT_TRUE(said(*program, text)) << text;
    EXPECT_FALSE(std::filesystem::exists(dir + "/gpio") || std::filesystem::exists(dir + "/spi0"));
    EXPECT_NE(folder.read("trace").find(" port0 host 1024 "), std::string::npos);
}

TEST_F(KrxSim, StrictTurnsOffencesIntoAnExitStatus)
{
    const auto program = run_until_ready({"--board", dir, "--strict"});
    EXPECT_EQ(drive_line("cam_reset", true), 0);
    EXPECT_EQ(end(*program, SIGTERM), 3);
    EXPECT_TRUE(said(*program, "OFFENCE reset-release-without-power"));
}

TEST_F(KrxSim, OneFolderHasOneSimulator)
{
    const auto first = run_until_ready({"--board", dir, "--quiet"});
    const auto second = run({"--board", dir});
    EXPECT_EQ(second->wait(), 1);
    EXPECT_TRUE(said(*second, "Another krx-sim already runs on "));
    EXPECT_EQ(read_line("cam_power"), 0);

    // A killed one leaves its sockets; they are replaced. Configuration files are kept without --force.
    EXPECT_EQ(end(*first, SIGKILL), -SIGKILL);
    EXPECT_EQ(read_line("cam_power"), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    folder.write("new/board/krx_driver.conf", "mine");
    const auto third = run_until_ready({"--board", dir, "--quiet"});
    EXPECT_EQ(read_line("cam_power"), 0);
    EXPECT_EQ(folder.read("new/board/krx_driver.conf"), "mine");
    EXPECT_EQ(end(*third, SIGINT), 0);
    const auto fourth = run_until_ready({"--board", dir, "--force"});
    EXPECT_NE(folder.read("new/board/krx_driver.conf").find("PowerPin=cam_power\n"), std::string::npos);
}

TEST_F(KrxSim, UsageErrorsSayWhatToDo)
{
    const std::tuple<std::vector<std::string>, int, const char *> cases[] = {
        {{}, 2, "--board DIR is missing\nTry \"krx-sim --help\""},
        {{"--bored"}, 2, "Unknown option --bored"},
        {{"--board", dir, "more"}, 2, "unexpected words"},
        {{"--board", dir, "--time-scale", "0"}, 2, "--time-scale takes a number above 0"},
        {{"--board", dir, "--time-scale", "fast"}, 2, "--time-scale takes a number above 0"},
        {{"--board", dir}, 2, "PTZ_TIME_SCALE has to be"},
        {{"--board", dir, "-x", "1", "--script", folder.file("missing")}, 1, "missing"},
        {{"--board", "/proc/board", "-x", "1"}, 1, "/proc/board"},
        {{"--board", folder.file(std::string(120, 'x')), "-x", "1"}, 1, "too long"},
        {{"--help"}, 0, "fault silence DURATION"},
    };
    const Environment scale("PTZ_TIME_SCALE", "-2");
    for (const auto &[arguments, status, message] : cases) {
        const auto program = run(arguments);
        EXPECT_EQ(program->wait(), status) << message;
        EXPECT_TRUE(said(*program, message)) << program->output();
    }
}

} // namespace
