// What comes from the table of the command line, help, manual page and completion, and the help of the other programs.
#include "glib_owned.h"
#include "tests/tools/service_fixture.h"
#include "tools/ptzctl/help.h"

#include <filesystem>
#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

// `text` without what stands from each `begin` up to the next `end`, with `instead` in its place.
std::string without(std::string text, const std::string &begin, const std::string &end, const std::string &instead)
{
    for (std::size_t at = 0; (at = text.find(begin, at)) != std::string::npos; at += instead.size()) {
        const std::size_t last = text.find(end, at);
        text.replace(at, last == std::string::npos ? last : last + end.size() - at, instead);
    }
    return text;
}

void expect_to_fit(const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(g_utf8_strlen(line.c_str(), -1), 80) << line;
}

TEST(Help, TeachesEveryCommandWithAnExampleIn80Columns)
{
    const std::string list = run_ptzctl("--help").output;
    for (const Command &command : all_commands()) {
        EXPECT_THAT(list, HasSubstr(std::string("\n  ") + command.name + " "));
        const RunResult help = run_ptzctl(std::string(command.name) + " -h");
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.output, StartsWith(std::string("Usage: ptzctl ") + command.name));
        EXPECT_THAT(help.output, HasSubstr("\n  ptzctl "));
        for (const Option &option : command.options)
            EXPECT_THAT(help.output, HasSubstr(std::string("\n  ") + option.name + " "));
        EXPECT_EQ(run_ptzctl(std::string("help ") + command.name).output, help.output);
        expect_to_fit(help.output);
    }
}

TEST(Programs, HaveHelpThatFitsAVersionAndOneStatusForUsageErrors)
{
    std::istringstream programs(required_variable("PROGRAMS"));
    for (std::string program; std::getline(programs, program, ' ');) {
        const RunResult help = run_program({program, "--help"});
        EXPECT_EQ(help.status, 0) << program;
        expect_to_fit(help.output);
        const RunResult version = run_program({program, "--version"});
        EXPECT_THAT(version.output,
                    testing::MatchesRegex(std::filesystem::path(program).filename().string() + " [0-9.]+\n"));
        EXPECT_EQ(run_program({program, "--no-such-option"}).status, 2) << program;
        EXPECT_EQ(run_program({program, "a", "word", "too", "many"}).status, 2) << program;
    }
}

TEST(Manual, IsWhatTheTableSaysAndIsCleanRoff)
{
    const std::string folder = required_variable("SOURCE_ROOT") + "/data/man";
    // After a change of the table: ptzctl --manual >data/man/ptzctl.1
    EXPECT_EQ(run_program({"/bin/cat", folder + "/ptzctl.1"}).output, run_ptzctl("--manual").output);
    if (GText(g_find_program_in_path("mandoc")) == nullptr)
        GTEST_SKIP() << "no mandoc here";
    for (const auto &page : std::filesystem::directory_iterator(folder))
        EXPECT_EQ(run_program({"mandoc", "-Tlint", page.path()}).output, "") << page.path();
}

TEST_F(Program, OffersWhatMayComeNext)
{
    const auto offers = [this](const std::string &line) {
        return without(ptzctl("--complete " + line).output, "\t", "\n", " ");
    };
    EXPECT_EQ(offers("special "), "words\nlist "); // no service, no more
    serve();
    const std::pair<const char *, const char *> cases[] = {
        {"mo", "words\nmove mode monitor "},
        {"move ", "open\npan= tilt= zoom= iris= focus= brightness= "},
        {"move pan=1 --re", "words\n--relative "},
        {"state --wait too", "words\ntoo-cold too-hot "},
        {"--json --timeout 5 help up", "words\nupgrade "},
        {"special ", "words\nlist reset video_output|sdi "},
        {"params ", "words\nlist get set reset "},
        {"params set UserAdv State o", "words\non off "},
        {"params set Limit.MinPan ", "words\n"},
        {"decode tr", "files\n"},
    };
    for (const auto &[line, offered] : cases)
        EXPECT_EQ(offers(line), offered) << line;
}

class Shell : public Program, public testing::WithParamInterface<const char *> {};

// What is completed is one word of the command line, whatever is in it.
TEST_P(Shell, CompletesWordsThatStartNoOtherProgram)
{
    if (GText(g_find_program_in_path(GetParam())) == nullptr)
        GTEST_SKIP() << "no " << GetParam() << " here";
    serve();
    const std::string root = required_variable("SOURCE_ROOT");
    const std::string programs = std::filesystem::path(required_variable("PTZCTL")).parent_path();
    const RunResult result = run_program(
        {"/usr/bin/env", "PATH=" + programs + ":" + required_variable("PATH"), "python3",
         root + "/tests/tools/type_in_shell.py", GetParam(), required_variable("COMPLETION"), "ptzctl special v\\t",
         "ptzctl special 'v\\t", "ptzctl special \"v\\t", "ptzctl special video_output\\|\\t",
         "ptzctl params set UserAdv.S\\ta\\t", "ptzctl mov\\tp\\t10", "ptzctl state --wait=run\\t"},
        "", address());
    const std::string special = "RunSpecialCommand('video_output|sdi',) ";
    EXPECT_EQ(without(calls, "List", ") ", ""),
              special + special + special + special +
                  "SetParameter('UserAdv', 'State', <'a $HOME|b'>) Move([('pan', 'absolute', 10.0)], 0.0, {}) "
                  "GetState()")
        << result.output;
}
INSTANTIATE_TEST_SUITE_P(All, Shell, testing::Values("bash", "zsh", "fish"),
                         [](const auto &shell) { return std::string(shell.param); });

} // namespace
