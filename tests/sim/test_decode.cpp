// Packets and trace lines in words.
#include "sim_fixture.h"

#include "sim/trace.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

using sim::decode_packet;
using sim::decode_trace_line;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Decode, AStopOfEverythingIsThreeLines)
{
    const Bytes packet{0x10, 0x01, 0x00, 0x0E, 3, 0, 2, 0, 4, 1, 5, 0, 1, 4, 1, 5, 0, 2};
    EXPECT_THAT(decode_packet(packet), ElementsAre("Zoom stop", "Pan/tilt stop pan", "Pan/tilt stop tilt"));
    EXPECT_THAT(decode_packet({}), ElementsAre("Malformed packet [packet-header]"));
}

TEST(Decode, TraceLinesOfHostAndLoader)
{
    EXPECT_THAT(decode_trace_line("0.123456 port0 host 1024 0009FFD51001000504000700"
                                  "0A\n"),
                ElementsAre("Sharpness 10"));
    EXPECT_THAT(decode_trace_line("0.123456 port0 host 1024 "), IsEmpty());
    EXPECT_THAT(decode_trace_line("0.123456 port1 host 1024 0002FF00FF01"), ElementsAre("Upgrade ready query"));
    EXPECT_THAT(decode_trace_line("0.123456 port1 block 1024 020002FFFE"), ElementsAre("Upgrade ready"));
    EXPECT_THAT(decode_trace_line("0.123456 port0 host 1024 0009FFD4"),
                ElementsAre("Malformed frame [frame-checksum]"));
}

TEST(Decode, MalformedTraceLinesSayNothing)
{
    for (const char *text :
         {"", "#", "# 0.1 block off", "0.123456 port0 host", "0.1 port0 host 4 00", "x port0 host 4 00",
          "0.123456 port0 guest 4 00", "0.123456 port0 host 4 0", "0.123456 port0 host 4 0000000000",
          "0.123456 port0 host 4 0g", "0.123456 port0 host 99999999999 00", "0.123456 port0 host 4 00 00",
          "0.123456 port host 4 00", "0.-12345 port0 host 4 00"}) {
        sim::TraceLine line;
        EXPECT_FALSE(sim::parse_trace_line(text, line)) << text;
        EXPECT_THAT(decode_trace_line(text), IsEmpty()) << text;
    }
}

TEST(Decode, BrokenAnswersNeverReadTooFar)
{
    EXPECT_THAT(decode_trace_line("0.000000 port0 block 2 FF"), ElementsAre("Frame too short"));
    EXPECT_THAT(decode_trace_line("0.000000 port0 block 8 0500"),
                ElementsAre("Frame of 5 bytes does not fit its burst"));
    EXPECT_THAT(decode_trace_line("0.000000 port0 block 8 040001"), ElementsAre("Frame with a wrong checksum"));
    EXPECT_THAT(sim::decode_status(Bytes{0xE0, 0, 0}), ElementsAre("Block with a wrong length"));
    EXPECT_THAT(sim::decode_status(Bytes{0xE0, 0, 0, 9, 1}), ElementsAre("Block with a wrong length"));
    EXPECT_THAT(sim::decode_status(Bytes{0xF8, 0, 0, 1, 1, 0x77, 0, 0, 1, 1}),
                ElementsAre("Camera: zoom x0.00, view 0.00 deg, focus 0, lens status 00", "Unknown block 77, 5 bytes"));
}

TEST(Decode, ATraceFileOfARunIsReadBack)
{
    TempFolder folder;
    const Environment environment("PTZ_BOARD", folder.path());
    {
        sim::Board board({.folder = folder.path(), .manual_time = true, .trace_path = folder.file("trace")});
        ASSERT_EQ(board.start(), std::nullopt);
        drive_line("cam_power", true);
        board.advance(5'000);
        drive_line("cam_reset", true);
        board.advance(300'000);
        SpiHost(folder.file("spi0")).burst(command({4, 1, 5, 0, 2}));
    }
    std::istringstream trace(folder.read("trace"));
    std::string line;
    std::vector<std::string> words;
    std::vector<std::string> remarks;
    while (std::getline(trace, line)) {
        for (std::string &text : decode_trace_line(line))
            words.push_back(std::move(text));
        if (line.front() == '#')
            remarks.push_back(line);
    }
    EXPECT_THAT(words,
                ElementsAre("Pan/tilt stop tilt", "Camera: zoom x1.00, view 62.80 deg, focus 1400, lens status 02",
                            "Pan/tilt: pan 0.000 deg, tilt 0.000 deg, status 00",
                            "System: model 1, capture frequency 0, capture state 0", "Revisions: firmware 01020003"));
    EXPECT_EQ(remarks.front(), "# krx-sim trace 1: seconds port sender length bytes");
    EXPECT_THAT(remarks, testing::Contains("# 0.305000 block running"));
}

} // namespace
