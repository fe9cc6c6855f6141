// The moving parts, as they show in the status.
#include "sim_fixture.h"

namespace {

using namespace sim;

class Motion : public RunningBoardTest {
  protected:
    // What the block reports of an axis, its fields beginning at `offset`.
    static std::vector<Field> axis(std::size_t offset, int position, int target, int speed, int moving)
    {
        return {{0xE0, offset, 4, position},
                {0xE0, offset + 4, 4, target},
                {0xE0, offset + 32, 4, speed}, // a magnitude
                {0xE0, offset + 36, 4, speed},
                {0xE0, 4, 1, moving}};
    }
    static constexpr std::size_t kPan = 16;
    static constexpr std::size_t kTilt = 32;
};

TEST_F(Motion, AxesTravelAtTheirSpeedsToTheirTargetsAndStopAlone)
{
    drive({{{7, 1, 2, 0, 0, 0, 0x4E, 0x20, 7, 1, 8, 0, 0xFF, 0xFF, 0x63, 0xC0}, // 20 degrees/s to -40 degrees
            500'000,
            axis(kPan, -10'000, -40'000, 20'000, 0x01)},
           {{}, 1'500'000, axis(kPan, -40'000, -40'000, 0, 0x00)},
           {{7,    1, 2, 0, 0, 0, 0x27, 0x10, 7, 1, 3,    0,   0, 0, 0x27, 0x10, // 10 degrees/s each
             0x0B, 1, 4, 0, 0, 0, 0x75, 0x30, 0, 0, 0x75, 0x30},                 // to 30 degrees each
            1'000'000,
            axis(kPan, -30'000, 30'000, 10'000, 0x11)},
           {{4, 1, 5, 0, 1}, 1'000'000, axis(kPan, -30'000, -30'000, 0, 0x10)},
           {{}, 0, axis(kTilt, 20'000, 30'000, 10'000, 0x10)},
           {{4, 1, 5, 0, 2}, 0, axis(kTilt, 20'000, 20'000, 0, 0x00)}});
}

TEST_F(Motion, ANewSpeedAppliesAtOnceAndTheEndsHold)
{
    send({7, 1, 2, 0, 0, 0, 0x27, 0x10, 7, 1, 8, 0, 0, 2, 0xAB, 0x98}); // 10 degrees/s to 175 degrees
    expect_offences({{"value-range", 1}});
    board.advance(1'000'000);
    drive({{{7, 1, 2, 0, 0, 1, 0x86, 0xA0}, 1'000'000, axis(kPan, 110'000, 170'000, 100'000, 0x01)}, // 100 degrees/s
           {{}, 5'000'000, axis(kPan, 170'000, 170'000, 0, 0x00)}});
}

TEST_F(Motion, ZoomReportsMagnificationAndFieldOfView)
{
    drive({{{}, // exponents 11 and 10; x1; 62.80078125 and, 16:9, 37.90 degrees
            0,
            {{0xF8, 79, 1, 0xBA}, {0xF8, 88, 2, 2048}, {0xF8, 92, 2, 64'308}, {0xF8, 94, 2, 38'810}}},
           {{3, 0, 2, 0, 4, 0, 2, 3, 7, 5, 0, 2, 6, 0x1D, 0x00}, // x30 at full speed, now x15.5
            1'000'000,
            {{0xF8, 88, 2, 31'744}, {0xF8, 29, 1, 0x10}}},
           {{}, // x30, 2.33 degrees
            1'000'000,
            {{0xF8, 88, 2, 61'440}, {0xF8, 92, 2, 2'387}, {0xF8, 64, 2, 2'440}, {0xF8, 29, 1, 0x00}}}});
}

TEST_F(Motion, DigitalZoomBeginsWhereTheLensEnds)
{
    drive({{{3, 0, 2, 0, 4, 0, 2, 3, 7, 5, 0, 2, 2, 0x0B, 0x00}, 2'000'000, {{0xF8, 80, 2, 0}, {0xF8, 88, 2, 61'440}}},
           {{}, 1'000'000, {{0xF8, 80, 2, 2816}, {0xF8, 88, 2, 61'440}}},
           // A stop half-way back leaves it where it is: to optical position 0, slowest, 464 steps a second.
           {{4, 0, 2, 3, 0, 5, 0, 2, 1, 0x00, 0x00}, 3'000'000, {}},
           {{3, 0, 2, 0}, 1'000'000, {{0xF8, 80, 2, 2816 - 3 * 464}}}});
}

TEST_F(Motion, FocusDrivesBothWaysAndStops)
{
    order("set focus 1600");
    drive({{{4, 0, 1, 3, 7, 4, 0, 1, 0, 2}, 250'000, {{0xF8, 29, 1, 0x40}, {0xF8, 34, 2, 1374}}}, // 904 down a second
           {{4, 0, 1, 0, 1}, 1'000'000, {{0xF8, 34, 2, 1374}}},
           {{4, 0, 1, 0, 3}, 1'000'000, {{0xF8, 34, 2, 2048}}},
           {{5, 0, 1, 1, 0x05, 0x78}, 1'000'000, {{0xF8, 34, 2, 1400}}}});
}

// Iris + shutter - gain is four times the scene's light, as far as the limits let it.
TEST_F(Motion, AutomaticExposureSettlesOnTheSceneWithinItsLimits)
{
    send({4, 0, 3, 0, 3, 4, 0, 3, 2, 12, 4, 0, 3, 0x15, 12, 4, 0, 3, 3, 19, 4, 0, 3, 4, 32, 4, 0, 3, 1, 0xF8});
    expect_status({{0xF8, 103, 3, 12 << 16 | 19 << 8 | 32}, {0xF8, 121, 1, 0xF8}}); // all by hand, at once
    struct Case {
        const char *light;
        Bytes orders; // on top of those before
        int iris, shutter, gain;
    };
    const Case cases[] = {
        {"20", {4, 0, 3, 1, 0xF8}, 12, 19, 32},
        {"10", {4, 0, 3, 1, 0, 4, 0, 3, 0, 0}, 16, 24, 0},
        {"17", {4, 0, 3, 0, 0}, 32, 36, 0},
        {"22", {4, 0, 3, 0, 0}, 32, 54, 0},
        {"2", {4, 0, 3, 0, 0}, 4, 24, 20},
        {"2", {5, 0, 3, 0x0E, 19, 54}, 4, 19, 15},
        {"-7", {4, 0, 3, 7, 3}, 4, 19, 12},
        {"10", {5, 0, 3, 0x0E, 24, 54, 4, 0, 3, 1, 8}, 8, 24, 0},
        {"10", {4, 0, 3, 1, 0, 4, 0, 3, 3, 40, 4, 0, 3, 0, 5}, 4, 40, 4}, // shutter by hand
        {"10", {4, 0, 3, 2, 20, 4, 0, 3, 0, 4}, 20, 24, 4},               // iris by hand
        {"10", {4, 0, 3, 4, 8, 4, 0, 3, 0, 9}, 24, 24, 8},                // gain by hand
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.light) + " " + std::to_string(c.orders[3]));
        order(std::string("set scene-light ") + c.light);
        drive({{c.orders, 10'000'000, {{0xF8, 103, 3, c.iris << 16 | c.shutter << 8 | c.gain}}}});
    }
    // One code after another, the faster the higher the response.
    order("set scene-light 12"); // iris 32
    drive({{{}, 55'000, {{0xF8, 103, 1, 25}}}, {{4, 0, 3, 0x0F, 100}, 25'000, {{0xF8, 103, 1, 30}}}});
}

} // namespace
