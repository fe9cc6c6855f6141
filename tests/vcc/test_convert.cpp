#include "tests/support/capture.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/vccif_convert.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

const CameraModel *const krx131 = vccif_model_krx131();

struct DegreeCase {
    float degree;
    int position;
};

TEST(Pan, DegreesBecomeThousandthsInSinglePrecision)
{
    // 33.3, 59.1 and 100.1 lie a little below: double precision would give 33299, 59099 and 100099.
    const DegreeCase cases[] = {{-170.0f, -170000}, {170.0f, 170000}, {0.0f, 0},        {12.5f, 12500},
                                {33.3f, 33300},     {59.1f, 59100},   {-59.1f, -59100}, {100.1f, 100100},
                                {-0.5f, -500},      {175.0f, 175000}};
    for (const DegreeCase &c : cases)
        EXPECT_EQ(vccif_degree_to_vcc_pan(krx131, c.degree), c.position) << c.degree;
    EXPECT_EQ(vccif_vcc_to_degree_pan(krx131, -170000), -170.0f);
    EXPECT_EQ(vccif_vcc_to_degree_pan(krx131, 12500), 12.5f);
    EXPECT_EQ(vccif_vcc_to_degree_pan(krx131, 170000), 170.0f);
}

TEST(Pan, ImpossibleDegreesStayIntegers)
{
    EXPECT_EQ(vccif_degree_to_vcc_pan(krx131, 1e12f), 2147483647);
    EXPECT_EQ(vccif_degree_to_vcc_pan(krx131, -1e12f), -2147483647 - 1);
}

TEST(Tilt, DegreesBecomeThousandthsInSinglePrecision)
{
    const DegreeCase cases[] = {{-20.0f, -20000}, {90.0f, 90000}, {0.0f, 0},
                                {33.3f, 33300},   {45.5f, 45500}, {-0.3f, -300}};
    for (const DegreeCase &c : cases)
        EXPECT_EQ(vccif_degree_to_vcc_tilt(krx131, c.degree), c.position) << c.degree;
    EXPECT_EQ(vccif_vcc_to_degree_tilt(krx131, -20000), -20.0f);
    EXPECT_EQ(vccif_vcc_to_degree_tilt(krx131, 90000), 90.0f);
}

TEST(SpeedCurve, RunsStraightBetweenItsRows)
{
    const struct {
        float percent;
        unsigned speed;
    } cases[] = {{1.0f, 200},    {3.0f, 265},    {4.99f, 329},   {15.0f, 820},   {50.0f, 10000}, {52.0f, 10000},
                 {52.5f, 15000}, {53.0f, 20000}, {57.5f, 21500}, {65.0f, 37000}, {97.5f, 95500}, {100.0f, 100000}};
    for (const auto &c : cases) {
        EXPECT_EQ(vccif_interpolate_speed(krx131->pan_tilt_speed_tbl, c.percent), c.speed) << c.percent;
    }
}

TEST(SpeedCurve, OutsideItsEndsIsNotSupported)
{
    LogCapture log;
    for (const float percent : {0.5f, 0.0f, -1.0f, 100.5f, 150.0f})
        EXPECT_EQ(vccif_interpolate_speed(krx131->pan_tilt_speed_tbl, percent), 0u) << percent;
    const SpeedRow empty[] = {{-1, -1}}, single[] = {{50, 10}, {-1, -1}};
    EXPECT_EQ(vccif_interpolate_speed(empty, -1.0f), 0u);
    EXPECT_EQ(vccif_interpolate_speed(single, 50.0f), 0u);
    EXPECT_EQ(vccif_interpolate_speed(nullptr, 50.0f), 0u);
    EXPECT_EQ(log.take(), Lines(8, "warning: The pan tilt speed is not supported."));
}

TEST(SpeedCurve, LowerPairWinsWhereTwoMeet)
{
    const SpeedRow jump[] = {{10, 100}, {20, 200}, {20, 500}, {30, 600}, {-1, -1}};
    EXPECT_EQ(vccif_interpolate_speed(jump, 20.0f), 200u);
    EXPECT_EQ(vccif_interpolate_speed(jump, 25.0f), 550u);
}

TEST(DriveSpeed, GoesByTheCurveOrWithoutOneStraight)
{
    FakeDriver fake;
    EXPECT_EQ(vccif_percent_to_vcc_pan_speed(&fake.driver, 15.0f), 820);
    EXPECT_EQ(vccif_percent_to_vcc_tilt_speed(&fake.driver, 52.5f), 15000);
    fake.model.pan_tilt_speed_tbl = nullptr;
    fake.model.tilt_speed_vcc_range = {100, 1100};
    EXPECT_EQ(vccif_percent_to_vcc_pan_speed(&fake.driver, 0.0f), 200);
    EXPECT_EQ(vccif_percent_to_vcc_pan_speed(&fake.driver, 15.0f), 15170);
    EXPECT_EQ(vccif_percent_to_vcc_pan_speed(&fake.driver, 100.0f), 100000);
    EXPECT_EQ(vccif_percent_to_vcc_tilt_speed(&fake.driver, 15.0f), 250);
}

