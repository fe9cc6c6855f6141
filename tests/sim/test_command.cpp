// The command language and scripts.
#include "sim_fixture.h"

#include "sim/command.h"
#include "sim/script.h"

#include <sstream>

namespace {

using namespace sim;
using Commands = BoardTest;

TEST_F(Commands, WhatIsSetShowsInTheStatus)
{
    const std::pair<const char *, Field> cases[] = {
        {"set pan -12.5", {0xE0, 16, 4, -12'500}},
        {"set tilt 45", {0xE0, 32, 4, 45'000}},
        {"set zoom 60", {0xF8, 80, 2, 256}}, // x30 and a digital x2
        {"set sensor-frequency 2", {0x60, 30, 1, 2}},
        {"set firmware 0x0A0B0C0D", {0x40, 4, 4, 0x0A0B0C0D}},
        {"set temperature 61.5", {0xF8, 16, 2, 615}},
        {"set status-bit lens 1 on", {0xF8, 29, 1, 0x02}},
        {"set status-bit lens 7 on", {0xF8, 29, 1, 0x82}},
        {"set status-bit pan-tilt 0 on", {0xE0, 4, 1, 0x01}},
        {"set byte 60 28 7f", {0x60, 28, 1, 0x7F}},
        {"set status-bit lens 1 auto", {0xF8, 29, 1, 0x80}},
        {"clear status", {0xF8, 29, 1, 0x00}},
    };
    power_up();
    for (const auto &[line, field] : cases) {
        order(line);
        expect_status({field});
    }
    EXPECT_EQ(folder.read("thermal_zone0/temp"), "61500\n");
}

TEST_F(Commands, NonsenseIsAnsweredWithWhatWouldBeRight)
{
    std::istringstream lines(
        "\n   \ndance\nset\nset pan\nset pan 171\nset pan nan\nset pan 1 2\nset volume 3\nset boot -1s\n"
        "set boot 1e30s\nset status-bit lens 8 on\nset status-bit lens 1 maybe\nset byte f8 3 00\n"
        "set byte f8 528 00\nset byte f8 29 100\nset firmware xyz\nset capture-frequency -1\n"
        "set video-capture-mode\nseed\nseed -1\nfault\nfault boredom\nfault flip-bit -1\nfault flip-bit 1 2\n"
        "fault hold-request\nfault silence\nfault silence 5s 2\nfault silence 5m\nfault silence 5 s\n"
        "fault silence s\nfault power-good soon\nfault refuse cam_sofa\nfault delay-edge 1ms x\n"
        "fault streamer absent\nclear everything\nclear faults now");
    for (std::string line; std::getline(lines, line);) {
        const CommandResult result = board.command(line);
        EXPECT_FALSE(result.ok) << line;
        EXPECT_GT(result.text.size(), 8u) << line;
    }
    EXPECT_EQ(board.command("set tilt 91").text, "usage: set tilt VALUE, -20 to 90 degrees");
}

TEST_F(Commands, AScriptHappensInTimeOrderOrNotAtAll)
{
    folder.write("script", "set pan 9\nat soon set pan 2\n");
    const auto problem = load_script(folder.file("script"), board);
    EXPECT_NE(problem.value_or("").find("script:2: expected \"at TIME COMMAND\""), std::string::npos);
    EXPECT_TRUE(load_script(folder.file("missing"), board));
    folder.write("script", "# comment\n\nat 2s set tilt 20\r\n at 1000ms\tset tilt 10\nat 3s nonsense\nset pan 1\n");
    ASSERT_EQ(load_script(folder.file("script"), board), std::nullopt);
    for (const auto &[us, tilt] : {std::pair{999'999, 0.0}, {1, 10.0}, {999'999, 10.0}, {2'000'001, 20.0}}) {
        board.advance(us);
        EXPECT_DOUBLE_EQ(board.reading().tilt, tilt) << us;
        EXPECT_DOUBLE_EQ(board.reading().pan, 1);
    }
}

} // namespace
