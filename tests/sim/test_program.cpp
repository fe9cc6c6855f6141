// krx-sim as a person runs it.
#include "sim_fixture.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/process.h"

#include <csignal>

namespace {

class KrxSim : public testing::Test {
  protected:
    std::unique_ptr<Process> run(std::vector<std::string> arguments, bool until_ready = true)
    {
        arguments.insert(arguments.begin(), KRX_SIM);
        const std::string log = folder.file("log" + std::to_string(++runs_));
        auto program = std::make_unique<Process>(arguments, Process::Variables{}, log);
        if (until_ready)
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

TEST_F(KrxSim, CarriesOutItsScriptAndReportsAtTheEnd)
{
    folder.write("script", "set temperature 61\n");
    const auto program = run({"--board", dir, "--time-scale", "1000", "--strict", "--script", folder.file("script"),
                              "--trace", folder.file("trace")});
    run_until([&] { return folder.read("new/board/thermal_zone0/temp") == "61000\n"; });
    drive_line("cam_reset", true);
    drive_line("cam_power", true);
    run_until([] { return read_line("imc_req") == 1; });
    SpiHost(dir + "/spi0").burst(command({4, 1, 5, 0, 1}));
    EXPECT_EQ(end(*program, SIGTERM), 3);
    for (const char *text : {"running without D-Bus", "OFFENCE reset-release-without-power", "Pan/tilt stop pan\n"})
        EXPECT_TRUE(said(*program, text)) << text;
    EXPECT_FALSE(std::filesystem::exists(dir + "/gpio") || std::filesystem::exists(dir + "/spi0"));
    const std::string trace = folder.read("trace");
    EXPECT_TRUE(trace.starts_with("# krx-sim trace 1: seconds port sender length bytes\n"));
    for (const char *text : {" block running\n", " port0 host 1024 0009FFDF100100050401050001\n"})
        EXPECT_NE(trace.find(text), std::string::npos) << text;
}

TEST_F(KrxSim, OneFolderHasOneSimulator)
{
    const auto first = run({"--board", dir, "--quiet"});
    const auto second = run({"--board", dir}, false);
    EXPECT_EQ(second->wait(), 1);
    EXPECT_TRUE(said(*second, "Another krx-sim already runs on "));
    EXPECT_EQ(read_line("cam_power"), 0);

    // A killed one leaves its sockets; they are replaced. Configuration files are kept without --force.
    EXPECT_EQ(end(*first, SIGKILL), -SIGKILL);
    EXPECT_EQ(read_line("cam_power"), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    folder.write("new/board/krx_driver.conf", "mine");
    const auto third = run({"--board", dir, "--quiet", "--strict"});
    EXPECT_EQ(read_line("cam_power"), 0);
    EXPECT_EQ(folder.read("new/board/krx_driver.conf"), "mine");
    EXPECT_EQ(end(*third, SIGINT), 0);
    const auto fourth = run({"--board", dir, "--force"});
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
        const auto program = run(arguments, false);
        EXPECT_EQ(program->wait(), status) << message;
        EXPECT_TRUE(said(*program, message)) << program->output();
    }
}

} // namespace
