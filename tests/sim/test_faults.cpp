// Misbehaviour on request: what the host sees, and that it is counted.
#include "sim_fixture.h"

namespace {

using namespace sim;
using Faults = RunningBoardTest;

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
                          {"missing-block 40", true, 1, kWhole - 1},
                          {"garbage-blocks", true, kWhole, kWhole},
                          {"zero-length-block", true, kWhole, kWhole}};
    const Bytes clean = status();
    for (const Case &c : cases) {
        order(std::string("fault ") + c.name + " 2");
        for (int i = 0; i < 2; ++i) {
            const Answer answer = parse_answer(spi->burst(Bytes(1024)));
            EXPECT_EQ(answer.good, c.good) << c.name;
            EXPECT_TRUE(!c.good || (answer.run.size() >= c.from && answer.run.size() <= c.to)) << c.name;
            EXPECT_FALSE(answer.good && answer.run == clean) << c.name;
        }
        EXPECT_EQ(status(), clean) << c.name;
        EXPECT_EQ(board.faults()[std::string(c.name).substr(0, std::string(c.name).find(' '))], 2u) << c.name;
    }
    EXPECT_EQ(board.faults().size(), std::size(cases));
}

TEST_F(Faults, TheSameSeedGivesTheSameFaults)
{
    Bytes answers[2];
    for (Bytes &answer : answers) {
        order("seed 42");
        order("fault garbage 1");
        answer = spi->burst(Bytes(64));
    }
    EXPECT_EQ(answers[0], answers[1]);
    EXPECT_NE(answers[0], Bytes(64));
}

TEST_F(Faults, LinesAreHeldDelayedSilentAndRefused)
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
          {"cam_reset=0", 0, "imc_req", 1},
          {"fault slow-boot 5s 1", 0, "cam_init_done", 0},
          {"cam_reset=1", 4'999'999, "cam_init_done", 0},
          {"", 1, "cam_init_done", 1},
          {"fault refuse cam_reset", 0, "cam_reset", -1}});
    EXPECT_EQ(drive_line("cam_reset", false), -1);
    EXPECT_EQ(errno, EBUSY);
    walk({{"clear", 0, "cam_reset", 1},
          {"cam_reset=0", 0, "cam_init_done", 0},
          {"cam_power=0", 0, "cam_power_good", 0},
          {"fault power-good never", 0, "cam_power_good", 0},
          {"cam_power=1", 60'000'000, "cam_power_good", 0},
          {"clear faults", 5'000, "cam_power_good", 1}});
    EXPECT_EQ(board.faults(),
              (Counts{{"delay-edge", 1}, {"hold-request", 2}, {"power-good", 1}, {"silence", 1}, {"slow-boot", 1}}));
}

} // namespace
