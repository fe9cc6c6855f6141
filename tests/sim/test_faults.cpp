// Misbehaviour on request: what the host sees, and that it is counted.
#include "sim_fixture.h"

namespace {

using namespace sim;
using Faults = RunningBoardTest;

TEST_F(Faults, AnswersAreSpoiledAsOftenAsAsked)
{
    constexpr std::size_t kWhole = 752;
    // The bytes of the run, when length and checksum are right all the same.
    const std::tuple<std::string, std::optional<std::pair<std::size_t, std::size_t>>> cases[] = {
        {"bad-checksum", {}},
        {"stretch-frame", {}},
        {"flip-bit", {}},
        {"garbage", {}},
        {"empty-frame", {{0, 0}}},
        {"cut-frame", {{1, kWhole}}},
        {"missing-block 40", {{1, kWhole - 1}}},
        {"garbage-blocks", {{kWhole, kWhole}}},
        {"zero-length-block", {{kWhole, kWhole}}}};
    const Bytes clean = status();
    for (const auto &[fault, sizes] : cases) {
        SCOPED_TRACE(fault);
        order("fault " + fault + " 2");
        for (int i = 0; i < 2; ++i) {
            const std::optional<Bytes> run = answered(spi->burst(Bytes(1024)));
            EXPECT_EQ(run.has_value(), sizes.has_value());
            EXPECT_TRUE(!run || (run->size() >= sizes->first && run->size() <= sizes->second));
            EXPECT_NE(run, clean);
        }
        EXPECT_EQ(status(), clean);
        EXPECT_EQ(board.faults()[fault.substr(0, fault.find(' '))], 2u);
    }
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
    walk({{"clear", 0, "cam_reset", 1}});
    EXPECT_EQ(board.faults(), (Counts{{"delay-edge", 1}, {"hold-request", 2}, {"silence", 1}, {"slow-boot", 1}}));
}

} // namespace
