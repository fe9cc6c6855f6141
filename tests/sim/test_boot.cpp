// Power, reset and boot, as the host sees them on the lines.
#include "sim_fixture.h"

namespace {

using Boot = BoardTest;
using namespace sim;

TEST_F(Boot, LinesRiseOneAfterTheOtherAndFallTogether)
{
    walk({{"cam_power=1", 4'999, "cam_power_good", 0},
          {"cam_reset=0", 1, "cam_power_good", 1},
          {"cam_reset=1", 299'999, "cam_init_done", 0},
          {"", 0, "imc_req", 0},
          {"", 1, "cam_init_done", 1},
          {"", 0, "imc_req", 1}});
    drive({{{}, 0, {{0xF8, 29, 1, 0x02}}}, {{}, 500'000, {{0xF8, 29, 1, 0x00}}}}); // the lens finds its zero
    // In reset it is silent; stopping and cycling it, off or on, are no offences.
    walk({{"cam_reset=0", 0, "imc_req", 0}, {"", 0, "cam_init_done", 0}});
    EXPECT_EQ(spi->burst(Bytes(1024)), Bytes(1024));
    expect_offences({{"burst-without-request", 1}});
    walk({{"cam_power=0", 0, "cam_power_good", 0}});
    power_up();
}

TEST_F(Boot, EachWrongOrderIsNamed)
{
    for (const char *line : {"cam_pcie_clk", "cam_reset", "cam_reset_pcie", "fpga_reset"})
        drive_line(line, true);
    expect_offences({{"clock-on-without-power", 1},
                     {"reset-release-without-power", 1},
                     {"pcie-release-before-init-done", 1},
                     {"fpga-release-before-init-done", 1}});
    walk({{"cam_power=1", 305'000, "imc_req", 1},
          {"cam_pcie_clk=0", 0, "imc_req", 1},
          {"cam_power=0", 0, "imc_req", 0}});
    expect_offences({{"clock-off-out-of-reset", 1}, {"power-off-out-of-reset", 1}});
    EXPECT_EQ(drive_line("imc_req", true), -1);
    EXPECT_EQ(errno, EPERM);
    expect_offences({{"drove-an-input", 1}});
}

TEST_F(Boot, ARestartLosesSettingsButKeepsTheCaptureFrequency)
{
    power_up();
    for (const std::uint8_t frequency : {std::uint8_t{2}, std::uint8_t{1}}) {
        const int before = frequency == 2 ? 0 : 2;
        send({4, 0, 7, 0, 13, 5, 0, 8, 0, 0, 1});                      // sharpness 13, sensor halted
        drive({{{4, 2, 0x10, 0xEF, frequency}, 0, {{0x60, 31, 1, 1}}}, // being changed
               {{}, 1'000'000, {{0x60, 31, 1, 2}, {0x60, 30, 1, before}}}});
        EXPECT_TRUE(board.setting(Rec::sharpness)[0] == 13 && board.reading().sensor_halted);
        if (frequency == 2) {
            power_down();
            power_up();
        } else {
            send({5, 0, 8, 0, 0, 0}); // software reset
            walk({{"", 0, "cam_init_done", 0}, {"", 0, "imc_req", 0}, {"", 800'000, "imc_req", 1}});
        }
        EXPECT_FALSE(board.setting(Rec::sharpness)[0] != 0 || board.reading().sensor_halted);
        expect_status({{0x60, 30, 1, frequency}});
    }
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
    for (const char *key : {"PowerPinsActiveLow=true", "\nResetPinsActiveLow=false", "BigEndian=true"})
        EXPECT_NE((folder.read("krx_driver.conf") + folder.read("krx_port.conf")).find(key), std::string::npos) << key;
    walk({{"cam_power=0", 5'000, "cam_power_good", 1}, {"cam_reset=0", 300'000, "cam_init_done", 1}});
    const Bytes answer = spi->burst(Bytes(1024));
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 2), (Bytes{0x02, 0xF0})); // 752 bytes
}

} // namespace
