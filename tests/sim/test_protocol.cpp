// What the block makes of frames, packets and records, typed by hand.
#include "sim_fixture.h"

#include "sim/records.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

using testing::ElementsAre;
using namespace sim;

using Protocol = RunningBoardTest;

TEST_F(Protocol, WhatIsDamagedIsCountedAndIgnored)
{
    const auto damaged = [](std::size_t at, std::uint8_t value) {
        Bytes frame = command({0x04, 0x00, 0x07, 0x00, 0x0A});
        frame[at] = value;
        return frame;
    };
    const std::pair<Bytes, const char *> cases[] = {
        {damaged(3, 0x00), "frame-checksum"},
        {damaged(0, 0x03), "packet-length"}, // 777 bytes; zeros leave the checksum right
        {damaged(0, 0x04), "frame-length"},  // 1033 bytes
        {host_frame({0x10, 0x02, 0x00, 0x05, 0x04, 0x00, 0x07, 0x00, 0x0A}), "packet-header"},
        {host_frame({0x10, 0x01, 0x00, 0x06, 0x04, 0x00, 0x07, 0x00, 0x0A}), "packet-length"},
        {host_frame({0x10, 0x01, 0x00, 0x00}), "packet-length"},
        {command({4, 0, 5, 0x0A, 1}), "record-unknown"},
        {command({5, 0, 7, 0, 10, 0}), "record-size"},
        {command({4, 0, 7, 0}), "record-length"},
        // Some stand right behind another.
        {command({4, 0, 3, 0x15, 12}), "record-order"},
        {command({4, 0, 3, 2, 12, 4, 0, 3, 0x15, 13}), "record-order"},
        {command({5, 0, 4, 5, 1, 0, 6, 0, 4, 8, 1, 1, 0}), "record-order"},
        {command({4, 0, 5, 0, 1, 4, 0, 5, 1, 1}), "record-order"},
        {command({4, 2, 8, 0x18, 1}), "record-order"},
    };
    for (const auto &[frame, offence] : cases) {
        spi->burst(frame);
        expect_offences({{offence, 1}});
    }
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
    spi->burst(damaged(1023, 0x01));
    expect_offences({{"frame-filler", 1}});
    // What is good in a payload counts.
    EXPECT_THAT(send({4, 0, 7, 0, 10, 4, 0, 7, 0x7F, 1}),
                ElementsAre("Sharpness 10", "Record 04 00 07 7F 01 [record-unknown]"));
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 10);
    expect_offences({{"record-unknown", 1}});
    // Both irises, the gains, the filter removed, 720 lines interlaced.
    send({4, 0, 3, 2, 12, 4, 0, 3, 0x15, 12, 5, 0, 4, 5, 1, 0, 6, 0, 4, 7, 1, 1, 0, 5, 0, 4, 6,    1,
          0, 6, 0, 4, 8,  1, 1, 0, 4,    0,  5, 0, 0, 4, 0, 5, 1, 1, 4, 2, 8, 4, 0, 4, 2, 8, 0x18, 1});
}

// The first or last value before one that does not exist, of every kind of record.
constexpr const char *kHighest =
    "0400010005 050001010800 0400010307 0400010403 0400010A40 0400010B02 040001100B "            // focus
    "050002010988 050002020B00 0400020307 050002061D00 "                                         // zoom
    "040003000B 0400030108 0400030220 0400030336 0400030420 0400030604 0400030708 0500030E3636 " // exposure
    "0400030F64 0B00031000F300F300E600E6 "
    "0400040017 0500040503FF 0500040603FF 050004800664 050004810664 0400048203 " // colour
    "0400050001 0400050204 0400050804 0400050904 "                               // day and night
    "0400060001 0400060101 0400070013 0400070113 0400070501 0400070613 0400070901 0400070A01 050008000100 "
    "07010200000186A0 07010300000186A0 0701080000029810 0701090000015F90 0B0104000002981000015F90 " // pan and tilt
    "0401050002 0402080301 0402080401 0402081701 0402081905 0402081D01 040210EF02";                 // video
