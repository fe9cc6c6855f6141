// krx-sim as a person runs it.
#include "program.h"
#include "sim_fixture.h"

namespace {

class KrxSim : public testing::Test {
  protected:
    TempFolder folder;
    std::string dir = folder.file("new/board");
    Environment board{"PTZ_BOARD", dir};
    Environment bus{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"};
};

TEST_F(KrxSim, BootsAHostAndReportsAtTheEnd)
{
    Program program({"--board", dir, "--time-scale", "1000", "--strict", "--trace", folder.file("trace")});
    ASSERT_TRUE(program.wait_for("ready"));
    EXPECT_NE(program.text.find("running without D-Bus"), std::string::npos);
    EXPECT_EQ(folder.read("new/board/thermal_zone0/temp"), "40000\n");
    EXPECT_EQ(drive_line("cam_power", true), 0);
    while (read_line("cam_power_good") == 0)
        ;
    EXPECT_EQ(drive_line("cam_reset", true), 0);
    while (read_line("imc_req") == 0)
        ;
    EXPECT_TRUE(parse_answer(SpiHost(folder.file("new/board/spi0")).burst(command({4, 1, 5, 0, 1}))).good);
    EXPECT_EQ(program.stop(SIGTERM), 0);
    EXPECT_NE(program.text.find("Pan/tilt stop pan\n"), std::string::npos);
    EXPECT_NE(program.text.find("Offences: none\n"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir + "/gpio"));
    EXPECT_FALSE(std::filesystem::exists(dir + "/spi0"));
}

TEST_F(KrxSim, OneFolderHasOneSimulator)
{
    Program first({"--board", dir, "--quiet"});
    ASSERT_TRUE(first.wait_for("ready"));
    Program second({"--board", dir});
    EXPECT_EQ(second.stop(0), 1);
    EXPECT_NE(second.text.find("Another krx-sim already runs on "), std::string::npos);
    EXPECT_EQ(read_line("cam_power"), 0);

    // A killed one leaves its sockets; they are replaced. Configuration files are kept without --force.
    EXPECT_EQ(first.stop(SIGKILL), 128 + SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(dir + "/gpio"));
    EXPECT_EQ(read_line("cam_power"), -1);
    EXPECT_EQ(errno, ECONNREFUSED);
    folder.write("new/board/krx_driver.conf", "mine");
    Program third({"--board", dir, "--quiet"});
    ASSERT_TRUE(third.wait_for("ready"));
    EXPECT_EQ(read_line("cam_power"), 0);
    EXPECT_EQ(folder.read("new/board/krx_driver.conf"), "mine");
    EXPECT_EQ(third.stop(SIGINT), 0);
    Program fourth({"--board", dir, "--force"});
    ASSERT_TRUE(fourth.wait_for("ready"));
    EXPECT_NE(folder.read("new/board/krx_driver.conf").find("PowerPin=cam_power\n"), std::string::npos);
}

TEST_F(KrxSim, StrictTurnsOffencesIntoAnExitStatus)
{
    folder.write("script", "set temperature 61\n");
    Program program({"--board", dir, "--strict", "--script", folder.file("script")});
    ASSERT_TRUE(program.wait_for("ready"));
    while (folder.read("new/board/thermal_zone0/temp") != "61000\n")
        ;
    EXPECT_EQ(drive_line("cam_reset", true), 0);
    EXPECT_EQ(program.stop(SIGTERM), 3);
    EXPECT_NE(program.text.find("OFFENCE reset-release-without-power"), std::string::npos);
}

TEST_F(KrxSim, UsageErrorsSayWhatToDo)
{
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{}, "--board DIR is missing"},
        {{"--bored"}, "Unknown option --bored"},
        {{"--board", dir, "more"}, "unexpected words"},
        {{"--board", dir, "--time-scale", "0"}, "--time-scale takes a number above 0"},
        {{"--board", dir, "--time-scale", "fast"}, "--time-scale takes a number above 0"},
    };
    for (const auto &[arguments, message] : cases) {
        Program program(arguments);
        EXPECT_EQ(program.stop(0), 2);
        EXPECT_NE(program.text.find(message), std::string::npos) << program.text;
        EXPECT_NE(program.text.find("--help"), std::string::npos);
    }
    Program script({"--board", dir, "--script", folder.file("missing")});
    EXPECT_EQ(script.stop(0), 1);
    Program unwritable({"--board", "/proc/board"});
    EXPECT_EQ(unwritable.stop(0), 1);
    Program too_long({"--board", folder.file(std::string(120, 'x'))});
    EXPECT_EQ(too_long.stop(0), 1);
    EXPECT_NE(too_long.text.find("too long"), std::string::npos);
    const Environment scale("PTZ_TIME_SCALE", "-2");
    Program negative({"--board", dir});
    EXPECT_EQ(negative.stop(0), 2);
    EXPECT_NE(negative.text.find("PTZ_TIME_SCALE"), std::string::npos);
    Program help({"--help"});
    EXPECT_EQ(help.stop(0), 0);
    EXPECT_NE(help.text.find("fault silence DURATION"), std::string::npos);
}

} // namespace
