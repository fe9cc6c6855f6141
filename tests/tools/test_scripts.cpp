// The scripts of the house go red when they should.
#include "tests/tools/program_fixture.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

using testing::HasSubstr;

namespace {

// A folder of its own for each test, removed at the end.
class Scripts : public testing::Test {
  protected:
    Scripts()
    {
        std::string pattern = testing::TempDir() + "ptz-scripts-XXXXXX";
        root_ = mkdtemp(pattern.data());
    }
    ~Scripts() override { std::filesystem::remove_all(root_); }

    void write(const std::string &path, const std::string &text) const
    {
        std::filesystem::create_directories((root_ / path).parent_path());
        std::ofstream(root_ / path) << text;
    }
    RunResult run(const std::string &script, const std::string &argument) const
    {
        return run_program({required_variable("SOURCE_ROOT") + "/tools/" + script, argument});
    }

    std::filesystem::path root_;
};

} // namespace

TEST_F(Scripts, IncludeCheckPassesDoorsThatAreOpen)
{
    write("core/log.h", "");
    write("platform/ugpio/ugpio.h", "");
    write("vcc/rows.h", "#include \"core/log.h\"\n#include <vector>\n");
    write("cmd/move.cpp", "#include \"vcc/rows.h\"\n#include \"ugpio/ugpio.h\"\n#include \"../core/log.h\"\n");
    EXPECT_EQ(run("check-includes.py", root_).status, 0);
}

TEST_F(Scripts, IncludeCheckRefusesDoorsThatAreClosed)
{
    const std::pair<const char *, const char *> doors[] = {
        {"core/a.h", "vcc/rows.h"},         {"vcc/a.h", "port/port.h"},       {"port/a.cpp", "vcc/rows.h"},
        {"utils/a.cpp", "hw/power.h"},      {"hw/a.cpp", "../driver/open.h"}, {"sim/a.cpp", "core/log.h"},
        {"platform/x/a.cpp", "core/log.h"}, {"driver/a.cpp", "sim/board.h"},
    };
    for (const auto &[file, header] : doors) {
        write(file, std::string("// first line\n  #  include \"") + header + "\"\n");
        const RunResult result = run("check-includes.py", root_);
        EXPECT_EQ(result.status, 1) << file;
        EXPECT_THAT(result.output, HasSubstr(std::string(file) + ":2: ")) << file;
        std::filesystem::remove(root_ / file);
    }
}

TEST_F(Scripts, IncludeCheckKeepsTheListOfUpwardDoorsTrue)
{
    write("hw/life_door.h", "");
    EXPECT_EQ(run("check-includes.py", root_).status, 1);
    write("docs/architecture.md", "- `hw/life_door.h`: start-up\n");
    EXPECT_EQ(run("check-includes.py", root_).status, 0);
    std::filesystem::remove(root_ / "hw/life_door.h");
    EXPECT_EQ(run("check-includes.py", root_).status, 1);
}

TEST_F(Scripts, CountTestsCountsCasesAndCrashes)
{
    write("meson-logs/testlog.json",
          R"({"result": "OK", "stdout": "[       OK ] A.B (0 ms)\nnoise[       OK ] A.C (12 ms)\n"})"
          "\n"
          R"({"result": "FAIL", "stdout": "[       OK ] D.E (0 ms)\n[  FAILED  ] D.F (1 ms)\n[  FAILED  ] D.F\n"})"
          "\n"
          R"({"result": "FAIL", "stdout": "[       OK ] G.H (0 ms)\n[ RUN      ] G.I\n"})"
          "\n"
          R"({"result": "TIMEOUT"})"
          "\n"
          R"({"result": "OK"})"
          "\n");
    const RunResult result = run("count-tests.py", root_);
    EXPECT_EQ(result.output, "5 passed, 3 failed\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(Scripts, CountTestsTakesAMissingLogForAFailure)
{
    const RunResult result = run("count-tests.py", root_);
    EXPECT_EQ(result.output, "0 passed, 1 failed\n");
    EXPECT_EQ(result.status, 1);
}
