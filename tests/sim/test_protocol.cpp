// What the block makes of frames, packets and records, typed by hand, and the same in words.
#include "sim_fixture.h"

#include "sim/records.h"
#include "sim/trace.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

using testing::ElementsAre;
using namespace sim;
using Protocol = BoardTest;

TEST_F(Protocol, WhatIsDamagedIsCountedAndIgnored)
{
    const auto damaged = [](std::size_t at, std::uint8_t value) {
        Bytes frame = command("040007000A");
        frame[at] = value;
        return frame;
    };
    const std::pair<const char *, Bytes> cases[] = {
        {"frame-checksum", damaged(3, 0x00)},
        {"packet-length", damaged(0, 0x03)}, // 777 bytes; zeros leave the checksum right
        {"frame-length", damaged(0, 0x04)},  // 1033 bytes
        {"packet-header", host_frame(hex("10020005040007000A"))},
        {"packet-length", host_frame(hex("10010000"))},
        {"record-unknown", command("0400050A01")},
        {"record-size", command("050007000A00")},
        {"record-length", command("04000700")},
        // Some stand right behind another.
        {"record-order", command("040003150C")},
        {"record-order", command("040003020C 040003150D")},
        {"record-order", command("0400050001 0400050101")},
        {"record-order", command("0402081801")}};
    for (const auto &[offence, frame] : cases) {
        burst(frame);
        expect_offences({{offence, 1}});
    }
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
    burst(damaged(1023, 0x01));
    // What is good in a payload counts.
    EXPECT_THAT(send("040007000D 0400077F01"), ElementsAre("Sharpness 13", "Record 04 00 07 7F 01 [record-unknown]"));
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 13);
    mode = 1;
    transfer.delay_usecs = 0;
    burst(Bytes(1921));
    expect_offences(
        {{"frame-filler", 1}, {"record-unknown", 1}, {"spi-mode", 1}, {"spi-transfer", 1}, {"spi-length", 1}});
}

// The first or last value before one that does not exist, of every kind of record.
constexpr const char *kHighest =
    "0400010005 050001010800 0400010307 0400010403 0400010A40 0400010B02 040001100B 050002010988 050002020B00 "
    "0400020307 050002061D00 040003000B 0400030108 0400030220 0400030336 0400030420 0400030604 0400030708 "
    "0500030E3636 0400030F64 0B00031000F300F300E600E6 0400040017 0500040503FF 050004800664 050004810664 0400048203 "
    "0400050001 0400050204 0400050804 0400060001 0400060101 0400070013 0400070113 0400070501 0400070613 0400070901 "
    "0400070A01 050008000100 07010200000186A0 0701080000029810 0701090000015F90 0B0104000002981000015F90 "
    "0401050002 0402080301 0402080401 0402081701 0402081905 0402081D01 040210EF02";
constexpr const char *kLowest =
    "050001010478 04000301F8 0400030204 0400030F01 0B000310000D000D001A001A 07010200000000C8 "
    "0B010400FFFD67F0FFFFB1E0 07010800FFFD67F0 0401050001 040003030A 0400030002 0400040016 0400010403";

TEST_F(Protocol, ValuesAreGoodUpToTheirEndsAndGaps)
{
    for (const char *ends : {kHighest, kLowest}) {
        std::istringstream records(ends);
        for (std::string record; records >> record;) {
            SCOPED_TRACE(record);
            send(record);
            const auto bad = std::stoull(record.substr(8), nullptr, 16) + (ends == kHighest ? 1 : -1ull);
            char digits[20];
            std::snprintf(digits, sizeof digits, "%016llX", bad);
            send(record.substr(0, 8) + std::string(digits).substr(24 - record.size()));
            expect_offences({{"value-range", 1}});
        }
    }
}

