// The block by itself: power, reset and boot on the lines, the moving parts in the status.
#include "sim_fixture.h"

namespace {

using namespace sim;
using Boot = BoardTest;
using Motion = BoardTest;

TEST_F(Boot, LinesRiseOneAfterTheOtherAndFallTogether)
{
    power(false);
    walk({{"cam_power=1", 4'999, {{"cam_power_good", 0}}},
          {"", 1, {{"cam_power_good", 1}}},
          {"cam_reset=1", 299'999, {{"cam_init_done", 0}, {"imc_req", 0}}},
          {"", 1, {{"cam_init_done", 1}, {"imc_req", 1}, {"F8 29:1", 0x02}}}, // the lens finds its zero
          {"", 500'000, {{"F8 29:1", 0x00}}},
          {"cam_reset=0", 0, {{"imc_req", 0}, {"cam_init_done", 0}}}});
    EXPECT_EQ(burst(Bytes(1024)), Bytes(1024)); // in reset it is silent
    expect_offences({{"burst-without-request", 1}});
    walk({{"cam_power=0", 0, {{"cam_power_good", 0}}}});
}

TEST_F(Boot, EachWrongOrderIsNamed)
{
    power(false);
    for (const char *line : {"cam_pcie_clk", "cam_reset", "cam_reset_pcie", "fpga_reset"})
        drive_line(line, true);
    expect_offences({{"clock-on-without-power", 1},
                     {"reset-release-without-power", 1},
                     {"pcie-release-before-init-done", 1},
                     {"fpga-release-before-init-done", 1}});
    walk({{"cam_power=1", 305'000, {{"imc_req", 1}}}, {"cam_pcie_clk=0", 0, {}}, {"cam_power=0", 0, {{"imc_req", 0}}}});
    EXPECT_EQ(drive_line("imc_req", true), -1);
    EXPECT_EQ(errno, EPERM);
    expect_offences({{"clock-off-out-of-reset", 1}, {"power-off-out-of-reset", 1}, {"drove-an-input", 1}});
}

TEST_F(Boot, ARestartLosesSettingsButKeepsTheCaptureFrequency)
{
    walk({{"040007000D 040210EF02", 0, {{"60 31:1", 1}}}, // sharpness 13; 60 Hz, being changed
          {"", 1'000'000, {{"60 31:1", 2}, {"60 30:1", 0}}}});
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 13);
    walk({{"050008000000", 0, {{"cam_init_done", 0}, {"imc_req", 0}}}, // software reset
          {"", 800'000, {{"imc_req", 1}, {"60 30:1", 2}}}});
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
    walk({{"040007000D", 0, {}}, // and once by itself, with the host's next burst
          {"fault reboot", 0, {{"F8 29:1", 0x00}, {"cam_init_done", 0}, {"imc_req", 0}}},
          {"", 300'000, {{"imc_req", 1}, {"F8 29:1", 0x02}}},
          {"", 500'000, {{"F8 29:1", 0x00}}}});
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
}

// Of each axis: position, target, speed (a magnitude), what moves.
TEST_F(Motion, AxesTravelAtTheirSpeedsToTheirTargetsAndStopAlone)
{
    walk({{"0701020000004E20 07010800FFFF63C0", // pan at 20 degrees/s to -40 degrees
           500'000,
           {{"E0 16:4", -10'000}, {"E0 20:4", -40'000}, {"E0 48:4", 20'000}, {"E0 4:1", 0x01}}},
          {"", 1'500'000, {{"E0 16:4", -40'000}, {"E0 48:4", 0}, {"E0 4:1", 0x00}}},
          {"0701020000002710 0701030000002710 0B010400000075300000 7530", // 10 degrees/s each to 30 degrees each
           1'000'000,
           {{"E0 16:4", -30'000}, {"E0 32:4", 10'000}, {"E0 64:4", 10'000}, {"E0 4:1", 0x11}}},
          {"0401050001", 1'000'000, {{"E0 16:4", -30'000}, {"E0 20:4", -30'000}, {"E0 4:1", 0x10}}},
          {"0401050002", 0, {{"E0 32:4", 20'000}, {"E0 36:4", 20'000}, {"E0 4:1", 0x00}}},
          {"070108000002AB98", 1'000'000, {{"E0 16:4", -20'000}, {"E0 20:4", 170'000}}}, // to 175 degrees
          {"07010200000186A0", 1'000'000, {{"E0 16:4", 80'000}}}});                      // faster, at once
    expect_offences({{"value-range", 1}});
}

TEST_F(Motion, LensReportsMagnificationFieldOfViewAndFocus)
{
    // Exponents 11 and 10; x1; 62.80078125 and, 16:9, 37.90 degrees.
    walk({{"", 0, {{"F8 79:1", 0xBA}, {"F8 88:2", 2048}, {"F8 92:2", 64'308}, {"F8 94:2", 38'810}}},
          {"0400020307 050002020B00", 1'000'000, {{"F8 88:2", 31'744}, {"F8 29:1", 0x10}}}, // to x30 x 12, full speed
          {"", 2'000'000, {{"F8 88:2", 61'440}, {"F8 92:2", 199}, {"F8 80:2", 2816}, {"F8 29:1", 0x00}}},
          // A stop half-way back leaves it where it is: to optical position 0, slowest, 464 steps a second.
          {"0400020300 050002010000", 3'000'000, {}},
          {"03000200", 1'000'000, {{"F8 80:2", 2816 - 3 * 464}}},
          {"0400010307 050001010640", 1'000'000, {{"F8 34:2", 1600}}},
          {"0400010002", 250'000, {{"F8 29:1", 0x40}, {"F8 34:2", 1374}}}, // 904 down a second
          {"0400010001", 1'000'000, {{"F8 34:2", 1374}}}});
}

// Iris + shutter - gain is four times the scene's light, as far as the limits let it.
TEST_F(Motion, AutomaticExposureSettlesOnTheSceneWithinItsLimits)
{
    walk({{"set scene-light 22", 10'000'000, {{"F8 103:3", 32 << 16 | 54 << 8 | 0}}},
          {"set scene-light 2", 10'000'000, {{"F8 103:3", 4 << 16 | 24 << 8 | 20}}},
          {"0500030E1336", 10'000'000, {{"F8 103:3", 4 << 16 | 19 << 8 | 15}}},            // slower shutter
          {"0400030328 0400030005", 10'000'000, {{"F8 103:3", 4 << 16 | 40 << 8 | 32}}}}); // shutter by hand
}

} // namespace
