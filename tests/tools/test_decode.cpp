// decode: traces in words, and traces that are none.
#include "tests/tools/program_fixture.h"
#include "tools/ptzctl/failure.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

// A frame of 12 bytes with the packet [Pan position 12500].
const std::string kFrame = "1.500000 port0 host 1024 000CFED31001000807010800000030D4\n";
const std::string kWords = "   1.500000 port0 host   Pan position 12500 (12.500 deg)\n";

TEST(Decode, PutsFramesIntoWordsAndReportsEachLineThatIsNone)
{
    std::string nul = kFrame;
    nul[10] = '\0';
    const auto bad = [](int line) {
        return "ptzctl: line " + std::to_string(line) + ": not a line of a trace, skipped\n";
    };
    const struct {
        std::string options, trace;
        int status;
        std::string output, errors;
    } cases[] = {
        {"", "# remark\n\n" + kFrame + "1.500100 port0 block 1024 \n", EXIT_DONE, kWords, ""}, // an empty frame
        {"", "garbage\n" + kFrame + "1.5 port0 host 1024 0G\n", EXIT_REFUSED, kWords, bad(1) + bad(3)},
        {"", nul + std::string(100000, '\xff') + "\n" + std::string(3, '\0'), EXIT_REFUSED, "",
         bad(1) + bad(2) + bad(3)},
        {" --json --sent", kFrame + "garbage\n", EXIT_REFUSED,
         "{\"line\":1,\"seconds\":1.5,\"port\":0,\"sender\":\"host\","
         "\"texts\":[\"Pan position 12500 (12.500 deg)\"]}\n"
         "{\"line\":2,\"error\":\"not a line of a trace, skipped\"}\n",
         ""},
    };
    for (const auto &[options, trace, status, output, errors] : cases) {
        const RunResult result = run_ptzctl("decode -" + options, trace);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.errors, errors);
    }
}

TEST(Decode, SaysWhyATraceCannotBeRead)
{
    for (const char *file : {"/nonexistent/wire.trace", "/dev/null", "/"})
        EXPECT_EQ(run_ptzctl(std::string("decode ") + file).status, EXIT_REFUSED) << file;
    EXPECT_THAT(run_ptzctl("decode /nonexistent/wire.trace").errors, HasSubstr("No such file"));
    EXPECT_EQ(run_ptzctl("decode").status, EXIT_USAGE);
}

} // namespace
