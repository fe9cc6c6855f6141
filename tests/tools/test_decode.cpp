// decode: traces in words, and traces that are none.
#include "tests/tools/program_fixture.h"
#include "tools/ptzctl/failure.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

// A frame of 12 bytes with the packet [Pan position 12500], and an empty frame.
constexpr const char *kPanFrame = "1.500000 port0 host 1024 000CFED31001000807010800000030D4\n";
constexpr const char *kEmptyFrame = "1.500100 port0 block 1024 \n";

RunResult decode(const std::string &trace, std::vector<std::string> options = {})
{
    options.insert(options.begin(), {"decode", "-"});
    return ptzctl_without_bus(options, trace);
}

} // namespace

TEST(Decode, PutsFramesIntoWordsAndPassesOverRemarksAndEmptyFrames)
{
    const RunResult result = decode(std::string("# remark\n\n") + kPanFrame + kEmptyFrame);
    EXPECT_EQ(result.status, EXIT_DONE);
    EXPECT_EQ(result.output, "   1.500000 port0 host   Pan position 12500 (12.500 deg)\n");
    EXPECT_EQ(result.errors, "");
}

TEST(Decode, ReportsMalformedLinesWithTheirNumberAndGoesOn)
{
    const RunResult result = decode(std::string("garbage\n") + kPanFrame + "1.5 port0 host 1024 0G\n");
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_THAT(result.output, HasSubstr("Pan position 12500"));
    EXPECT_EQ(result.errors, "ptzctl: line 1: not a line of a trace, skipped\n"
                             "ptzctl: line 3: not a line of a trace, skipped\n");
}

TEST(Decode, WritesOneObjectForEachFrameAndEachMalformedLine)
{
    const RunResult result = decode(std::string(kPanFrame) + "garbage\n", {"--json", "--sent"});
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_EQ(result.output, "{\"line\":1,\"seconds\":1.5,\"port\":0,\"sender\":\"host\","
                             "\"texts\":[\"Pan position 12500 (12.500 deg)\"]}\n"
                             "{\"line\":2,\"error\":\"not a line of a trace, skipped\"}\n");
    EXPECT_EQ(result.errors, "");
}

TEST(Decode, SurvivesBytesThatAreNoText)
{
    std::string garbage = kPanFrame;
    garbage[10] = '\0';
    garbage += std::string(100000, '\xff') + "\n" + std::string(3, '\0');
    const RunResult result = decode(garbage);
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("line 3"));
}

TEST(Decode, SaysWhyATraceCannotBeRead)
{
    for (const char *file : {"/nonexistent/wire.trace", "/dev/null", "/"})
        EXPECT_EQ(ptzctl_without_bus({"decode", file}).status, EXIT_REFUSED) << file;
    EXPECT_THAT(ptzctl_without_bus({"decode", "/nonexistent/wire.trace"}).errors, HasSubstr("No such file"));
    EXPECT_EQ(ptzctl_without_bus({"decode"}).status, EXIT_USAGE);
}
