// The command language and scripts.
#include "sim_fixture.h"

#include "sim/command.h"
#include "sim/script.h"

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
        {"clear status", {0x60, 28, 1, 1}},
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
    for (const char *line : {"",
                             "   ",
                             "dance",
                             "set",
                             "set pan",
                             "set pan 171",
                             "set pan nan",
                             "set pan 1 2",
                             "set volume 3",
                             "set boot -1s",
                             "set boot 1e30s",
                             "set status-bit lens 8 on",
                             "set status-bit lens 1 maybe",
                             "set byte f8 3 00",
                             "set byte f8 528 00",
                             "set byte f8 29 100",
                             "set firmware xyz",
                             "set capture-frequency -1",
                             "set video-capture-mode",
                             "fault streamer absent",
                             "seed",
                             "seed -1",
                             "fault",
                             "fault boredom",
                             "fault flip-bit -1",
                             "fault flip-bit 1 2",
                             "fault hold-request",
                             "fault silence",
                             "fault silence 5s 2",
                             "fault silence 5m",
                             "fault silence 5 s",
                             "fault silence s",
                             "fault power-good soon",
                             "fault refuse cam_sofa",
                             "fault delay-edge 1ms x",
                             "clear everything",
                             "clear faults now"}) {
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
    double passed = 0;
    for (const auto &[us, tilt] : {std::pair{999'999, 0.0}, {1, 10.0}, {999'999, 10.0}, {2'000'001, 20.0}}) {
        board.advance(us);
        passed += us;
        EXPECT_DOUBLE_EQ(board.reading().tilt, tilt) << passed;
        EXPECT_DOUBLE_EQ(board.reading().pan, 1);
    }
}

} // namespace
