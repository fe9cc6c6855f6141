// What a new driver is like: its defaults, the configuration file, the block's defaults.
#include "driver/config.h"
#include "driver/type.h"
#include "hw/temperature_controller.h"
#include "tests/support/driver_fixture.h"
#include "vcc/model.h"
#include "vcc/select_model.h"

namespace {

class Config : public DriverBench {
  protected:
    // As the framework makes it, messages included.
    void construct()
    {
        drop_driver();
        driver = ptz_driver_canon_new(3, 4);
    }

    // Into a new driver, as the only file that was read.
    gboolean load(const std::string &text)
    {
        construct();
        log.take();
        write_file("other.conf", text);
        return ptz_driver_canon_load_config(driver, (folder() + "/other.conf").c_str());
    }

    gboolean load_keys(const std::string &keys)
    {
        return load("[KRX_DRIVER]\nResetPin=5\nResetPinsActiveLow=false\nMaxDigitalZoom=12\n" + keys);
    }
};

TEST_F(Config, DefaultsWithoutAnyFile)
{
    construct();
    EXPECT_EQ(log.take(), (Lines{"error: Failed to load config file", "error: Failed to load config file",
                                 "error: Failed to load port config file"}));
    const PTZDriver &base = driver->parent_instance;
    EXPECT_STREQ(base.block_name, "KRX_camblock");
    EXPECT_EQ(driver->cam_model, vccif_model_krx131());
    EXPECT_EQ(base.capability_ref, driver->cam_model->capabilities);
    EXPECT_EQ(base.capability_flags[0], 0x871DFBFFu);
    EXPECT_EQ(base.capability_flags[1], 0x006194B5u);
    EXPECT_EQ((std::vector<gint64>{base.video_channel_nbr, base.id, driver->block_model_id, driver->cmd_retries,
                                   driver->power_pin.number, driver->fpga_reset_pin.number, driver->limit_max_zoom,
                                   driver->limit_min_pan, driver->limit_max_tilt}),
              (std::vector<gint64>{3, 4, -1, 10, -1, 0, 19999, 1, 9999}));
    EXPECT_TRUE(driver->firmware_do_upgrade && driver->status_update);
    for (const CameraState *state : {&driver->current, &driver->target}) {
        EXPECT_EQ(state->hfov, -1.0f);
        EXPECT_TRUE(state->auto_iris && !state->auto_focus && state->adjustable_zoom_speed);
        EXPECT_TRUE(state->focus_zenta == -1 && state->focus_manual_mode == 1 && state->image_freeze_mode == 2);
        EXPECT_STREQ(state->video_output, "hdmi");
        EXPECT_STREQ(state->scan_mode, "progressive");
        EXPECT_STREQ(state->sdi_mapping, "level_a");
    }
}

TEST_F(Config, ReadsEveryKey)
{
    EXPECT_TRUE(load("[KRX_DRIVER]\nPowerPin=12\nPowerPinsActiveLow=true\nPowerGoodPin=good\nResetPin=0\n"
                     "ResetPCIePin=pcie\nResetPinsActiveLow=true\nInitDonePin=7\nEnablePCIeClkPin=clk\n"
                     "FWUpgradeCompletePin=fw\nFpgaIsUsed=true\nFpgaResetPin=fpga\nFpgaResetPinsActiveLow=true\n"
                     "TemperatureLowerLimit=-10\nTemperatureUpperLimit=60\nTemperatureHysteresisGeneric=1.5\n"
                     "TemperatureHysteresisCooling=2.5\nTemperatureSensor=3\nFirmwareDoUpgrade=false\nAudioInit=true\n"
                     "DatacacheIsUsed=true\nKeepStream=true\nMaxDigitalZoom=12.5\nMinFocus=0.3\nMoveSpeed=true\n"
                     "MoveSpeedEnum=1|0.5\nDbgStatustDump=true\nPTZCounterUpdateInterval=600\n"));
    const PTZDriverCanon &got = *driver;
    EXPECT_EQ((std::vector<double>{got.temperature_hysteresis_generic, got.temperature_hysteresis_cooling,
                                   got.max_digital_zoom, got.config_min_focus}),
              (std::vector<double>{1.5, 2.5, 12.5, 0.3f}));
    EXPECT_EQ((std::vector<int>{got.power_pin.number, got.power_good_pin.number, got.reset_pin.number,
                                got.init_done_pin.number, got.temperature_sensor, got.temperature_lower_limit,
                                got.temperature_upper_limit, got.parent_instance.counter_update_interval}),
              (std::vector<int>{12, -1, 0, 7, 3, -10, 60, 600}));
    EXPECT_EQ((Lines{got.power_good_pin.name, got.reset_pcie_pin.name, got.enable_pcie_clk_pin.name,
                     got.fw_upgrade_complete_pin.name, got.fpga_reset_pin.name, got.move_speed_enum}),
              (Lines{"good", "pcie", "clk", "fw", "fpga", "1|0.5"}));
    EXPECT_FALSE(got.firmware_do_upgrade);
    EXPECT_EQ(got.temp_controller_type, ptz_temperature_controller_active_cooling_get_type());
    for (const gboolean truth : {got.power_pins_active_low, got.reset_pins_active_low, got.fpga_reset_pins_active_low,
                                 got.audio_init, got.datacache_is_used, got.keep_stream, got.fpga_is_used,
                                 got.move_speed, got.dbg_status_dump, got.config_loaded})
        EXPECT_TRUE(truth);
    // The controller goes by which limits are given, not by their values.
    EXPECT_TRUE(load_keys("TemperatureUpperLimit=9999\n"));
    EXPECT_EQ(driver->temp_controller_type, PTZ_TYPE_TEMPERATURE_CONTROLLER);
    EXPECT_TRUE(load_keys("TemperatureLowerLimit=-273\n"));
    EXPECT_EQ(driver->temp_controller_type, ptz_temperature_controller_generic_get_type());
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Config, MissingAndMalformedKeysAreNamed)
{
    const std::string group = "[KRX_DRIVER]\n", reset = group + "ResetPin=1\n", both = reset + "ResetPinsActiveLow=1\n";
    const std::string missing = "Missing config file parameter ", bad = "Failed to read config file parameter ";
    const std::pair<std::string, std::string> cases[] = {
        {"no group here\n", "Failed to load config file"},
        {"[Other]\nResetPin=1\n", missing + "ResetPin"},
        {reset + "FpgaIsUsed=false\n", missing + "ResetPinsActiveLow"},
        {both + "FpgaIsUsed=false\n", missing + "FpgaResetPin"},
        {both + "FpgaIsUsed=0\nFpgaResetPin=3\n", missing + "FpgaResetPinsActiveLow"},
        {both, missing + "MaxDigitalZoom"},
        {both + "MaxDigitalZoom=much\n", bad + "MaxDigitalZoom"},
    };
    for (const auto &[text, message] : cases) {
        EXPECT_FALSE(load(text));
        EXPECT_EQ(log.take(), Lines{"error: " + message});
        EXPECT_FALSE(driver->config_loaded);
        EXPECT_EQ(driver->max_digital_zoom, 1.0f);
    }
    for (const std::string line :
         {"PowerPin=-3", "PowerPin=\\q", "PowerPinsActiveLow=maybe", "TemperatureSensor=warm", "AudioInit=2",
          "MinFocus=near", "TemperatureHysteresisGeneric=x", "MoveSpeedEnum=\\q"}) {
        EXPECT_FALSE(load_keys(line + "\nTemperatureLowerLimit=0\n"));
        EXPECT_EQ(log.take(), Lines{"error: " + bad + line.substr(0, line.find('='))});
        EXPECT_EQ(driver->temp_controller_type, PTZ_TYPE_TEMPERATURE_CONTROLLER);
        EXPECT_EQ(driver->reset_pin.number, line.starts_with("PowerP") ? -1 : 5); // read before the fault
    }
}

TEST_F(Config, ModelAndCaptureModeComeFromTheBlockDefaults)
{
    for (const char *name : {"krx131", "KRX131 ", "KRX13", static_cast<const char *>(nullptr)})
        EXPECT_EQ(ptz_driver_canon_model_from_name(name), -1);
    write_file("krx_driver.conf", GOOD_CONFIG);
    for (const auto &[model, id] : {std::pair{"KRX131", 1}, {"KRX999", -1}}) {
        write_file("block_defaults.conf",
                   std::string("[KRX_camblock]\nVersion=1.00\nCaptureMode=720p25\nModel=") + model + "\n");
        construct();
        EXPECT_EQ(driver->block_model_id, id);
        EXPECT_STREQ(driver->current.default_capture_mode, "720p25");
    }
    EXPECT_EQ(log.take(), (Lines{"error: Failed to load port config file",
                                 "error: Fatal error, could not selected camera block model",
                                 "error: Failed to load port config file"}));
}

} // namespace
