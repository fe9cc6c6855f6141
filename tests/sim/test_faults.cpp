// Misbehaviour on request: what the host sees, and that it is counted.
#include "sim_fixture.h"

#include <poll.h>
#include <unistd.h>

namespace {

using namespace sim;

class Faults : public BoardTest {
  protected:
    void SetUp() override
    {
        BoardTest::SetUp();
        power_up();
    }
    Answer read() { return parse_answer(spi->burst(Bytes(1024))); }
};

TEST_F(Faults, AnswersAreSpoiledAsOftenAsAsked)
{
    order("fault bad-checksum 2");
    EXPECT_FALSE(read().good);
    EXPECT_FALSE(read().good);
    EXPECT_TRUE(read().good);
    order("fault stretch-frame");
    const Bytes stretched = spi->burst(Bytes(1024));
    EXPECT_GT(stretched[0] | stretched[1] << 8, 1020);
    order("fault empty-frame");
    const Answer empty = read();
    EXPECT_TRUE(empty.good);
    EXPECT_TRUE(empty.run.empty());
    order("fault zero-length-block");
    EXPECT_EQ(field(read().run, 0xF8, 0, 1), 0xF8);
    order("fault cut-frame");
    const Answer cut = read();
    EXPECT_TRUE(cut.good);
    EXPECT_LT(cut.run.size(), 753u);
    order("fault garbage-blocks");
    EXPECT_TRUE(read().good);
    order("fault flip-bit");
    EXPECT_FALSE(read().good);
    order("fault garbage");
    EXPECT_FALSE(read().good);
    EXPECT_EQ(board.faults(), (Counts{{"bad-checksum", 2},
                                      {"cut-frame", 1},
                                      {"empty-frame", 1},
                                      {"flip-bit", 1},
                                      {"garbage", 1},
                                      {"garbage-blocks", 1},
                                      {"stretch-frame", 1},
                                      {"zero-length-block", 1}}));
}

TEST_F(Faults, TheSameSeedGivesTheSameFaults)
{
    const auto series = [this] {
        order("seed 42");
        order("fault garbage 3");
        Bytes all;
        for (int i = 0; i < 3; ++i) {
            const Bytes answer = spi->burst(Bytes(64));
            all.insert(all.end(), answer.begin(), answer.end());
        }
        return all;
    };
    const Bytes first = series();
    EXPECT_EQ(series(), first);
    EXPECT_NE(first, Bytes(192));
}

TEST_F(Faults, SilenceEndsByItself)
{
    order("fault silence 5s");
    EXPECT_EQ(read_line("imc_req"), 0);
    board.advance(4'999'999);
    EXPECT_EQ(read_line("imc_req"), 0);
    board.advance(1);
    EXPECT_EQ(read_line("imc_req"), 1);
    EXPECT_TRUE(read().good);
}

TEST_F(Faults, TheRequestLineCanBeHeldAndDelayed)
{
    order("fault hold-request low");
    EXPECT_EQ(read_line("imc_req"), 0);
    order("clear");
    EXPECT_EQ(read_line("imc_req"), 1);
    order("fault delay-edge 2ms 1");
    read();
    EXPECT_EQ(read_line("imc_req"), 0);
    board.advance(1'999);
    EXPECT_EQ(read_line("imc_req"), 0);
    board.advance(1);
    EXPECT_EQ(read_line("imc_req"), 1);
    read();
    EXPECT_EQ(read_line("imc_req"), 1);
    order("fault hold-request high");
    drive_line("cam_reset", false);
    EXPECT_EQ(read_line("imc_req"), 1);
}

TEST_F(Faults, ADroppedEdgeRaisesTheLineUnannounced)
{
    ugpio *line = ugpio_request_named("imc_req");
    ASSERT_EQ(ugpio_full_open(line), 0);
    ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    const int fd = ugpio_fd(line);
    ASSERT_EQ(ugpio_get_value(line), 1);
    order("fault drop-edge");
    read();
    pollfd entry{fd, POLLPRI, 0};
    EXPECT_EQ(poll(&entry, 1, 0), 0);
    EXPECT_EQ(ugpio_get_value(line), 1);
    read();
    EXPECT_EQ(poll(&entry, 1, 1000), 1);
    close(fd);
    ugpio_free(line);
}

TEST_F(Faults, PowerAndBootCanFail)
{
    drive_line("cam_reset", false);
    drive_line("cam_power", false);
    order("fault power-good never");
    drive_line("cam_power", true);
    board.advance(60'000'000);
    EXPECT_EQ(read_line("cam_power_good"), 0);
    order("clear faults");
    board.advance(5'000);
    EXPECT_EQ(read_line("cam_power_good"), 1);

    order("fault slow-boot 5s 1");
    drive_line("cam_reset", true);
    board.advance(4'999'999);
    EXPECT_EQ(read_line("cam_init_done"), 0);
    board.advance(1);
    EXPECT_EQ(read_line("cam_init_done"), 1);
    EXPECT_EQ(board.faults(), (Counts{{"power-good", 1}, {"slow-boot", 1}}));

    drive_line("cam_reset", false);
    order("fault init-done never");
    drive_line("cam_reset", true);
    board.advance(60'000'000);
    EXPECT_EQ(read_line("cam_init_done"), 0);
}

TEST_F(Faults, ALineCanBeRefused)
{
    order("fault refuse cam_reset");
    EXPECT_EQ(drive_line("cam_reset", false), -1);
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(read_line("cam_reset"), -1);
    order("clear");
    EXPECT_EQ(read_line("cam_reset"), 1);
}

} // namespace
