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
};

TEST_F(Faults, AnswersAreSpoiledAsOftenAsAsked)
{
    constexpr std::size_t kWhole = 752;
    struct Case {
        const char *name;
        bool good;            // length and checksum
        std::size_t from, to; // bytes of the run, when good
    };
    const Case cases[] = {{"bad-checksum", false, 0, 0},
                          {"stretch-frame", false, 0, 0},
                          {"flip-bit", false, 0, 0},
                          {"garbage", false, 0, 0},
                          {"empty-frame", true, 0, 0},
                          {"cut-frame", true, 1, kWhole},
                          {"garbage-blocks", true, kWhole, kWhole},
                          {"zero-length-block", true, kWhole, kWhole}};
    const Bytes clean = status();
    Counts counts;
    for (const Case &c : cases) {
        order(std::string("fault ") + c.name + " 2");
        for (int i = 0; i < 2; ++i) {
            const Answer answer = parse_answer(spi->burst(Bytes(1024)));
            EXPECT_EQ(answer.good, c.good) << c.name;
            EXPECT_TRUE(!c.good || (answer.run.size() >= c.from && answer.run.size() <= c.to)) << c.name;
            EXPECT_FALSE(answer.good && answer.run == clean) << c.name;
        }
        EXPECT_EQ(status(), clean) << c.name;
        counts[c.name] = 2;
    }
    EXPECT_EQ(board.faults(), counts);
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

TEST_F(Faults, LinesAreHeldDelayedAndSilent)
{
    walk({{"fault silence 5s", 4'999'999, "imc_req", 0},
          {"", 1, "imc_req", 1},
          {"burst", 0, "imc_req", 1},
          {"fault hold-request low", 0, "imc_req", 0},
          {"clear", 0, "imc_req", 1},
          {"fault delay-edge 2ms 1", 0, "imc_req", 1},
          {"burst", 1'999, "imc_req", 0},
          {"", 1, "imc_req", 1},
          {"burst", 0, "imc_req", 1},
          {"fault hold-request high", 0, "imc_req", 1},
          {"cam_reset=0", 0, "imc_req", 1}});
}

TEST_F(Faults, PowerAndBootCanFail)
{
    walk({{"cam_reset=0", 0, "imc_req", 0},
          {"cam_power=0", 0, "cam_power_good", 0},
          {"fault power-good never", 0, "cam_power_good", 0},
          {"cam_power=1", 60'000'000, "cam_power_good", 0},
          {"clear faults", 5'000, "cam_power_good", 1},
          {"fault slow-boot 5s 1", 0, "cam_init_done", 0},
          {"cam_reset=1", 4'999'999, "cam_init_done", 0},
          {"", 1, "cam_init_done", 1},
          {"cam_reset=0", 0, "cam_init_done", 0},
          {"fault init-done never", 0, "cam_init_done", 0},
          {"cam_reset=1", 60'000'000, "cam_init_done", 0}});
    EXPECT_EQ(board.faults(), (Counts{{"init-done", 1}, {"power-good", 1}, {"slow-boot", 1}}));
}

TEST_F(Faults, ADroppedEdgeRaisesTheLineUnannounced)
{
    ugpio *line = ugpio_request_named("imc_req");
    ASSERT_EQ(ugpio_full_open(line), 0);
    ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    pollfd entry{ugpio_fd(line), POLLPRI, 0};
    ASSERT_EQ(ugpio_get_value(line), 1);
    order("fault drop-edge");
    status();
    EXPECT_EQ(poll(&entry, 1, 0), 0);
    EXPECT_EQ(ugpio_get_value(line), 1);
    status();
    EXPECT_EQ(poll(&entry, 1, 1000), 1);
    close(entry.fd);
    ugpio_free(line);
}

TEST_F(Faults, ALineCanBeRefused)
{
    order("fault refuse cam_reset");
    EXPECT_EQ(drive_line("cam_reset", false), -1);
    EXPECT_EQ(errno, EBUSY);
    walk({{"", 0, "cam_reset", -1}, {"clear", 0, "cam_reset", 1}});
}

} // namespace
