// What the block makes of frames, packets and records, typed by hand.
#include "sim_fixture.h"

#include "sim/records.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using namespace sim;

class Protocol : public BoardTest {
  protected:
    void SetUp() override
    {
        BoardTest::SetUp();
        power_up();
    }
};

TEST_F(Protocol, AWholeFrameIsUnderstood)
{
    Bytes frame{0x00, 0x09, 0xFF, 0xD4, 0x10, 0x01, 0x00, 0x05, 0x04, 0x00, 0x07, 0x00, 0x0A};
    // 10+01+00+05 + 04+00+07+00+0A = 2B; 10000 - 2B = FFD5.
    frame[3] = 0xD5;
    frame.resize(1024);
    EXPECT_TRUE(parse_answer(spi->burst(frame)).good);
    EXPECT_THAT(board.take_heard(), ElementsAre("Sharpness 10"));
    EXPECT_THAT(board.take_packets(), ElementsAre(Bytes{0x04, 0x00, 0x07, 0x00, 0x0A}));
    EXPECT_EQ(board.records(), (Counts{{"Sharpness", 1}}));
}

TEST_F(Protocol, DamagedFramesAndPacketsAreCountedAndIgnored)
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
    };
    for (const auto &[frame, offence] : cases) {
        spi->burst(frame);
        expect_offences({{offence, 1}});
    }
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
    spi->burst(damaged(1023, 0x01));
    expect_offences({{"frame-filler", 1}});
}

TEST_F(Protocol, RecordsAreCheckedOneByOne)
{
    const std::tuple<Bytes, const char *, const char *> cases[] = {
        {{4, 0, 7, 0, 10, 4, 0, 7, 0x7F, 1}, "Record 04 00 07 7F 01 [record-unknown]", "record-unknown"},
        {{4, 0, 5, 0x0A, 1}, "Record 04 00 05 0A 01 [record-unknown]", "record-unknown"},
        {{5, 0, 7, 0, 10, 0}, "Sharpness 05 00 07 00 0A 00 [record-size]", "record-size"},
        {{4, 0, 7, 0}, "Record 04 00 07 00 [record-length]", "record-length"}};
    for (const auto &[records, words, offence] : cases) {
        EXPECT_EQ(send(records).back(), words);
        expect_offences({{offence, 1}});
    }
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 10); // what was good in a payload counts
}

// One record of every kind, its words, and a value that it must not carry (0: every value is good).
struct RowCase {
    Bytes good;
    const char *words;
    Bytes bad;
};

class Rows : public Protocol, public testing::WithParamInterface<RowCase> {};

TEST_P(Rows, GoodValuesPassAndOthersAreOffences)
{
    EXPECT_EQ(send(GetParam().good).back(), GetParam().words);
    EXPECT_EQ(board.offences(), Counts{});
    if (GetParam().bad.empty())
        return;
    send(GetParam().bad);
    expect_offences({{"value-range", 1}});
}

