// What is asked of the board: the command language and scripts.
#include "sim_fixture.h"

#include "sim/command.h"
#include "sim/script.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

using namespace sim;
using Commands = BoardTest;

TEST_F(Commands, WhatIsSetShowsInTheStatus)
{
    walk({{"set tilt -12.5", 0, {{"E0 32:4", -12'500}}},
          {"set zoom 60", 0, {{"F8 80:2", 256}}}, // x30 and a digital x2
          {"set firmware 0x0A0B0C0D", 0, {{"40 4:4", 0x0A0B0C0D}}},
          {"set temperature 61.5", 0, {{"F8 16:2", 615}}},
          {"set status-bit lens 7 on", 0, {{"F8 29:1", 0x80}}},
          {"set status-bit lens 7 auto", 0, {{"F8 29:1", 0x00}}},
          {"set byte 60 28 7f", 0, {{"60 28:1", 0x7F}}},
          {"clear status", 0, {{"60 28:1", 1}}}});
    EXPECT_EQ(folder.read("thermal_zone0/temp"), "61500\n");
}

TEST_F(Commands, NonsenseIsAnsweredWithWhatWouldBeRight)
{
    std::istringstream lines(
        "\ndance\nset\nset pan\nset pan nan\nset pan 1 2\nset volume 3\nset boot -1s\n"
        "set boot 1e30s\nset status-bit lens 8 on\nset status-bit lens 1 maybe\n"
        "set byte f8 3 00\nset byte f8 528 00\nset byte f8 29 100\nset firmware xyz\nseed -1\n"
        "fault\nfault boredom\nfault flip-bit -1\nfault flip-bit 1 2\nfault hold-request\n"
        "fault silence 5s 2\nfault silence 5m\nfault power-good soon\nfault refuse cam_sofa\n"
        "fault delay-edge 1ms x\nfault flip-bit 1/0\nfault flip-bit for\nfault flip-bit 1/2 1/2\nfault stall roll\n"
        "fault other-model 256\nfault missing-block f9\nfault streamer absent\nclear everything\nclear faults now");
    for (std::string line; std::getline(lines, line);) {
        const CommandResult result = board.command(line);
        EXPECT_FALSE(result.ok) << line;
        EXPECT_GT(result.text.size(), 8u) << line;
    }
    EXPECT_EQ(board.command("set tilt 91").text, "usage: set tilt VALUE, -20 to 90 degrees");
}

// The first of each place's alternatives, which the completion has to know, and fillings for what is to be filled in.
TEST_F(Commands, EveryFormCanBeCompletedAndIsTaken)
{
    const std::map<std::string, std::vector<const char *>> fillings = {
        {"VALUE", {"1", "1200"}}, {"DURATION", {"1ms"}}, {"HEX-VERSION", {"01"}},
        {"TEXT", {"1080p50"}},    {"OFFSET", {"40"}},    {"HEX-VALUE", {"1"}},
        {"INDEX", {"3"}},         {"NUMBER", {"1"}},     {"WHEN", {"once"}}};
    EXPECT_THAT(next_words({}), testing::UnorderedElementsAre("set", "fault", "seed", "clear"));
    EXPECT_THAT(next_words({"fault", "flip-bit"}), testing::ElementsAre("once", "forever", "for"));
    for (const std::string &form : command_forms()) {
        std::vector<std::string> words;
        std::string line, taken;
        std::istringstream places(form);
        for (std::string place; places >> place; words.push_back(taken)) {
            std::erase_if(place, [](char c) { return c == '[' || c == ']'; });
            const std::string first = place == "LINE" ? "cam_power" : place.substr(0, place.find('|'));
            const auto filling = fillings.find(first);
            taken = filling == fillings.end() ? first : filling->second.front();
            if (filling == fillings.end())
                EXPECT_THAT(next_words(words), testing::Contains(first)) << form;
            else if (!board.command(line + " " + taken).ok)
                taken = filling->second.back();
            line += (line.empty() ? "" : " ") + taken;
        }
        const CommandResult result = board.command(line);
        EXPECT_TRUE(result.ok) << form << ": " << line << ": " << result.text;
    }
}

TEST_F(Commands, AScriptHappensInTimeOrderOrNotAtAll)
{
    const std::pair<const char *, const char *> refused[] = {
        {"set pan 9\nat soon set pan 2\n", "script:2: expected \"at TIME COMMAND\""},
        {"set pan 9\n\nat 1s set pan 200\n", "script:3: usage: set pan VALUE"},
        {"set pan 9\nat 4s nonsense\n", "script:2: unknown command \"nonsense\""}};
    for (const auto &[text, why] : refused) {
        folder.write("script", text);
        const auto problem = load_script(folder.file("script"), board);
        EXPECT_NE(problem.value_or("").find(why), std::string::npos) << problem.value_or("");
    }
    EXPECT_TRUE(load_script(folder.path(), board)); // a folder
    folder.write("script", "# comment\n\nat 5s set tilt 20\r\n at 4000ms\tset tilt 10\nset pan 1\n");
    ASSERT_EQ(load_script(folder.file("script"), board), std::nullopt);
    walk({{"", 3'999'999 - board.now(), {{"E0 16:4", 1'000}, {"E0 32:4", 0}}},
          {"", 1, {{"E0 32:4", 10'000}}},
          {"", 1'000'000, {{"E0 32:4", 20'000}}}});
}

} // namespace