constexpr const char *kLowest =
    "050001010478 04000301F8 0400030204 0400030F01 0B000310000D000D001A001A 07010200000000C8 07010300000000C8 "
    "0B010400FFFD67F0FFFFB1E0 07010800FFFD67F0 07010900FFFFB1E0 0401050001 040003030A 0400030002 0400040016 "
    "0400010403";

TEST_F(Protocol, ValuesAreGoodUpToTheirEndsAndGaps)
{
    for (const bool high : {true, false}) {
        std::istringstream records(high ? kHighest : kLowest);
        for (std::string digits; records >> digits;) {
            SCOPED_TRACE(digits);
            Bytes record;
            for (std::size_t i = 0; i < digits.size(); i += 2)
                record.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
            EXPECT_EQ(send(record).size(), 1u);
            EXPECT_EQ(board.offences(), Counts{});
            record.back() = static_cast<std::uint8_t>(record.back() + (high ? 1 : -1));
            if (high && record.back() == 0)
                ++record[record.size() - 2];
            send(record);
            expect_offences({{"value-range", 1}});
        }
    }
}

TEST_F(Protocol, RecordsAreToldInTheirOwnUnits)
{
    EXPECT_THAT(send({4,    0,    1,    0x0A, 64,   4,    0, 1,  0x10, 11,   5, 0,   2,  2,    0x0B, 0x00, 4,    0,
                      3,    1,    0xF8, 4,    0,    3,    2, 18, 4,    0,    3, 4,   32, 4,    0,    3,    7,    8,
                      5,    0,    3,    0x0E, 19,   54,   5, 0,  4,    0x80, 6, 100, 11, 1,    4,    0,    0xFF, 0xFD,
                      0x67, 0xF0, 0,    1,    0x5F, 0x90, 4, 2,  8,    0x19, 5, 4,   2,  0x10, 0xEF, 2}),
                ElementsAre("Auto focus sensitivity low", "Auto focus near limit 11 (2000 cm)",
                            "Zoom digital position 2816 (x12.00)", "Brightness level -8", "Iris level A 18 (F4.76)",
                            "Gain 32 (48.16 dB)", "Maximum gain 8 (48 dB)", "Shutter limits 19 (1/25 s) 54 (1/11000 s)",
                            "Colour level blue 100", "Pan/tilt position -170000 (-170.000 deg) 90000 (90.000 deg)",
                            "Capture frame rate 5 (30 fps)", "Sensor capture mode 2 (60 Hz)"));
}

TEST_F(Protocol, TheLinkIsCheckedToo)
{
    spi->transfer.delay_usecs = 0;
    status();
    expect_offences({{"spi-transfer", 1}});
    spi->transfer.delay_usecs = 1;
    std::uint32_t mode = 1;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_WR_MODE32, &mode), 0);
    status();
    expect_offences({{"spi-mode", 1}});
    mode = 9;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_WR_MODE32, &mode), 0);
    spi->burst(Bytes(2000));
    expect_offences({{"spi-length", 1}});
}

TEST_F(Protocol, ASmallBurstCarriesTheBlocksInTurn)
{
    // 196 bytes hold 0x60, 0x40 and, shortened, any of the others.
    std::vector<int> tags;
    for (int i = 0; i < 5; ++i) {
        const Bytes run = answered(spi->burst(Bytes(200))).value_or(Bytes());
        for (std::size_t at = 0; at < run.size(); at += 4u + static_cast<std::size_t>(run[at + 2] << 8) + run[at + 3])
            tags.push_back(run[at]);
    }
    EXPECT_THAT(tags, ElementsAre(0xF8, 0xE0, 0x60, 0x40, 0xF8, 0xE0, 0x60));
    EXPECT_TRUE(answered(spi->burst(Bytes(16))));
}

} // namespace
