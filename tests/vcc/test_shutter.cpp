#include "tests/support/capture.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/backlight.h"
#include "vcc/shutter.h"

namespace {

class Shutter : public testing::Test {
  protected:
    Shutter() { set_capture_mode("1080p25"); }
    ~Shutter() override { g_free(self->current.capture_mode); }

    void set_capture_mode(const char *mode)
    {
        g_free(self->current.capture_mode);
        self->current.capture_mode = g_strdup(mode);
    }

    LogCapture log;
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
};

TEST_F(Shutter, PercentOrExposureTimeTakesTheNextRow)
{
    expect_results(vccif_percent_to_vcc_shutter, self, {{0, 54}, {1, 53}, {2, 53}, {49, 30}, {50, 30}});
    expect_results(vccif_percent_to_vcc_shutter, self, {{51, 29}, {72, 19}, {99, 0}, {100, 0}, {101, -1}});
    expect_results(vccif_exposure_time_to_vcc_shutter, self, {{0, 54}, {91, 54}, {92, 53}, {20000, 23}, {20001, 22}});
    expect_results(vccif_exposure_time_to_vcc_shutter, self, {{999999, 0}, {1000000, 0}, {1000001, -1}});
    EXPECT_EQ(log.take(), Lines{});
}

// Both conversions take minus a number of frames.
TEST_F(Shutter, NegativeValueCountsFrames)
{
    struct {
        const char *mode;
        std::pair<int, int> cases[5];
    } const modes[] = {
        {"1080P25", {{-1, 19}, {-7, 7}, {-13, 0}, {-25, 0}, {-30, -1}}},
        {"720p30", {{-1, 20}, {-3, 12}, {-16, 0}, {-30, 0}, {-31, -1}}},
        {"1080i50", {{-1, 23}, {-4, 14}, {-26, 0}, {-50, 0}, {-51, -1}}},
        {"720p60", {{-1, 24}, {-2, 20}, {-5, 14}, {-60, 0}, {-61, -1}}},
    };
    for (const auto &mode : modes) {
        set_capture_mode(mode.mode);
        for (const auto &[limit, code] : mode.cases) {
            EXPECT_EQ(vccif_percent_to_vcc_shutter(self, limit), code) << mode.mode << " " << limit;
            EXPECT_EQ(vccif_exposure_time_to_vcc_shutter(self, limit), code) << mode.mode << " " << limit;
        }
    }
}

TEST_F(Shutter, CodeTakesTheFirstRowNotAbove)
{
    expect_results(vccif_vcc_to_exposure_time_shutter, self, {{255, 91}, {54, 91}, {19, 40000}, {9, 250000}});
    expect_results(vccif_vcc_to_exposure_time_shutter, self,
                   {{6, 500000}, {5, 500000}, {3, 1000000}, {1, 1000000}, {0, 1000000}});
    EXPECT_EQ(vccif_vcc_to_exposure_time_shutter(self, -1), -1);
    EXPECT_EQ(log.take(), (Lines{guard_line("vccif_vcc_to_exposure_time_shutter", "value >= 0")}));
}

TEST_F(Shutter, MaximumExposureTimeByFrameRate)
{
    const std::pair<const char *, int> modes[] = {
        {"720p25", 40000},  {"720p30", 33333},  {"720p50", 20000},  {"720p60", 16667},  {"1080i50", 20000},
        {"1080i60", 16667}, {"1080p25", 40000}, {"1080p30", 33333}, {"1080p50", 20000}, {"1080p60", 16667}};
    for (const auto &[mode, frame_us] : modes) {
        set_capture_mode(mode);
        EXPECT_EQ(ptz_driver_canon_utils_get_max_exposure_time(self, "Off"), frame_us) << mode;
        EXPECT_EQ(ptz_driver_canon_utils_get_max_exposure_time(self, "On"), 1000000) << mode;
    }
    EXPECT_EQ(ptz_driver_canon_utils_get_max_exposure_time(self, "auto"), -1);
    EXPECT_EQ(log.take(),
              (Lines{"error: Unsupported shutter mode: auto", "error: Could not get maximum exposure time"}));
}

TEST_F(Shutter, WithoutATableThereIsAMessage)
{
    constexpr const char *UNAVAILABLE = "error: Unavailable shutter table";
    constexpr const char *GET = "ptz_driver_canon_utils_get_shutter_table";
    set_capture_mode("480i");
    EXPECT_EQ(vccif_percent_to_vcc_shutter(self, 5), -1);
    EXPECT_EQ(vccif_exposure_time_to_vcc_shutter(self, -5), -1);
    EXPECT_EQ(vccif_vcc_to_exposure_time_shutter(self, 5), -1);
    EXPECT_EQ(log.take(), Lines(3, UNAVAILABLE));
    EXPECT_EQ(ptz_driver_canon_utils_get_max_exposure_time(self, "on"), -1);
    EXPECT_EQ(log.take(), (Lines{UNAVAILABLE, "error: Could not get maximum exposure time"}));
    set_capture_mode(nullptr);
    EXPECT_EQ(vccif_percent_to_vcc_shutter(self, 5), -1);
    fake.model.slow_shutter_tbls = nullptr;
    EXPECT_EQ(vccif_percent_to_vcc_shutter(self, -5), -1);
    EXPECT_EQ(log.take(),
              (Lines{guard_line(GET, "capture_mode"), UNAVAILABLE, guard_line(GET, "shutter_tbls"), UNAVAILABLE}));
}

TEST_F(Shutter, BacklightLiftsTheBrightnessUpToTheLargestStep)
{
    self->current.backlight_on = TRUE;
    expect_results(ptz_driver_canon_utils_shift_brightness_if_backlight_on, self,
                   {{gint8{-8}, gint8{-2}}, {gint8{1}, gint8{7}}, {gint8{5}, gint8{8}}, {gint8{122}, gint8{-128}}});
}

} // namespace