INSTANTIATE_TEST_SUITE_P(
    All, Rows,
    testing::Values(
        RowCase{{4, 0, 1, 0, 5}, "Focus mode one-push", {4, 0, 1, 0, 6}},
        RowCase{{5, 0, 1, 1, 0x08, 0x00}, "Focus position 2048", {5, 0, 1, 1, 0x04, 0x77}},
        RowCase{{4, 0, 1, 3, 7}, "Focus speed 7", {4, 0, 1, 3, 8}},
        RowCase{{4, 0, 1, 4, 3}, "IR correction on", {4, 0, 1, 4, 1}},
        RowCase{{4, 0, 1, 0x0A, 64}, "Auto focus sensitivity low", {4, 0, 1, 0x0A, 65}},
        RowCase{{4, 0, 1, 0x0B, 2}, "Auto focus mode interval", {4, 0, 1, 0x0B, 3}},
        RowCase{{4, 0, 1, 0x0C, 255}, "Auto focus interval time 255", {}},
        RowCase{{4, 0, 1, 0x0D, 0}, "Auto focus activity time 0", {}},
        RowCase{{4, 0, 1, 0x10, 11}, "Auto focus near limit 11 (2000 cm)", {4, 0, 1, 0x10, 255}},
        RowCase{{3, 0, 2, 0}, "Zoom stop", {}},
        RowCase{{5, 0, 2, 1, 0x09, 0x88}, "Zoom optical position 2440", {5, 0, 2, 1, 0x09, 0x89}},
        RowCase{{5, 0, 2, 2, 0x0B, 0x00}, "Zoom digital position 2816 (x12.00)", {5, 0, 2, 2, 0x0B, 0x01}},
        RowCase{{4, 0, 2, 3, 7}, "Zoom speed 7", {4, 0, 2, 3, 14}},
        RowCase{{5, 0, 2, 6, 0x1D, 0x00}, "Zoom magnification 7424 (x30.00)", {5, 0, 2, 6, 0x1D, 0x01}},
        RowCase{{4, 0, 3, 0, 11}, "Exposure mode dciris", {4, 0, 3, 0, 1}},
        RowCase{{4, 0, 3, 1, 0xF8}, "Brightness level -8", {4, 0, 3, 1, 0xF7}},
        RowCase{{4, 0, 3, 2, 18}, "Iris level A 18 (F4.76)", {4, 0, 3, 2, 33}},
        RowCase{{4, 0, 3, 3, 54}, "Shutter 54 (1/11000 s)", {4, 0, 3, 3, 9}},
        RowCase{{4, 0, 3, 4, 32}, "Gain 32 (48.16 dB)", {4, 0, 3, 4, 33}},
        RowCase{{4, 0, 3, 6, 4}, "Exposure window auto", {4, 0, 3, 6, 5}},
        RowCase{{4, 0, 3, 7, 8}, "Maximum gain 8 (48 dB)", {4, 0, 3, 7, 9}},
        RowCase{{5, 0, 3, 0x0E, 19, 54}, "Shutter limits 19 (1/25 s) 54 (1/11000 s)", {5, 0, 3, 0x0E, 19, 55}},
        RowCase{{4, 0, 3, 0x0F, 1}, "Auto exposure response 1", {4, 0, 3, 0x0F, 0}},
        RowCase{{11, 0, 3, 0x10, 0, 127, 0, 127, 0, 51, 0, 85},
                "Spot exposure position 127 127 51 85",
                {11, 0, 3, 0x10, 0, 12, 0, 127, 0, 51, 0, 85}},
        RowCase{{4, 0, 4, 0, 23}, "White balance mode mercury", {4, 0, 4, 0, 21}},
        RowCase{{5, 0, 4, 5, 0x03, 0xFF}, "White balance red gain 1023", {5, 0, 4, 5, 0x04, 0x00}},
        RowCase{{5, 0, 4, 6, 1, 0}, "White balance blue gain 256", {5, 0, 4, 6, 0x04, 0x00}},
        RowCase{{3, 0, 4, 9}, "One-push white balance", {}},
        RowCase{{5, 0, 4, 0x80, 6, 100}, "Colour level blue 100", {5, 0, 4, 0x80, 7, 100}},
        RowCase{{5, 0, 4, 0x81, 0, 100}, "Colour hue all 100", {5, 0, 4, 0x81, 0, 101}},
        RowCase{{4, 0, 4, 0x82, 3}, "Chroma suppression 3", {4, 0, 4, 0x82, 4}},
        RowCase{{4, 0, 5, 0, 1}, "Day/night mode automatic", {4, 0, 5, 0, 2}},
        RowCase{{4, 0, 5, 2, 4}, "Day/night threshold 4", {4, 0, 5, 2, 5}},
        RowCase{{4, 0, 5, 8, 4}, "Day/night hysteresis 4", {4, 0, 5, 8, 5}},
        RowCase{{4, 0, 5, 9, 4}, "Day/night waiting time 4", {4, 0, 5, 9, 5}},
        RowCase{{4, 0, 6, 0, 1}, "Image stabilization on", {4, 0, 6, 0, 2}},
        RowCase{{4, 0, 6, 1, 0}, "Distortion correction off", {4, 0, 6, 1, 2}},
        RowCase{{4, 0, 7, 0, 19}, "Sharpness 19", {4, 0, 7, 0, 20}},
        RowCase{{4, 0, 7, 1, 19}, "Noise reduction 19", {4, 0, 7, 1, 20}},
        RowCase{{4, 0, 7, 5, 1}, "Defog on", {4, 0, 7, 5, 2}},
        RowCase{{4, 0, 7, 6, 19}, "Defog effect 19", {4, 0, 7, 6, 20}},
        RowCase{{4, 0, 7, 9, 1}, "WDR on", {4, 0, 7, 9, 2}},
        RowCase{{4, 0, 7, 10, 1}, "Gamma straight", {4, 0, 7, 10, 2}},
        RowCase{{5, 0, 8, 0, 0, 1}, "System halt sensor", {5, 0, 8, 0, 1, 1}},
        RowCase{{7, 1, 2, 0, 0, 0, 0, 200}, "Pan speed 200 (0.200 deg/s)", {7, 1, 2, 0, 0, 0, 0, 199}},
        RowCase{{7, 1, 3, 0, 0, 1, 0x86, 0xA0}, "Tilt speed 100000 (100.000 deg/s)", {7, 1, 3, 0, 0, 1, 0x86, 0xA1}},
        RowCase{{11, 1, 4, 0, 0xFF, 0xFD, 0x67, 0xF0, 0, 1, 0x5F, 0x90},
                "Pan/tilt position -170000 (-170.000 deg) 90000 (90.000 deg)",
                {11, 1, 4, 0, 0, 0, 0, 0, 0, 1, 0x5F, 0x91}},
        RowCase{{4, 1, 5, 0, 1}, "Pan/tilt stop pan", {4, 1, 5, 0, 3}},
        RowCase{{7, 1, 8, 0, 0, 0, 0x30, 0xD4}, "Pan position 12500 (12.500 deg)", {7, 1, 8, 0, 0, 2, 0xAB, 0x98}},
        RowCase{{7, 1, 9, 0, 0xFF, 0xFF, 0xB1, 0xE0}, "Tilt position -20000 (-20.000 deg)", {7, 1, 9, 0, 0, 2, 0, 0}},
        RowCase{{4, 2, 8, 3, 1}, "Rotation 180 degrees", {4, 2, 8, 3, 2}},
        RowCase{{4, 2, 8, 4, 1}, "Video mode 1080 lines", {4, 2, 8, 4, 2}},
        RowCase{{4, 2, 8, 0x17, 1}, "Video output SDI", {4, 2, 8, 0x17, 2}},
        RowCase{{4, 2, 8, 0x19, 5}, "Capture frame rate 5 (30 fps)", {4, 2, 8, 0x19, 6}},
        RowCase{{4, 2, 8, 0x1D, 1}, "SDI mapping level B", {4, 2, 8, 0x1D, 2}},
        RowCase{{4, 2, 0x10, 0xEF, 2}, "Sensor capture mode 2 (60 Hz)", {4, 2, 0x10, 0xEF, 3}}));

