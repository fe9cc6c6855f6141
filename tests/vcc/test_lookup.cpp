#include "tests/support/capture.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/vccif_lookup.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

class Lookup : public testing::Test {
  protected:
    LogCapture log;
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
};

TEST_F(Lookup, PercentTakesTheNextRow)
{
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 0), 32);
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 1), 31);
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 4), 31);
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 5), 30);
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 100), 4);
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 101), -1);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 0), 0);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 10), 4);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 50), 16);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 100), 32);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 101), -1);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Lookup, MaximumGainTakesTheNextRow)
{
    EXPECT_EQ(vccif_percent_to_vcc_max_gain(fake.model.max_gain_tbl, 0), 0);
    EXPECT_EQ(vccif_percent_to_vcc_max_gain(fake.model.max_gain_tbl, 14), 2);
    EXPECT_EQ(vccif_percent_to_vcc_max_gain(fake.model.max_gain_tbl, 100), 8);
    EXPECT_EQ(vccif_percent_to_vcc_max_gain(fake.model.max_gain_tbl, 101), -1);
    EXPECT_EQ(vccif_percent_to_vcc_max_gain(fake.model.max_gain_tbl, -1), -1);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Lookup, IrisCodeTakesTheFirstRowNotAbove)
{
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 20), 43);
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, 20), 5.66f);
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 255), 0);
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, 33), 16.0f);
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 4), 100);
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 3), -1);
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, 0), -1.0f);
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, -5), -1) << "below even the code of the row that ends the table";
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, -5), -1.0f);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Lookup, GainCodeTakesTheFirstRowNotBelow)
{
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, 0), 0);
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, 13), 41);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, 13), 19.57f);
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, 32), 100);
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, 33), -1);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, 33), -1.0f);
    fake.model.gain_tbl = fake.model.max_gain_tbl;
    EXPECT_EQ(vccif_vcc_to_db_gain(self, 8), 48.0f);
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Lookup, NegativeInputIsAGuardFailure)
{
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, -1), -1);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, -2), -1);
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, -1), -1);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, -1), -1.0f);
    EXPECT_EQ(log.take(), (Lines{guard_line("vccif_percent_to_vcc_iris", "percent >= 0"),
                                 guard_line("vccif_percent_to_vcc_gain", "percent >= 0"),
                                 guard_line("vccif_vcc_to_percent_gain", "value >= 0"),
                                 guard_line("vccif_vcc_to_db_gain", "value >= 0")}));
}

TEST_F(Lookup, MissingTableIsAGuardFailure)
{
    fake.model.iris_tbl = nullptr;
    fake.model.gain_tbl = nullptr;
    EXPECT_EQ(vccif_percent_to_vcc_iris(self, 50), -1);
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 20), -1);
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, 20), -1.0f);
    EXPECT_EQ(vccif_percent_to_vcc_gain(self, 50), -1);
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, 20), -1);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, 20), -1.0f);
    const std::string iris = "self->cam_model->iris_tbl", gain = "self->cam_model->gain_tbl";
    EXPECT_EQ(log.take(),
              (Lines{guard_line("vccif_percent_to_vcc_iris", iris), guard_line("vccif_vcc_to_percent_iris", iris),
                     guard_line("vccif_vcc_to_fno_iris", iris), guard_line("vccif_percent_to_vcc_gain", gain),
                     guard_line("vccif_vcc_to_percent_gain", gain), guard_line("vccif_vcc_to_db_gain", gain)}));
}

template <typename Row>
const Row *row_named(const Row *table, const char *Row::*name, const char *wanted)
{
    while (table->*name != nullptr && std::strcmp(table->*name, wanted) != 0)
        table++;
    return table->*name != nullptr ? table : nullptr;
}

TEST(Model, CaptureModesDifferByFrameRateFamily)
{
    const CameraModel *model = vccif_model_krx131();
    const struct {
        const char *mode;
        int broadcast_rate, broadcast_frequency, integer_rate, integer_frequency;
    } cases[] = {{"720p60", 0, 0, 4, 2}, {"1080p30", 2, 0, 5, 2}, {"1080p50", 1, 1, 1, 1}, {"720p25", 3, 1, 3, 1}};
    for (const auto &c : cases) {
        const CaptureModeRow *broadcast = row_named(model->capture_mode_tbls[0], &CaptureModeRow::name, c.mode);
        const CaptureModeRow *integer = row_named(model->capture_mode_tbls[1], &CaptureModeRow::name, c.mode);
        ASSERT_TRUE(broadcast != nullptr && integer != nullptr) << c.mode;
        EXPECT_EQ(broadcast->frame_rate_code, c.broadcast_rate) << c.mode;
        EXPECT_EQ(broadcast->capture_frequency, c.broadcast_frequency) << c.mode;
        EXPECT_EQ(integer->frame_rate_code, c.integer_rate) << c.mode;
        EXPECT_EQ(integer->capture_frequency, c.integer_frequency) << c.mode;
    }
    EXPECT_EQ(row_named(model->capture_mode_tbls[0], &CaptureModeRow::name, "1080i60"), nullptr);
}

TEST(Model, EveryModeHasAShutterTableAndTheSlowOneOfItsFrameRate)
{
    const CameraModel *model = vccif_model_krx131();
    const struct {
        const char *mode;
        int one_frame_us;
    } cases[] = {{"720p25", 40000},  {"720p30", 33333},  {"720p50", 20000},  {"720p60", 16667},  {"1080i50", 20000},
                 {"1080i60", 16667}, {"1080p25", 40000}, {"1080p30", 33333}, {"1080p50", 20000}, {"1080p60", 16667}};
    for (const auto &c : cases) {
        const ShutterTable *shutter = row_named(model->shutter_tbls, &ShutterTable::capture_mode, c.mode);
        const SlowShutterTable *slow = row_named(model->slow_shutter_tbls, &SlowShutterTable::capture_mode, c.mode);
        ASSERT_TRUE(shutter != nullptr && slow != nullptr) << c.mode;
        EXPECT_EQ(shutter->rows[48].exposure_us, 1000000) << c.mode;
        EXPECT_EQ(slow->rows[0].exposure_us, c.one_frame_us) << c.mode;
    }
}

} // namespace
