#include "tests/support/capture.h"
#include "tests/vcc/fake_driver.h"
#include "vcc/vccif_lookup.h"

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
    const auto expect_refusal = [this](auto function, const char *name, int value, const char *expression) {
        EXPECT_EQ(function(self, value), -1.0) << name;
        EXPECT_EQ(log.take(), Lines{guard_line(name, expression)});
    };
    expect_refusal(vccif_vcc_to_percent_gain, "vccif_vcc_to_percent_gain", -1, "value >= 0");
    expect_refusal(vccif_vcc_to_db_gain, "vccif_vcc_to_db_gain", -1, "value >= 0");
    fake.model.iris_tbl = nullptr;
    fake.model.gain_tbl = nullptr;
    expect_refusal(vccif_percent_to_vcc_iris, "vccif_percent_to_vcc_iris", 50, "self->cam_model->iris_tbl");
    expect_refusal(vccif_vcc_to_percent_iris, "vccif_vcc_to_percent_iris", 20, "self->cam_model->iris_tbl");
    expect_refusal(vccif_vcc_to_fno_iris, "vccif_vcc_to_fno_iris", 20, "self->cam_model->iris_tbl");
    expect_refusal(vccif_vcc_to_percent_gain, "vccif_vcc_to_percent_gain", 20, "self->cam_model->gain_tbl");
    expect_refusal(vccif_vcc_to_db_gain, "vccif_vcc_to_db_gain", 20, "self->cam_model->gain_tbl");
}

} // namespace
