#include "tests/support/capture.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/lookup.h"

namespace {

class Lookup : public testing::Test {
  protected:
    LogCapture log;
    FakeDriver fake;
    PTZDriverCanon *const self = &fake.driver;
};

TEST_F(Lookup, CodeTakesTheFirstRowNotAboveInIrisAndNotBelowInGain)
{
    // -5 lies below even the code of the row that ends the table.
    expect_results(vccif_vcc_to_percent_iris, self, {{20, 43}, {255, 0}, {4, 100}, {3, -1}, {-5, -1}});
    expect_results(vccif_vcc_to_fno_iris, self, {{20, 5.66f}, {33, 16.0f}, {0, -1.0f}, {-5, -1.0f}});
    expect_results(vccif_vcc_to_percent_gain, self, {{0, 0}, {13, 41}, {32, 100}, {33, -1}});
    expect_results(vccif_vcc_to_db_gain, self, {{13, 19.57f}, {33, -1.0f}});
    fake.model.gain_tbl = fake.model.max_gain_tbl;
    expect_results(vccif_vcc_to_db_gain, self, {{8, 48.0f}});
    EXPECT_EQ(log.take(), Lines{});
}

TEST_F(Lookup, NegativeInputAndAMissingTableAreGuardFailures)
{
    EXPECT_EQ(vccif_vcc_to_percent_gain(self, -1), -1);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, -1), -1.0f);
    fake.model.iris_tbl = nullptr;
    fake.model.gain_tbl = nullptr;
    EXPECT_EQ(vccif_vcc_to_percent_iris(self, 20), -1);
    EXPECT_EQ(vccif_vcc_to_fno_iris(self, 20), -1.0f);
    EXPECT_EQ(vccif_vcc_to_db_gain(self, 20), -1.0f);
    const char *const iris = "self->cam_model->iris_tbl";
    EXPECT_EQ(
        log.take(),
        (Lines{guard_line("vccif_vcc_to_percent_gain", "value >= 0"), guard_line("vccif_vcc_to_db_gain", "value >= 0"),
               guard_line("vccif_vcc_to_percent_iris", iris), guard_line("vccif_vcc_to_fno_iris", iris),
               guard_line("vccif_vcc_to_db_gain", "self->cam_model->gain_tbl")}));
}

} // namespace