TEST_F(Protocol, StatusAndRecordsAreToldInTheirOwnUnits)
{
    EXPECT_THAT(decode_status(status()),
                ElementsAre("Camera: zoom x1.00, view 62.80 deg, focus 1400, lens status 00",
                            "Pan/tilt: pan 0.000 deg, tilt 0.000 deg, status 00",
                            "System: model 1, capture frequency 0, capture state 0", "Revisions: firmware 01020003"));
    EXPECT_THAT(send("0400010A40 040001100B 050002020B00 04000301F8 0400030212 0400030420 0400030708 0500030E1336 "
                     "050004800664 0B010400FFFD67F000015F90 0402081905 040210EF02"),
                ElementsAre("Auto focus sensitivity low", "Auto focus near limit 11 (2000 cm)",
                            "Zoom digital position 2816 (x12.00)", "Brightness level -8", "Iris level A 18 (F4.76)",
                            "Gain 32 (48.16 dB)", "Maximum gain 8 (48 dB)", "Shutter limits 19 (1/25 s) 54 (1/11000 s)",
                            "Colour level blue 100", "Pan/tilt position -170000 (-170.000 deg) 90000 (90.000 deg)",
                            "Capture frame rate 5 (30 fps)", "Sensor capture mode 2 (60 Hz)"));
}

TEST(Decode, PutsFramesOfHostBlockAndLoaderIntoWords)
{
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"port0 host 1024 0012FFC51001000E0300020004010500010401050002\n",
         {"Zoom stop", "Pan/tilt stop pan", "Pan/tilt stop tilt"}},
        {"port0 host 1024 0009FFD4", {"Malformed frame [frame-checksum]"}},
        {"port1 host 1024 0002FF00FF01", {"Upgrade ready query"}},
        {"port1 block 1024 020002FFFE", {"Upgrade ready"}},
        {"port0 block 8 0500", {"Frame of 5 bytes does not fit its burst"}},
        {"port0 block 8 040001", {"Frame with a wrong checksum"}},
        {"port0 block 12 050016FFE000000901", {"Block with a wrong length"}},
        {"port0 block 16 0A008DFEF8000001017700000101",
         {"Camera: zoom x0.00, view 0.00 deg, focus 0, lens status 00", "Unknown block 77, 5 bytes"}},
        {"port0 error 110\n", {"The transfer failed: Connection timed out"}},
        {"line cam_power host high\n", {"cam_power high"}},
        {"call SetParameter ('Limit', 'MaxZoom', <5>)\n", {"SetParameter ('Limit', 'MaxZoom', <5>)"}},
        {"told com.orna.Streamer Rotation <0>", {"com.orna.Streamer Rotation <0>"}},
        {"close", {"The host was told to end"}}};
    TraceLine line;
    for (const auto &[text, words] : cases) {
        ASSERT_TRUE(parse_trace_line(std::string("0.123456 ") + text, line)) << text;
        EXPECT_EQ(decode_trace_line(line), words) << text;
    }
    // Malformed lines say nothing.
    for (const char *text :
         {"0.123456 port0 host", "0.1 port0 host 4 00", "0.123456 port0 guest 4 00", "0.123456 port0 host 4 0",
          "0.123456 port0 host 4 0000000000", "0.123456 port0 host 4 0g", "0.123456 port0 host 4 00 00",
          "0.-12345 port0 host 4 00", "0.123456 port0 error", "0.123456 line", "0.123456 line cam_power host",
          "0.123456 line cam_power host up", "0.123456 told com.orna.Streamer", "0.123456 close now", "0.123456 shut"})
        EXPECT_FALSE(parse_trace_line(text, line)) << text;
}

TEST(Trace, KeepsTheLastOfItInTwoFilesThatSayTheirByteOrder)
{
    const TempFolder folder;
    Journal journal;
    ASSERT_TRUE(journal.open_trace(folder.file("trace"), true, 2000));
    for (int i = 0; i < 100; i++)
        journal.note(i * 1'000'000, Detail::records, std::string(40, 'x'));
    for (const char *name : {"trace", "trace.1"}) {
        const std::string text = folder.read(name);
        EXPECT_THAT(text, testing::HasSubstr("bytes\n# byte order: big endian\n# ")) << name;
        EXPECT_LT(text.size(), 1100u) << name;
    }
    EXPECT_NE((folder.read("trace.1") + folder.read("trace")).find("# 98.000000 x"), std::string::npos);
    EXPECT_NE(folder.read("trace").find("# 99.000000 x"), std::string::npos);
}

} // namespace
