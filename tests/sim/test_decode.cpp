// Packets and trace lines in words.
#include "sim_fixture.h"

#include "sim/trace.h"

#include <gmock/gmock.h>

namespace {

using sim::decode_trace_line;
using testing::ElementsAre;
using Decode = RunningBoardTest;
using Words = std::vector<std::string>;

TEST_F(Decode, PutsFramesOfHostBlockAndLoaderIntoWords)
{
    const std::pair<const char *, Words> cases[] = {
        {"port0 host 1024 0009FFD510010005040007000A\n", {"Sharpness 10"}},
        {"port0 host 1024 0012FFC51001000E0300020004010500010401050002",
         {"Zoom stop", "Pan/tilt stop pan", "Pan/tilt stop tilt"}},
        {"port0 host 1024 ", {}},
        {"port0 host 1024 0009FFD4", {"Malformed frame [frame-checksum]"}},
        {"port1 host 1024 0002FF00FF01", {"Upgrade ready query"}},
        {"port1 block 1024 020002FFFE", {"Upgrade ready"}},
        {"port0 block 2 FF", {"Frame too short"}},
        {"port0 block 8 0500", {"Frame of 5 bytes does not fit its burst"}},
        {"port0 block 8 040001", {"Frame with a wrong checksum"}},
        {"port0 block 8 030020FFE0", {"Block with a wrong length"}},
        {"port0 block 12 050016FFE000000901", {"Block with a wrong length"}},
        {"port0 block 16 0A008DFEF8000001017700000101",
         {"Camera: zoom x0.00, view 0.00 deg, focus 0, lens status 00", "Unknown block 77, 5 bytes"}},
    };
    for (const auto &[line, words] : cases)
        EXPECT_EQ(decode_trace_line(std::string("0.123456 ") + line), words) << line;
    EXPECT_THAT(sim::decode_packet({}), ElementsAre("Malformed packet [packet-header]"));
}

TEST_F(Decode, MalformedTraceLinesSayNothing)
{
    for (const char *text :
         {"", "#", "# 0.1 block off", "0.123456 port0 host", "0.1 port0 host 4 00", "x port0 host 4 00",
          "0.123456 port0 guest 4 00", "0.123456 port0 host 4 0", "0.123456 port0 host 4 0000000000",
          "0.123456 port0 host 4 0g", "0.123456 port0 host 99999999999 00", "0.123456 port0 host 4 00 00",
          "0.123456 port host 4 00", "0.-12345 port0 host 4 00"}) {
        sim::TraceLine line;
        EXPECT_FALSE(sim::parse_trace_line(text, line)) << text;
        EXPECT_EQ(decode_trace_line(text), Words()) << text;
    }
}

TEST_F(Decode, TheStatusIsOneLineABlock)
{
    EXPECT_THAT(sim::decode_status(status()),
                ElementsAre("Camera: zoom x1.00, view 62.80 deg, focus 1400, lens status 00",
                            "Pan/tilt: pan 0.000 deg, tilt 0.000 deg, status 00",
                            "System: model 1, capture frequency 0, capture state 0", "Revisions: firmware 01020003"));
}

} // namespace
