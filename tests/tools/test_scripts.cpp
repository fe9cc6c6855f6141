// The scripts of the house go red when they should.
#include "tests/support/temp_folder.h"
#include "tests/tools/program_fixture.h"

#include <gmock/gmock.h>

namespace {

RunResult run_script(const std::string &script, const TempFolder &argument)
{
    return run_program({required_variable("SOURCE_ROOT") + "/tools/" + script, argument.path()});
}

TEST(IncludeCheck, RefusesDoorsThatAreClosed)
{
    const TempFolder root;
    for (const char *header : {"core/log.h", "platform/ugpio/ugpio.h"})
        root.write(header, "");
    root.write("vcc/rows.h", "#include \"core/log.h\"\n#include <vector>\n");
    root.write("cmd/move.cpp", "#include \"vcc/rows.h\"\n#include \"ugpio/ugpio.h\"\n#include \"../core/log.h\"\n");
    EXPECT_EQ(run_script("check-includes.py", root).status, 0);
    const std::pair<const char *, const char *> doors[] = {
        {"core/a.h", "vcc/rows.h"},         {"vcc/a.h", "port/port.h"},       {"port/a.cpp", "vcc/rows.h"},
        {"utils/a.cpp", "hw/power.h"},      {"hw/a.cpp", "../driver/open.h"}, {"sim/a.cpp", "core/log.h"},
        {"platform/x/a.cpp", "core/log.h"}, {"driver/a.cpp", "sim/board.h"},
    };
    for (const auto &[file, header] : doors)
        root.write(file, std::string("// first line\n  #  include \"") + header + "\"\n");
    const RunResult result = run_script("check-includes.py", root);
    EXPECT_EQ(result.status, 1);
    for (const auto &[file, header] : doors)
        EXPECT_THAT(result.output, testing::HasSubstr(std::string(file) + ":2: "));
}

TEST(IncludeCheck, KeepsTheListOfUpwardDoorsTrue)
{
    const TempFolder root;
    root.write("hw/life_door.h", "");
    EXPECT_EQ(run_script("check-includes.py", root).status, 1);
    root.write("docs/architecture.md", "- `hw/life_door.h`: start-up\n");
    EXPECT_EQ(run_script("check-includes.py", root).status, 0);
    std::filesystem::remove(root.file("hw/life_door.h"));
    EXPECT_EQ(run_script("check-includes.py", root).status, 1);
}

TEST(CountTests, CountsCasesAndCrashesAndTakesAMissingLogForAFailure)
{
    const TempFolder root;
    EXPECT_EQ(run_script("count-tests.py", root).output, "0 passed, 1 failed\n");
    root.write("meson-logs/testlog.json",
               R"({"result": "OK", "stdout": "[       OK ] A.B (0 ms)\nnoise[       OK ] A.C (12 ms)\n"}
{"result": "FAIL", "stdout": "[       OK ] D.E (0 ms)\n[  FAILED  ] D.F (1 ms)\n[  FAILED  ] D.F\n"}
{"result": "FAIL", "stdout": "[       OK ] G.H (0 ms)\n[ RUN      ] G.I\n"}
{"result": "TIMEOUT"}
{"result": "OK"}
)");
    const RunResult result = run_script("count-tests.py", root);
    EXPECT_EQ(result.output, "5 passed, 3 failed\n");
    EXPECT_EQ(result.status, 1);
}

} // namespace