TEST_F(Protocol, SomeRecordsStandRightBehindAnother)
{
    send({4, 0, 3, 2, 12, 4, 0, 3, 0x15, 12});     // both irises
    send({5, 0, 4, 5, 1, 0, 6, 0, 4, 7, 1, 1, 0}); // red gain
    send({5, 0, 4, 6, 1, 0, 6, 0, 4, 8, 1, 1, 0}); // blue gain
    send({4, 0, 5, 0, 0, 4, 0, 5, 1, 1});          // fixed, filter removed
    send({4, 2, 8, 4, 0, 4, 2, 8, 0x18, 1});       // 720 lines, interlaced
    EXPECT_EQ(board.offences(), Counts{});
    send({4, 0, 3, 0x15, 12});
    send({4, 0, 3, 2, 12, 4, 0, 3, 0x15, 13});
    send({5, 0, 4, 5, 1, 0, 6, 0, 4, 8, 1, 1, 0});
    send({4, 0, 5, 0, 1, 4, 0, 5, 1, 1});
    send({4, 2, 8, 0x18, 1});
    expect_offences({{"record-order", 5}});
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
    SpiHost second(folder.file("spi1"));
    second.burst(host_frame({0xFF, 0x01}));
    expect_offences({{"upgrade-order", 1}});
}

TEST_F(Protocol, ASmallBurstCarriesTheBlocksInTurn)
{
    // 196 bytes hold 0x60, 0x40 and, shortened, any of the others.
    std::vector<int> tags;
    for (int i = 0; i < 5; ++i) {
        const Answer answer = parse_answer(spi->burst(Bytes(200)));
        ASSERT_TRUE(answer.good);
        for (std::size_t at = 0; at < answer.run.size();
             at += 4 + static_cast<std::size_t>(answer.run[at + 2] << 8) + answer.run[at + 3])
            tags.push_back(answer.run[at]);
    }
    EXPECT_THAT(tags, ElementsAre(0xF8, 0xE0, 0x60, 0x40, 0xF8, 0xE0, 0x60));
    EXPECT_TRUE(parse_answer(spi->burst(Bytes(16))).good);
}

} // namespace
