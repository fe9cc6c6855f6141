// krx-sim and krx-image as a person runs them.
#include "sim_fixture.h"
#include "tests/platform/bus_fixture.h"
#include "tests/support/process.h"

#include <csignal>
#include <sstream>

namespace {

class KrxSim : public testing::Test {
  protected:
    // Starts a program with the words of a line, DIR being the board's folder, and waits until it says something.
    std::unique_ptr<Process> run(const char *program, const std::string &line, const char *awaited)
    {
        std::vector<std::string> command{program};
        std::istringstream words(line);
        for (std::string word; words >> word;)
            command.push_back(word.starts_with("DIR") ? folder.path().string() + word.substr(3) : word);
        const Process::Variables variables{{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"}};
        auto process = std::make_unique<Process>(command, variables, folder.file("log" + std::to_string(++runs)));
        run_until([&] { return process->output().find(awaited) != std::string::npos || process->ended(); });
        EXPECT_NE(process->output().find(awaited), std::string::npos) << line << "\n" << process->output();
        return process;
    }

    TempFolder folder{"PTZ_BOARD"};
    int runs = 0;
};

TEST_F(KrxSim, CarriesOutItsScriptAndReportsAtTheEnd)
{
    folder.write("script", "set temperature 61\n");
    const auto program = run(KRX_SIM, "--board DIR -x 1000 --strict --script DIR/script --trace DIR/trace", "ready\n");
    run_until([&] { return folder.read("thermal_zone0/temp") == "61000\n"; });
    // One folder has one simulator.
    EXPECT_EQ(run(KRX_SIM, "--board DIR", "Another krx-sim already runs on ")->wait(), 1);
    drive_line("cam_reset", true);
    drive_line("cam_power", true);
    run_until([&] { return folder.read("trace").find(" block running\n") != std::string::npos; });
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(), 3);
    EXPECT_NE(program->output().find("OFFENCE reset-release-without-power"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.file("gpio")));
    EXPECT_TRUE(folder.read("trace").starts_with("# krx-sim trace 1: seconds port sender length bytes\n"
                                                 "# byte order: little endian\n"));
}

TEST_F(KrxSim, UsageErrorsSayWhatToDo)
{
    const std::tuple<const char *, const char *, int, const char *> cases[] = {
        {KRX_SIM, "", 2, "--board DIR is missing\nTry \"krx-sim --help\""},
        {KRX_SIM, "--board DIR --time-scale 0", 2, "--time-scale takes a number above 0"},
        {KRX_SIM, "--board DIR", 2, "PTZ_TIME_SCALE has to be"},
        {KRX_SIM, "--board DIR -x 1 --script /missing", 1, "missing"},
        {KRX_SIM, "--board DIR -x 1 --trace-limit -1", 2, "--trace-limit takes"},
        {KRX_SIM, "--board /proc/board -x 1", 1, "/proc/board"},
        {KRX_SIM, "--help", 0, "fault silence DURATION"},
        {KRX_IMAGE, "--version 0x01020304 --size 2KiB DIR/image", 0, "/image: version 01020304, 2048 bytes"},
        {KRX_IMAGE, "--version 1 --size 127 DIR/image", 2, "--size takes 128 bytes to 1GiB"},
        {KRX_IMAGE, "--version 0x100000000 DIR/image", 2, "--version takes a number"},
        {KRX_IMAGE, "--version 1 /proc/IMC.APP", 1, "/proc/IMC.APP"}};
    const Environment scale("PTZ_TIME_SCALE", "-2");
    for (const auto &[program, line, status, message] : cases)
        EXPECT_EQ(run(program, line, message)->wait(), status) << message;
    const std::string image = folder.read("image");
    EXPECT_EQ(image.size(), 2048u);
    EXPECT_EQ(image.substr(0, 8) + image.substr(40, 4), std::string("131\0\0\0\0\0\x04\x03\x02\x01", 12));
}

} // namespace
