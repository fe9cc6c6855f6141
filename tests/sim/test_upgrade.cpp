// The firmware loader on port 1.
#include "sim_fixture.h"

#include "sim/image.h"

namespace {

using namespace sim;

constexpr std::size_t kChunk = 1016;
const Bytes kReady{0xFE, 0x00};

class Loader : public BoardTest {
  protected:
    // Clocks a payload out; gives what the frame that comes in meanwhile carries.
    Bytes load(const Bytes &payload) { return answered(burst(host_frame(payload), "spi1")).value_or(Bytes()); }
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
    void expect_taken(std::size_t first, std::size_t end, const Bytes &image)
    {
        for (std::size_t i = first; i < end; ++i)
            EXPECT_EQ(load(chunk(i, image)), kReady) << i;
    }
    // Starts, waits until it is ready and sends the first chunks.
    void start_with(std::size_t chunks, const Bytes &image)
    {
        load(start(image.size()));
        board.advance(4'000'000);
        expect_taken(0, chunks, image);
    }
    void restart() { walk({{"cam_reset=0", 0, {}}, {"cam_reset=1", 300'000, {{"cam_fw_complete", 0}}}}); }
};

TEST_F(Loader, TakesAnImageAndRunsItFromTheNextBootOn)
{
    const Bytes small = make_image(0x0A0B0C0D, 2 * kChunk + 1);
    EXPECT_EQ(load({}), status()); // before the start port 1 answers as port 0 does
    load(start(small.size()));
    board.advance(3'999'999);
    EXPECT_EQ(load({0xFF, 0x01}), (Bytes{0xFE, 0x01})); // not yet
    for (const bool cut_off : {true, false}) {          // while the flash is written
        start_with(3, small);
        load({0xFF, 0x03});
        walk(
            {{"", 9'999'999, {{"cam_fw_complete", 0}}}, {"", cut_off ? 0 : 1, {{"cam_fw_complete", cut_off ? 0 : 1}}}});
        restart();
        walk({{"", 0, {{"40 4:4", cut_off ? 0x01020003 : 0x0A0B0C0D}}}});
    }
    // Another simulator on the folder finds what the block keeps; --force begins anew.
    send("040210EF02");
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
    const Bytes good = make_image(0x0A0B0C0D, 9 * kChunk);
    // After the start, the wait and so many chunks; at once with none.
    const std::tuple<std::size_t, const char *, Bytes> cases[] = {
        {0, "upgrade-command", {0xFF, 0x04}},
        {0, "upgrade-order", {0xFF, 0x01}},
        {0, "upgrade-order", {0xFF, 0x03}},
        {0, "upgrade-order", chunk(0, good)},
        {0, "upgrade-length", start(32'767 * kChunk + 1)},
        {0, "upgrade-length", start(127)},
        {7, "chunk-gap", chunk(8, good)},
        {7, "chunk-repeat", chunk(2, good)}, // nothing was refused
        {7, "chunk-size", {0xFF, 0x02, 0x00, 0x07, 0x01}},
        {7, "upgrade-incomplete", {0xFF, 0x03}}};
    for (const auto &[chunks, offence, payload] : cases) {
        if (chunks > 0)
            start_with(chunks, good);
        load(payload);
        expect_offences({{offence, 1}});
        restart();
    }
    start_with(9, Bytes(9 * kChunk, 0x55));
    load({0xFF, 0x03});
    expect_offences({{"upgrade-image", 1}});
    walk({{"", 60'000'000, {{"cam_fw_complete", 0}}}});
}

TEST_F(Loader, AFailedChunkHasTheHostStepBackFive)
{
    const Bytes good = make_image(0x0A0B0C0D, 20 * kChunk);
    start_with(7, good);
    walk({{"fault bad-checksum", 0, {}}});
    EXPECT_EQ(load(chunk(7, good)), Bytes());
    expect_taken(2, 7, good);
    walk({{"fault silence 11s", 11'000'000, {}}}); // the line is low: the burst never comes
    expect_taken(2, 7, good);
    // It does not excuse other bytes the second time.
    walk({{"fault refuse-chunk 7", 0, {}}});
    load(chunk(7, good));
    load(chunk(2, Bytes(20 * kChunk, 1)));
    expect_offences({{"chunk-changed", 1}});
    walk({{"fault upgrade-cut 3", 0, {}}});
    load(chunk(3, good));
    walk({{"", 60'000'000, {{"imc_req", 0}}}});
}

} // namespace
