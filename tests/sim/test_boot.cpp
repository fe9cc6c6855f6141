// Power, reset and boot, as the host sees them on the lines.
#include "sim_fixture.h"

namespace {

using Boot = BoardTest;
using namespace sim;

TEST_F(Boot, LinesRiseOneAfterTheOther)
{
    EXPECT_EQ(read_line("cam_power_good"), 0);
    drive_line("cam_power", true);
    board.advance(4'999);
    EXPECT_EQ(read_line("cam_power_good"), 0);
    board.advance(1);
    EXPECT_EQ(read_line("cam_power_good"), 1);
    EXPECT_EQ(board.reading().state, BlockState::held_in_reset);

    drive_line("cam_reset", true);
    board.advance(299'999);
    EXPECT_EQ(read_line("cam_init_done"), 0);
    EXPECT_EQ(read_line("imc_req"), 0);
    board.advance(1);
    EXPECT_EQ(read_line("cam_init_done"), 1);
    EXPECT_EQ(read_line("imc_req"), 1);
    EXPECT_EQ(board.reading().state, BlockState::running);
}

TEST_F(Boot, InResetOrWithoutPowerTheBlockIsSilent)
{
    power_up();
    drive_line("cam_reset", false);
    EXPECT_EQ(read_line("imc_req"), 0);
    EXPECT_EQ(read_line("cam_init_done"), 0);
    EXPECT_EQ(spi->burst(Bytes(1024)), Bytes(1024));
    expect_offences({{"burst-without-request", 1}});
    drive_line("cam_power", false);
    EXPECT_EQ(read_line("cam_power_good"), 0);
    EXPECT_EQ(board.reading().state, BlockState::off);
}

TEST_F(Boot, StoppingAndCyclingTheCameraAreNoOffences)
{
    power_up();
    // Stop: reset and power only.
    drive_line("cam_reset", false);
    drive_line("cam_power", false);
    // Cycle: everything, on a block that is off already.
    for (const char *line : {"fpga_reset", "cam_reset_pcie", "cam_reset", "cam_pcie_clk", "cam_power"})
        drive_line(line, false);
    power_up();
    EXPECT_EQ(read_line("imc_req"), 1);
}

TEST_F(Boot, EachWrongOrderIsNamed)
{
    drive_line("cam_pcie_clk", true);
    drive_line("cam_reset", true);
    drive_line("cam_reset_pcie", true);
    drive_line("fpga_reset", true);
    expect_offences({{"clock-on-without-power", 1},
                     {"reset-release-without-power", 1},
                     {"pcie-release-before-init-done", 1},
                     {"fpga-release-before-init-done", 1}});
    drive_line("cam_power", true);
    board.advance(305'000);
    EXPECT_EQ(board.reading().state, BlockState::running);
    drive_line("cam_pcie_clk", false);
    drive_line("cam_power", false);
    expect_offences({{"clock-off-out-of-reset", 1}, {"power-off-out-of-reset", 1}});
    EXPECT_EQ(drive_line("imc_req", true), -1);
    EXPECT_EQ(errno, EPERM);
    expect_offences({{"drove-an-input", 1}});
}

TEST_F(Boot, ARestartLosesSettingsButKeepsTheCaptureFrequency)
{
    const auto power_cycle = [this] {
        for (const char *line : {"fpga_reset", "cam_reset_pcie", "cam_reset", "cam_pcie_clk", "cam_power"})
            drive_line(line, false);
        power_up();
    };
    const auto software_reset = [this] {
        send({5, 0, 8, 0, 0, 0});
        EXPECT_EQ(read_line("cam_init_done"), 0);
        EXPECT_EQ(read_line("imc_req"), 0);
        board.advance(800'000);
    };
    power_up();
    for (const std::uint8_t frequency : {std::uint8_t{2}, std::uint8_t{1}}) {
        const std::int64_t before = field(status(), 0x60, 30, 1);
        send({4, 0, 7, 0, 13, 5, 0, 8, 0, 0, 1}); // sharpness 13, sensor halted
        send({4, 2, 0x10, 0xEF, frequency});
        EXPECT_EQ(field(status(), 0x60, 31, 1), 1); // being changed
        board.advance(1'000'000);
        EXPECT_EQ(field(status(), 0x60, 31, 1), 2);
        EXPECT_EQ(field(status(), 0x60, 30, 1), before);
        EXPECT_EQ(board.setting(Rec::sharpness)[0], 13);
        EXPECT_TRUE(board.reading().sensor_halted);
        if (frequency == 2)
            power_cycle();
        else
            software_reset();
        EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
        EXPECT_FALSE(board.reading().sensor_halted);
        EXPECT_EQ(field(status(), 0x60, 30, 1), frequency);
    }
}

TEST_F(Boot, TheLensIsBusyForAWhile)
{
    drive_line("cam_power", true);
    board.advance(5'000);
    drive_line("cam_reset", true);
    board.advance(300'000);
    EXPECT_EQ(field(status(), 0xF8, 29, 1), 0x02);
    board.advance(500'000);
    EXPECT_EQ(field(status(), 0xF8, 29, 1), 0x00);
}

class InvertedLines : public BoardTest {
  protected:
    InvertedLines()
        : BoardTest({.power_active_low = true,
                     .resets_active_low = false,
                     .fpga_reset_active_low = false,
                     .big_endian = true})
    {
    }
};

TEST_F(InvertedLines, PolarityAndByteOrderFollowTheOptions)
{
    EXPECT_NE(folder.read("krx_driver.conf").find("PowerPinsActiveLow=true"), std::string::npos);
    EXPECT_NE(folder.read("krx_driver.conf").find("\nResetPinsActiveLow=false"), std::string::npos);
    EXPECT_NE(folder.read("krx_port.conf").find("BigEndian=true"), std::string::npos);
    drive_line("cam_power", false);
    board.advance(5'000);
    drive_line("cam_reset", false);
    board.advance(300'000);
    const Bytes answer = spi->burst(Bytes(1024));
    ASSERT_EQ(answer.size(), 1024u);
    EXPECT_EQ(answer[0], 0x02); // 752 bytes
    EXPECT_EQ(answer[1], 0xF0);
}

} // namespace
