// The firmware loader on port 1, and images for it.
#include "sim_fixture.h"
#include "tests/support/process.h"

#include <sstream>

namespace {

using namespace sim;

constexpr std::size_t kChunk = 1016;

class Loader : public RunningBoardTest {
  protected:
    void SetUp() override
    {
        RunningBoardTest::SetUp();
        port1 = std::make_unique<SpiHost>(folder.file("spi1"));
    }
    // Clocks a payload out; gives what the frame that comes in meanwhile carries.
    Bytes send(const Bytes &payload) { return answered(port1->burst(host_frame(payload))).value_or(Bytes()); }
    static Bytes start(std::size_t length)
    {
        return with_head({16, 1, 0, 12, 11, 2, 8, 17, 0xAA, 0x55, 0xAA, 0x55},
                         with_head({length >> 24, length >> 16, length >> 8, length}, {}));
    }
    static Bytes chunk(std::size_t index, const Bytes &image)
    {
        const auto begin = image.begin() + static_cast<std::ptrdiff_t>(index * kChunk);
        return with_head({0xFF, 0x02, index >> 8, index}, Bytes(begin, std::min(image.end(), begin + kChunk)));
    }
    // Starts, waits until it is ready and sends the first chunks.
    void start_with(std::size_t chunks, const Bytes &image)
    {
        send(start(image.size()));
        board.advance(4'000'000);
        for (std::size_t i = 0; i < chunks; ++i)
            send(chunk(i, image));
    }
    void restart()
    {
        drive_line("cam_reset", false);
        drive_line("cam_reset", true);
        board.advance(300'000);
    }
    void expect_firmware(std::int64_t version) { expect_status({{0x40, 4, 4, version}}); }

    // An image of version 0A0B0C0D by hand.
    static Bytes image(std::size_t size)
    {
        const Bytes unused(32, 0x77);
        const Bytes rest = with_head({0x0D, 0x0C, 0x0B, 0x0A}, Bytes(size - 44, 0x77));
        Bytes bytes = with_head({'1', '3', '1', 0, 0, 0, 0, 0}, unused);
        bytes.insert(bytes.end(), rest.begin(), rest.end());
        return bytes;
    }
    const Bytes kReady{0xFE, 0x00};
    const Bytes kBusy{0xFE, 0x01};
    std::unique_ptr<SpiHost> port1;
};

TEST_F(Loader, TakesAnImageAndRunsItFromTheNextBootOn)
{
    const Bytes small = image(2 * kChunk + 1);
    EXPECT_EQ(send({}), status()); // before the start port 1 answers as port 0 does
    send(start(small.size()));
    for (const auto &[us, answer] : {std::pair{3'999'999, kBusy}, {1, kReady}}) {
        board.advance(us);
        send({0xFF, 0x01});
        EXPECT_EQ(send({}), answer);
    }
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(send(chunk(i, small)), kReady) << i;
    send({0xFF, 0x03});
    walk({{"", 9'999'999, "cam_fw_complete", 0}, {"", 1, "cam_fw_complete", 1}});
    expect_firmware(0x01020003);
    restart();
    EXPECT_EQ(read_line("cam_fw_complete"), 0);
    expect_firmware(0x0A0B0C0D);

    // Another simulator on the folder finds what the block keeps; --force begins anew.
    BoardTest::send({4, 2, 0x10, 0xEF, 2});
    board.stop();
    for (const bool anew : {false, true}) {
        Board other({.folder = folder.path(), .manual_time = true, .overwrite_conf = anew});
        ASSERT_EQ(other.start(), std::nullopt);
        EXPECT_EQ(other.reading().firmware, anew ? 0x01020003u : 0x0A0B0C0Du);
        EXPECT_EQ(other.reading().sensor_frequency, anew ? 0u : 2u);
    }
}

TEST_F(Loader, EveryMistakeOfTheHostHasItsName)
{
    const Bytes good = image(9 * kChunk);
    // At once, and after the start, the wait and chunks 0 to 6.
    const std::pair<const char *, Bytes> cases[2][6] = {{{"upgrade-command", {0xFF, 0x04}},
                                                         {"upgrade-command", {0xFF, 0x02, 0x00, 0x00}}, // no bytes
                                                         {"upgrade-order", {0xFF, 0x01}},
                                                         {"upgrade-order", {0xFF, 0x03}},
                                                         {"upgrade-order", chunk(0, good)},
                                                         {"upgrade-length", start(32'767 * kChunk + 1)}},
                                                        {{"upgrade-length", start(127)},
                                                         {"chunk-gap", chunk(8, good)},
                                                         {"chunk-repeat", chunk(6, good)},
                                                         {"chunk-repeat", chunk(2, good)}, // nothing was refused
                                                         {"chunk-size", {0xFF, 0x02, 0x00, 0x07, 0x01}},
                                                         {"upgrade-incomplete", {0xFF, 0x03}}}};
    for (const auto &stage : cases) {
        for (const auto &[offence, payload] : stage) {
            if (&stage == &cases[1])
                start_with(7, good);
            send(payload);
            expect_offences({{offence, 1}});
            restart();
        }
    }
    start_with(9, Bytes(9 * kChunk, 0x55));
    send({0xFF, 0x03});
    expect_offences({{"upgrade-image", 1}});
    walk({{"", 60'000'000, "cam_fw_complete", 0}});
}

TEST_F(Loader, AFailedChunkHasTheHostStepBackFive)
{
    const Bytes good = image(20 * kChunk);
    for (const std::string fault :
         {"fault refuse-chunk 7", "fault refuse-chunks", "fault bad-checksum", "fault silence 11s"}) {
        start_with(7, good);
        order(fault);
        if (fault.ends_with("11s"))
            board.advance(11'000'000); // the line is low: the burst never comes
        else
            EXPECT_EQ(send(chunk(7, good)), Bytes()) << fault;
        for (std::size_t i = 2; i < 20; ++i)
            EXPECT_EQ(send(chunk(i, good)), kReady);
        EXPECT_EQ(board.offences(), Counts{}) << fault;
        restart();
    }
    // It does not excuse other bytes the second time.
    start_with(1, good);
    order("fault refuse-chunk 1");
    EXPECT_EQ(send(chunk(1, good)), Bytes{});
    send(chunk(0, Bytes(20 * kChunk, 1)));
    expect_offences({{"chunk-changed", 1}});
}

TEST_F(Loader, WhatIsCutOffLeavesTheOldFirmware)
{
    const Bytes good = image(1017);
    order("fault upgrade-cut 1");
    start_with(2, good);
    walk({{"", 60'000'000, "imc_req", 0}});
    restart();
    start_with(2, good);
    send({0xFF, 0x03});
    walk({{"", 9'999'999, "cam_fw_complete", 0}}); // the flash is not yet written
    restart();
    expect_firmware(0x01020003);
}

TEST(KrxImage, MakesImagesAndRefusesNonsense)
{
    const TempFolder folder;
    const std::string path = folder.file("IMC.APP");
    std::istringstream cases("0 --version 0x01020304 --size 2KiB PATH\n2 --version 1 --size 127 PATH\n"
                             "2 --version 1 --size 2GiB PATH\n2 --version 1 --size 4M PATH\n2 --version 1\n"
                             "2 --version 0x100000000 PATH\n2 PATH\n1 --version 1 /proc/IMC.APP\n0 --help\n");
    for (std::string line; std::getline(cases, line);) {
        std::istringstream words(line.substr(2));
        std::vector<std::string> arguments{KRX_IMAGE};
        for (std::string word; words >> word;)
            arguments.push_back(word == "PATH" ? path : word);
        Process program(arguments, {}, folder.file("log"));
        EXPECT_EQ(program.wait(), line.front() - '0') << line;
        EXPECT_GT(program.output().size(), 20u) << line;
    }
    const std::string file = folder.read("IMC.APP");
    EXPECT_EQ(file.size(), 2048u);
    EXPECT_EQ(file.substr(0, 8), std::string("131\0\0\0\0\0", 8));
    EXPECT_EQ(file.substr(40, 4), "\x04\x03\x02\x01");
}

} // namespace
