// The firmware loader on port 1, and images for it.
#include "sim_fixture.h"
#include "tests/support/process.h"

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
    Bytes send(const Bytes &payload)
    {
        const Answer answer = parse_answer(port1->burst(host_frame(payload)));
        return answer.good ? answer.run : Bytes();
    }
    static Bytes start(std::size_t length)
    {
        const auto byte = [length](int shift) { return static_cast<std::uint8_t>(length >> shift); };
        return {16, 1, 0, 12, 11, 2, 8, 17, 0xAA, 0x55, 0xAA, 0x55, byte(24), byte(16), byte(8), byte(0)};
    }
    static Bytes chunk(std::size_t index, const Bytes &image)
    {
        Bytes command{0xFF, 0x02, static_cast<std::uint8_t>(index >> 8), static_cast<std::uint8_t>(index)};
        const auto begin = image.begin() + static_cast<std::ptrdiff_t>(index * kChunk);
        command.insert(command.end(), begin, std::min(image.end(), begin + kChunk));
        return command;
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
        Bytes bytes(size, 0x77);
        const Bytes magic{'1', '3', '1', 0, 0, 0, 0, 0};
        const Bytes version{0x0D, 0x0C, 0x0B, 0x0A};
        std::copy(magic.begin(), magic.end(), bytes.begin());
        std::copy(version.begin(), version.end(), bytes.begin() + 40);
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
    struct Case {
        const char *offence;
        bool ready; // started, waited for, chunks 0 to 6 sent
        Bytes payload;
    };
    const Case cases[] = {
        {"upgrade-command", false, {0xFF, 0x04}},
        {"upgrade-command", false, {0xFF, 0x02, 0x00, 0x00}}, // no bytes
        {"upgrade-order", false, {0xFF, 0x01}},
        {"upgrade-order", false, {0xFF, 0x03}},
        {"upgrade-order", false, chunk(0, good)},
        {"upgrade-length", false, start(32'767 * kChunk + 1)},
        {"chunk-gap", true, chunk(8, good)},
        {"chunk-repeat", true, chunk(6, good)},
        {"chunk-repeat", true, chunk(2, good)}, // five back, but nothing was refused
        {"chunk-size", true, {0xFF, 0x02, 0x00, 0x07, 0x01}},
        {"upgrade-incomplete", true, {0xFF, 0x03}},
    };
    for (const Case &c : cases) {
        if (c.ready)
            start_with(7, good);
        send(c.payload);
        expect_offences({{c.offence, 1}});
        restart();
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

TEST_F(Loader, FailsWhereItIsToldAndKeepsTheOldFirmware)
{
    const Bytes good = image(1017);
    for (const std::string fault : {"upgrade-cut start", "upgrade-cut ready", "upgrade-cut 1", "upgrade-cut end",
                                    "upgrade-ready never", "new-firmware never", "silence 0s"}) {
        order("fault " + fault);
        start_with(0, good);
        send({0xFF, 0x01});
        start_with(2, good);
        send({0xFF, 0x03});
        walk({{"", 9'999'999, "cam_fw_complete", 0}}); // "silence 0s" is none: a reset just before the flash is written
        EXPECT_EQ(read_line("imc_req"), fault.starts_with("upgrade-cut") ? 0 : 1) << fault;
        if (!fault.starts_with("silence"))
            walk({{"", 1, "cam_fw_complete", fault.starts_with("new") ? 1 : 0}});
        restart();
        expect_firmware(0x01020003);
        order("clear");
        board.clear_offences(); // of a host that does not notice
    }
    order("fault fw-complete never");
    start_with(2, good);
    send({0xFF, 0x03});
    walk({{"", 60'000'000, "cam_fw_complete", 0}});
    restart();
    expect_firmware(0x0A0B0C0D);
}

TEST(KrxImage, MakesImagesAndRefusesNonsense)
{
    const TempFolder folder;
    const std::string path = folder.file("IMC.APP");
    const std::pair<std::vector<std::string>, int> cases[] = {{{"--version", "0x01020304", "--size", "2KiB", path}, 0},
                                                              {{"--version", "1", "--size", "127", path}, 2},
                                                              {{"--version", "1", "--size", "2GiB", path}, 2},
                                                              {{"--version", "1", "--size", "4M", path}, 2},
                                                              {{"--version", "0x100000000", path}, 2},
                                                              {{path}, 2},
                                                              {{"--version", "1"}, 2},
                                                              {{"--version", "1", "/proc/IMC.APP"}, 1},
                                                              {{"--help"}, 0}};
    for (auto [arguments, status] : cases) {
        arguments.insert(arguments.begin(), KRX_IMAGE);
        Process program(arguments, {}, folder.file("log"));
        EXPECT_EQ(program.wait(), status);
        EXPECT_GT(program.output().size(), 20u) << program.output();
    }
    const std::string file = folder.read("IMC.APP");
    EXPECT_EQ(file.size(), 2048u);
    EXPECT_EQ(file.substr(0, 8), std::string("131\0\0\0\0\0", 8));
    EXPECT_EQ(file.substr(40, 4), "\x04\x03\x02\x01");
}

} // namespace
