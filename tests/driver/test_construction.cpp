#include "driver/ptz_driver_canon_type.h"
#include "tests/support/driver_fixture.h"
#include "tests/support/fake_hardware.h"
#include "vcc/vccif_model.h"

namespace {

class Construction : public DriverBench {
  protected:
    // As the framework makes it, messages included.
    void construct()
    {
        drop_driver();
        driver = ptz_driver_canon_new(3, 4);
    }
};

TEST_F(Construction, DefaultsWithoutAnyFile)
{
    construct();
    EXPECT_EQ(log.take(), (Lines{"error: Failed to load config file", "error: Failed to load config file",
                                 "error: Failed to load port config file"}));
    EXPECT_EQ(driver->port, nullptr);
    const PTZDriver &base = driver->parent_instance;
    EXPECT_STREQ(base.block_name, "KRX_camblock");
    EXPECT_STREQ(base.block_version, "1.00");
    EXPECT_EQ(driver->cam_model, vccif_model_krx131());
    EXPECT_EQ(base.capability_ref, driver->cam_model->capabilities);
    EXPECT_EQ(base.capability_flags[0], 0x871DFBFFu);
    EXPECT_EQ(base.capability_flags[1], 0x006194B5u);
    EXPECT_EQ((std::vector<gint64>{base.video_channel_nbr, base.id, driver->cam_model_id, driver->fw_version,
                                   driver->block_model_id, driver->cmd_retries}),
              (std::vector<gint64>{3, 4, -1, -1, -1, 10}));
    EXPECT_EQ((std::vector<int>{driver->power_pin.number, driver->fpga_reset_pin.number, driver->limit_max_zoom,
                                driver->limit_min_pan, driver->limit_max_tilt}),
              (std::vector<int>{-1, 0, 19999, 1, 9999}));
    EXPECT_TRUE(driver->firmware_do_upgrade && driver->status_update);
    for (const CameraState *state : {&driver->current, &driver->target}) {
        EXPECT_EQ(state->zoom_magnification, 1.0f);
        EXPECT_EQ(state->hfov, -1.0f);
        EXPECT_TRUE(state->auto_iris && !state->auto_focus && state->adjustable_zoom_speed);
        EXPECT_TRUE(state->focus_zenta == -1 && state->focus_manual_mode == 1 && state->image_freeze_mode == 2);
        EXPECT_TRUE(state->tilt_moving == -1 && state->brightness_moving == 0);
        EXPECT_STREQ(state->video_output, "hdmi");
        EXPECT_STREQ(state->scan_mode, "progressive");
        EXPECT_STREQ(state->sdi_mapping, "level_a");
    }
}

TEST_F(Construction, TakesModelAndCaptureModeFromTheBlockDefaults)
{
    write_file("krx_driver.conf", GOOD_CONFIG);
    write_file("block_defaults.conf", "[KRX_camblock]\nVersion=1.00\nModel=KRX131\nCaptureMode=1080p60\n");
    construct();
    EXPECT_EQ(driver->block_model_id, 1);
    EXPECT_STREQ(driver->current.default_capture_mode, "1080p60");
    EXPECT_EQ(driver->max_digital_zoom, 12.0f);
    EXPECT_EQ(log.take(), (Lines{"error: Failed to load port config file"}));

    write_file("block_defaults.conf", "[KRX_camblock]\nVersion=1.00\nModel=KRX999\nCaptureMode=720p25\n");
    construct();
    EXPECT_EQ(driver->block_model_id, -1);
    EXPECT_EQ(driver->cam_model, vccif_model_krx131());
    EXPECT_STREQ(driver->current.default_capture_mode, "720p25");
    EXPECT_EQ(log.take().front(), "error: Fatal error, could not selected camera block model");
}

TEST_F(Construction, AThousandDriversLeaveNothingBehind)
{
    write_file("krx_driver.conf", GOOD_CONFIG);
    write_file("krx_port.conf",
               "[KRX_PORTS]\nPorts=1\n[KRX_PORT0]\nDevice=/dev/null\nRequestPin=req\nBurstLenght=1024\n");
    construct();
    EXPECT_NE(driver->port, nullptr);
    drop_driver();
    const int before = open_descriptors();
    for (int i = 0; i < 1000; ++i)
        construct();
    drop_driver();
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_TRUE(log.take().empty());
}

} // namespace
