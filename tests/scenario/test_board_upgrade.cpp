// Firmware upgrades of the simulated block.
#include "port/request.h"
#include "sim/upgrade.h"
#include "tests/scenario/board_fixture.h"

namespace {

class OnBoardWithFirmware : public OnBoard {
  protected:
    static constexpr int VERSION = 0x01020304;

    OnBoardWithFirmware() { put_image(VERSION, 70001); }

    bool up_to_date() { return running() && driver->fw_version == VERSION; }
};

TEST_F(OnBoardWithFirmware, IsUpgradedOnce)
{
    ASSERT_TRUE(board.command("fault refuse-chunk 12 2").ok);
    open();
    EXPECT_TRUE(up_to_date());
    EXPECT_EQ(log.count("info: Camera block firmware upgrade needed, starting upgrade."), 1);
    EXPECT_EQ(log.count("warning: Firmware upload retry count: 2"), 1);
    reset();
    EXPECT_TRUE(up_to_date());
    EXPECT_EQ(log.count("info: Camera block firmware upgrade is finished"), 1);
    EXPECT_EQ(board.offences(), sim::Counts{});
}

// The block tells a chunk that was given up from an offence by the time that a host waits.
TEST(RequestPatience, OfTheBlockIsTheTimeOutOfThePort)
{
    EXPECT_EQ(sim::kRequestPatienceUs, REQUEST_TIMEOUT_S * std::int64_t{1000000});
}

TEST_F(OnBoardWithFirmware, AnUpgradeCutOffAnywhereIsMadeUpFor)
{
    const std::string fatal = "error: Fatal error, could not upgrade camera block firmware";
    const std::string no_line = "error: Fatal error, camera block firmware upgrade could not be completed.\n";
    const std::pair<const char *, std::string> faults[] = {
        {"upgrade-cut start", fatal},
        {"upgrade-cut ready", fatal},
        {"upgrade-cut end", no_line},
        {"upgrade-ready never", fatal},
        {"refuse-chunks forever", fatal},
        {"fw-complete never", no_line},
        {"new-firmware never", "info: Camera block firmware upgrade is finished"},
    };
    open();
    const std::size_t descriptors = open_descriptors();
    for (const auto &[fault, message] : faults) {
        SCOPED_TRACE(fault);
        ASSERT_TRUE(board.command("clear faults").ok);
        ASSERT_TRUE(board.command("set firmware 01000000").ok);
        ASSERT_TRUE(board.command(std::string("fault ") + fault).ok);
        log.take();
        reset();
        EXPECT_EQ(log.count(message), 1);
        EXPECT_TRUE(running()); // the block's second boot decides
        ASSERT_TRUE(board.command("clear faults").ok);
        reset();
        EXPECT_TRUE(up_to_date());
        EXPECT_EQ(open_descriptors(), descriptors);
    }
}

} // namespace