TEST(Zoom, PositionsBecomeMotorPositions)
{
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, 1), 0u);
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, 5), 0u);
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, 6), 1u);
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, 5000), 1220u);
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, 9999), 2440u);
    EXPECT_EQ(vccif_zenta_to_vcc_zoom(krx131, -100), 0u) << "a negative result is 0";
}

TEST(Zoom, PositionsBecomeMagnificationSteps)
{
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, 1), 0u);
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, 5000), 3712u);
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, 7315), 5431u) << "5430 in double precision";
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, 9999), 7424u);
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, 10000), 7424u);
    EXPECT_EQ(vccif_zenta_to_vcc_optical_magnification(krx131, -5), 0u);
}

TEST(Zoom, DigitalPositionsBecomeFactorSteps)
{
    EXPECT_EQ(vccif_zenta_to_vcc_digital_zoom(krx131, 0), 0u);
    EXPECT_EQ(vccif_zenta_to_vcc_digital_zoom(krx131, 5000), 1408u);
    EXPECT_EQ(vccif_zenta_to_vcc_digital_zoom(krx131, 9999), 2816u);
    EXPECT_EQ(vccif_zenta_to_vcc_digital_zoom(krx131, -1), 0u);
}

TEST(Zoom, MagnificationBecomesAPosition)
{
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 1.0f), 1);
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 2.0f), 345);
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 30.0f), 9999);
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 60.0f), 10909);
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 360.0f), 19999);
    EXPECT_EQ(vccif_magnification_to_zenta_zoom(krx131, 0.0f), -343) << "no status yet";
}

TEST(SpeedCodes, CoverZeroToSeven)
{
    EXPECT_EQ(vccif_percent_to_vcc_zoom_speed(krx131, 1.0f), 0);
    EXPECT_EQ(vccif_percent_to_vcc_zoom_speed(krx131, 14.0f), 0);
    EXPECT_EQ(vccif_percent_to_vcc_zoom_speed(krx131, 15.0f), 1);
    EXPECT_EQ(vccif_percent_to_vcc_zoom_speed(krx131, 100.0f), 7);
    EXPECT_EQ(vccif_percent_to_vcc_zoom_speed(krx131, 200.0f), 14);
    EXPECT_EQ(vccif_percent_to_vcc_focus_speed(krx131, 50), 3);
    EXPECT_EQ(vccif_percent_to_vcc_focus_speed(krx131, 100), 7);
}

TEST(Focus, CameraRangeRunsDownwards)
{
    EXPECT_EQ(vccif_zenta_to_vcc_focus(krx131, 1), 2048);
    EXPECT_EQ(vccif_zenta_to_vcc_focus(krx131, 2000), 1867);
    EXPECT_EQ(vccif_zenta_to_vcc_focus(krx131, 9999), 1144);
    EXPECT_EQ(vccif_zenta_to_vcc_focus(krx131, 0), 2048) << "not clamped, 2048.09";
    EXPECT_EQ(vccif_zenta_to_vcc_focus(krx131, -9997), 2952);
}

TEST(Focus, CameraPositionIsLimitedAboveOnly)
{
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 2048), 1);
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 1600), 4955);
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 1144), 9999);
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 1000), 9999);
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 0), 9999);
    EXPECT_EQ(vccif_vcc_to_zenta_focus(krx131, 2100), -574);
}

TEST(RangeScaling, MeetsItsThreePointsAndCutsTowardsZero)
{
    const struct {
        const Range *range;
        int level, value;
    } cases[] = {
        {krx131->brightness_range, 0, -8},
        {krx131->brightness_range, 25, -4},
        {krx131->brightness_range, 47, 0}, // -0.48
        {krx131->brightness_range, 50, 0},
        {krx131->brightness_range, 100, 8},
        {krx131->sharpness_range, 75, 14},
        {krx131->sharpness_range, 51, 10},
        {krx131->nr_range, 100, 19},
        {krx131->defog_effect_range, 50, 10},
        {krx131->ircf_threshold_range, 0, 4},
        {krx131->ircf_threshold_range, 50, 2},
        {krx131->ircf_threshold_range, 100, 0},
        {krx131->ircf_hysteresis_range, 100, 4},
        {krx131->ircf_waittime_range, 25, 1},
        {krx131->wb_gain_range, 50, 256},
        {krx131->wb_gain_range, 100, 1023},
        {krx131->wb_gain_range, 51, 271},
        {krx131->ae_response_range, 0, 1},
        {krx131->color_gain_range, 33, 33},
        {krx131->hue_range, 100, 100},
        {krx131->level_range, 50, 50},
    };
    for (const auto &c : cases)
        EXPECT_EQ(vccif_percent_to_vcc_range(c.range, c.level), c.value) << c.level;
}

} // namespace
