// A camera block of another model than the driver takes for granted.
#include "core/parameter.h"
#include "tests/scenario/board_fixture.h"
#include "tests/support/made_up_model.h"

namespace {

class OnMadeUpBoard : public OnBoard {
  protected:
    void become(const char *model) { ASSERT_TRUE(board.command(std::string("set model ") + model).ok); }
    // The capabilities as the framework sees them.
    std::vector<guint32> shown()
    {
        return {base().capability_ref[0], base().capability_ref[1], base().capability_flags[0],
                base().capability_flags[1]};
    }
    int angle(const char *name) { return Parameter(base().limit_params, name).integer(); }
};

TEST_F(OnMadeUpBoard, TheModelFoundAtBootCountsNotTheExpectedOne)
{
    base().capability_flags[1] |= 0x10000000; // the framework's own
    become("2");
    open();
    ASSERT_TRUE(running());
    EXPECT_EQ(driver->cam_model, made_up_model());
    EXPECT_EQ(shown(), (std::vector<guint32>{0x40000001, 0x80000000, 0x40000001, 0x90000000}));
    EXPECT_EQ(angle("MaxFieldAngle"), 628); // declared before
    become("1");
    reset();
    ASSERT_TRUE(running());
    EXPECT_EQ(driver->cam_model, vccif_model_krx131());
    EXPECT_EQ(shown(), (std::vector<guint32>{0x871DFBFF, 0x006194B5, 0x871DFBFF, 0x106194B5}));
}

TEST_F(OnMadeUpBoard, TheBlockDefaultsSayWhatToExpect)
{
    folder.write("block_defaults.conf", "[KRX_camblock]\nVersion=1.00\nModel=MADEUP\n");
    g_object_unref(driver);
    driver = ptz_driver_canon_new(1, 0);
    operations().install_params(&base());
    EXPECT_EQ(driver->block_model_id, 2);
    EXPECT_EQ(driver->cam_model, made_up_model());
    EXPECT_EQ(shown(), (std::vector<guint32>{0x40000001, 0x80000000, 0x40000001, 0x80000000}));
    EXPECT_EQ(angle("MinFieldAngle"), 50);
    EXPECT_EQ(angle("MaxFieldAngle"), 500);
}

// The simulated block goes on counting in thousandths of a degree, twice the made-up model's.
TEST_F(OnMadeUpBoard, StartsUpAndMovesInItsOwnUnits)
{
    become("2");
    open();
    ASSERT_TRUE(running());
    EXPECT_EQ(log.take(), Lines{"warning: Can't open firmware file"});
    board.take_heard();
    move(motion(1, 17), motion(1, 12), motion(1, 9999));
    EXPECT_EQ(board.take_heard(), (Lines{"Focus mode auto", "Zoom stop", "Zoom speed 5", "Zoom optical position 2100",
                                         "Pan speed 10200 (10.200 deg/s)", "Tilt speed 20300 (20.300 deg/s)",
                                         "Pan/tilt position 8500 (8.500 deg) 6000 (6.000 deg)"}));
    pass(5);
    EXPECT_NEAR(driver->current.pan_degree, 17.0f, 0.001f);
    EXPECT_NEAR(driver->current.tilt_degree, 12.0f, 0.001f);
    operations().close(&base());
    EXPECT_EQ(board.offences(), sim::Counts{});
}

} // namespace
