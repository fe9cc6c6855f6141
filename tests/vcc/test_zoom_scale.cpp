#include "tests/vcc/fake_driver.h"
#include "vcc/ptz_driver_canon_zoom_scale.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

TEST(ZoomScale, MagnificationIsClampedAndSplitAtTheOpticalEnd)
{
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 0.0f), 1.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 1.0f), 1.0f);
    EXPECT_FLOAT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 2.0f), 345.75861f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 30.0f), 9999.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 60.0f), 10909.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 360.0f), 19999.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(self, 1000.0f), 19999.0f);
}

TEST(ZoomScale, DigitalEndIsTheConfiguredOne)
{
    FakeDriver fake;
    fake.driver.max_digital_zoom = 4.0f;
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(&fake.driver, 60.0f), 13333.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(&fake.driver, 360.0f), 19999.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(&fake.driver, 19999), 120.0f);
    fake.driver.max_digital_zoom = 1.0f;
    EXPECT_EQ(ptz_driver_canon_zoom_mag_to_zenta(&fake.driver, 360.0f), 9999.0f) << "no digital range";
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(&fake.driver, 15000), 30.0f);
}

TEST(ZoomScale, PositionOutsideTheScaleIsOneOfItsEnds)
{
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 0), 1.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 1), 1.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 5000), 15.5f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 9999), 30.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 10000), 30.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, 19999), 360.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, INT_MAX), 360.0f);
    EXPECT_EQ(ptz_driver_canon_zoom_zenta_to_mag(self, -1), 360.0f);
}

TEST(ValueFunctions, MapMirrorAndPercentCutTowardsZero)
{
    EXPECT_EQ(ptz_driver_canon_map2(0, 0, 50, 100, -8, 0, 8), -8);
    EXPECT_EQ(ptz_driver_canon_map2(47, 0, 50, 100, -8, 0, 8), 0); // -0.48
    EXPECT_EQ(ptz_driver_canon_map2(50, 0, 50, 100, 1, 30, 1000), 30);
    EXPECT_EQ(ptz_driver_canon_map2(75, 0, 50, 100, 1, 30, 1000), 515);
    EXPECT_EQ(ptz_driver_canon_map2(100, 0, 50, 100, 1, 30, 1000), 1000);
    EXPECT_EQ(ptz_driver_canon_mirror(1, 1, 9999), 9999);
    EXPECT_EQ(ptz_driver_canon_mirror(9999, 1, 9999), 1);
    EXPECT_EQ(ptz_driver_canon_mirror(2.5f, 1, 10), 8);
    EXPECT_EQ(ptz_driver_canon_zenta_to_percent(1), 0);
    EXPECT_EQ(ptz_driver_canon_zenta_to_percent(5000), 50);
    EXPECT_EQ(ptz_driver_canon_zenta_to_percent(4999), 49);
    EXPECT_EQ(ptz_driver_canon_zenta_to_percent(9999), 100);
}

} // namespace
