// The scripts of the house go red when they should.
#include "tests/tools/program_fixture.h"

#include <gmock/gmock.h>

namespace {

RunResult run_script(const std::string &script, const TempFolder &argument)
{
    return run_program({required_variable("SOURCE_ROOT") + "/tools/" + script, argument.path()});
}

TEST(IncludeCheck, RefusesDoorsThatAreClosedOrNotListed)
{
    const TempFolder root;
    for (const char *header : {"core/log.h", "platform/ugpio/ugpio.h", "hw/life_door.h"})
        root.write(header, "");
    root.write("cmd/move.cpp", "#include <vector>\n#include \"ugpio/ugpio.h\"\n#include \"../core/log.h\"\n");
    EXPECT_EQ(run_script("check-includes.py", root).status, 1);
    root.write("docs/architecture.md", "- `hw/life_door.h`: start-up\n");
    EXPECT_EQ(run_script("check-includes.py", root).status, 0);
    const std::pair<const char *, const char *> doors[] = {{"core/a.h", "vcc/rows.h"},
                                                           {"hw/a.cpp", "../driver/open.h"},
                                                           {"sim/a.cpp", "core/log.h"},
                                                           {"driver/a.cpp", "sim/board.h"}};
    for (const auto &[file, header] : doors)
        root.write(file, std::string("// first line\n  #  include \"") + header + "\"\n");
    const std::string output = run_script("check-includes.py", root).output;
    for (const auto &[file, header] : doors)
        EXPECT_THAT(output, testing::HasSubstr(std::string(file) + ":2: "));
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
