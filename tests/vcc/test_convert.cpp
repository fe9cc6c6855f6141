#include "tests/support/capture.h"
#include "tests/support/made_up_model.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/convert.h"
#include "vcc/lookup.h"
#include "vcc/zoom_scale.h"

#include <climits>

namespace {

const CameraModel *const krx131 = vccif_model_krx131();
const SpeedRow *const curve = krx131->pan_tilt_speed_tbl;

TEST(PanTilt, DegreesBecomeThousandthsInSinglePrecision)
{
    // 33.3, 59.1 and 100.1 lie a little below: double precision would give 33299, 59099 and 100099.
    expect_results(vccif_degree_to_vcc_pan, krx131,
                   {{33.3f, 33300}, {59.1f, 59100}, {-59.1f, -59100}, {100.1f, 100100}, {-0.5f, -500}});
    expect_results(vccif_degree_to_vcc_pan, krx131, {{175.0f, 175000}, {1e12f, INT_MAX}, {-1e12f, INT_MIN}});
    expect_results(vccif_vcc_to_degree_pan, krx131, {{-170000, -170.0f}, {12500, 12.5f}, {170000, 170.0f}});
    expect_results(vccif_degree_to_vcc_tilt, krx131,
                   {{-20.0f, -20000}, {90.0f, 90000}, {0.0f, 0}, {33.3f, 33300}, {45.5f, 45500}, {-0.3f, -300}});
    expect_results(vccif_vcc_to_degree_tilt, krx131, {{-20000, -20.0f}, {90000, 90.0f}});
}

TEST(SpeedCurve, RunsStraightBetweenItsRows)
{
    expect_results(vccif_interpolate_speed, curve,
                   {{1.0f, 200}, {3.0f, 265}, {4.99f, 329}, {15.0f, 820}, {50.0f, 10000}});
    expect_results(vccif_interpolate_speed, curve, {{52.0f, 10000}, {52.5f, 15000}, {53.0f, 20000}, {57.5f, 21500}});
    expect_results(vccif_interpolate_speed, curve, {{65.0f, 37000}, {97.5f, 95500}, {100.0f, 100000}});
    const SpeedRow jump[] = {{10, 100}, {20, 200}, {20, 500}, {30, 600}, {-1, -1}};
    expect_results(vccif_interpolate_speed, jump, {{20.0f, 200}, {25.0f, 550}}); // the lower pair wins
}

TEST(SpeedCurve, OutsideItsEndsIsNotSupported)
{
    LogCapture log;
    const SpeedRow empty[] = {{-1, -1}}, single[] = {{50, 10}, {-1, -1}};
    expect_results(vccif_interpolate_speed, curve, {{0.5f, 0}, {0.0f, 0}, {-1.0f, 0}, {100.5f, 0}, {150.0f, 0}});
    expect_results(vccif_interpolate_speed, empty, {{-1.0f, 0}});
    expect_results(vccif_interpolate_speed, single, {{50.0f, 0}});
    expect_results(vccif_interpolate_speed, nullptr, {{50.0f, 0}});
    EXPECT_EQ(log.take(), Lines(8, "warning: The pan tilt speed is not supported."));
}

TEST(DriveSpeed, GoesByTheCurveOrWithoutOneStraight)
{
    FakeDriver fake;
    expect_results(vccif_percent_to_vcc_pan_speed, &fake.driver, {{15.0f, 820}});
    expect_results(vccif_percent_to_vcc_tilt_speed, &fake.driver, {{52.5f, 15000}});
    fake.model.pan_tilt_speed_tbl = nullptr;
    fake.model.tilt_speed_vcc_range = {100, 1100};
    expect_results(vccif_percent_to_vcc_pan_speed, &fake.driver, {{0.0f, 200}, {15.0f, 15170}, {100.0f, 100000}});
    expect_results(vccif_percent_to_vcc_tilt_speed, &fake.driver, {{15.0f, 250}});
}

TEST(Zoom, PositionsBecomeCameraUnits)
{
    expect_results(vccif_zenta_to_vcc_zoom, krx131,
                   {{1, 0}, {5, 0}, {6, 1}, {5000, 1220}, {9999, 2440}, {-100, 0}}); // never negative
    expect_results(vccif_zenta_to_vcc_optical_magnification, krx131,
                   {{1, 0}, {5000, 3712}, {7315, 5431}, {9999, 7424}, {10000, 7424}, {-5, 0}}); // in double: 5430
    expect_results(vccif_zenta_to_vcc_digital_zoom, krx131, {{0, 0}, {5000, 1408}, {9999, 2816}, {-1, 0}});
    expect_results(vccif_magnification_to_zenta_zoom, krx131,
                   {{1.0f, 1}, {2.0f, 345}, {30.0f, 9999}, {60.0f, 10909}, {360.0f, 19999}, {0.0f, -343}});
}

TEST(Focus, RunsDownwardsAndIsLimitedFromTheCameraAboveOnly)
{
    expect_results(vccif_zenta_to_vcc_focus, krx131,
                   {{1, 2048}, {2000, 1867}, {9999, 1144}, {0, 2048}, {-9997, 2952}}); // 0: 2048.09
    expect_results(vccif_vcc_to_zenta_focus, krx131,
                   {{2048, 1}, {1600, 4955}, {1144, 9999}, {1000, 9999}, {0, 9999}, {2100, -574}});
}

TEST(SpeedCodes, CoverZeroToSeven)
{
    expect_results(vccif_percent_to_vcc_zoom_speed, krx131,
                   {{1.0f, 0}, {14.0f, 0}, {15.0f, 1}, {100.0f, 7}, {200.0f, 14}});
    expect_results(vccif_percent_to_vcc_focus_speed, krx131, {{50, 3}, {100, 7}});
}

TEST(RangeScaling, MeetsItsThreePointsAndCutsTowardsZero)
{
    expect_results(vccif_percent_to_vcc_range, krx131->brightness_range,
                   {{0, -8}, {25, -4}, {47, 0}, {50, 0}, {100, 8}}); // 47: -0.48
    expect_results(vccif_percent_to_vcc_range, krx131->wb_gain_range, {{49, 250}, {51, 271}, {100, 1023}});
}

TEST(ZoomScale, IsClampedAndSplitAtTheOpticalEnd)
{
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
    EXPECT_FLOAT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 2.0f), 345.75861f);
    expect_results(
        ptz_driver_canon_zoom_mag_to_zenta, self,
        {{0.0f, 1.0f}, {1.0f, 1.0f}, {30.0f, 9999.0f}, {60.0f, 10909.0f}, {360.0f, 19999.0f}, {1000.0f, 19999.0f}});
    expect_results(ptz_driver_canon_zoom_zenta_to_mag, self, {{0, 1.0f}, {1, 1.0f}, {5000, 15.5f}, {9999, 30.0f}});
    expect_results(ptz_driver_canon_zoom_zenta_to_mag, self,
                   {{10000, 30.0f}, {19999, 360.0f}, {INT_MAX, 360.0f}, {-1, 360.0f}});
    fake.driver.max_digital_zoom = 4.0f;
    expect_results(ptz_driver_canon_zoom_mag_to_zenta, self, {{60.0f, 13333.0f}, {360.0f, 19999.0f}});
    expect_results(ptz_driver_canon_zoom_zenta_to_mag, self, {{19999, 120.0f}});
    fake.driver.max_digital_zoom = 1.0f; // no digital range
    expect_results(ptz_driver_canon_zoom_mag_to_zenta, self, {{360.0f, 9999.0f}});
    expect_results(ptz_driver_canon_zoom_zenta_to_mag, self, {{15000, 30.0f}});
    fake.driver.max_digital_zoom = 0.0f; // nor an optical one: every magnification is cut to 0
    EXPECT_FLOAT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 0.0f), -343.75861f);
}

// The rest of its conversions are in the golden table.
TEST(AnotherModel, IsConvertedByItsOwnDescriptor)
{
    FakeDriver fake;
    fake.model = *made_up_model();
    fake.driver.max_digital_zoom = 3.0f; // of the four that the model can
    PTZDriverCanon *const self = &fake.driver;
    expect_results(vccif_degree_to_vcc_pan, &fake.model, {{-170.0f, -85000}, {10.0f, 5000}});
    expect_results(ptz_driver_canon_zoom_mag_to_zenta, self, {{11.0f, 5000.0f}, {63.0f, 19999.0f}});
    expect_results(vccif_zenta_to_vcc_focus, &fake.model, {{1, 1200}, {5000, 1600}, {9999, 2000}}); // upwards
    expect_results(vccif_percent_to_vcc_iris, self, {{10, 16}, {60, 4}});
    expect_results(vccif_vcc_to_percent_gain, self, {{1, 100}, {17, -1}});
}

} // namespace
