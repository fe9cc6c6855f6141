#include "driver/ptz_driver_canon_config.h"
#include "hw/ptz_temperature_controller_canon.h"
#include "tests/support/driver_fixture.h"
#include "vcc/ptz_driver_canon_model.h"
#include "vcc/vccif_model.h"

namespace {

class Config : public DriverBench {
  protected:
    gboolean load(const std::string &text)
    {
        drop_driver();
        make_driver(false);
        driver->config_loaded = FALSE;
        driver->temp_controller_type = PTZ_TYPE_TEMPERATURE_CONTROLLER;
        write_file("other.conf", text);
        return ptz_driver_canon_load_config(driver, (folder() + "/other.conf").c_str());
    }

    gboolean load_keys(const std::string &keys)
    {
        return load("[KRX_DRIVER]\nResetPin=5\nResetPinsActiveLow=false\nMaxDigitalZoom=12\n" + keys);
    }

    void expect_error(const std::string &text) { EXPECT_EQ(log.take(), Lines{"error: " + text}); }
};

TEST_F(Config, ReadsEveryKey)
{
    EXPECT_TRUE(load("[KRX_DRIVER]\nPowerPin=12\nPowerPinsActiveLow=true\nPowerGoodPin=good\nResetPin=0\n"
                     "ResetPCIePin=pcie\nResetPinsActiveLow=true\nInitDonePin=7\nEnablePCIeClkPin=clk\n"
                     "FWUpgradeCompletePin=fw\nFpgaIsUsed=true\nFpgaResetPin=fpga\nFpgaResetPinsActiveLow=true\n"
                     "TemperatureLowerLimit=-10\nTemperatureUpperLimit=60\nTemperatureHysteresisGeneric=1.5\n"
                     "TemperatureHysteresisCooling=2.5\nTemperatureSensor=3\nFirmwareDoUpgrade=false\nAudioInit=true\n"
                     "DatacacheIsUsed=true\nKeepStream=true\nMaxDigitalZoom=12.5\nMinFocus=0.3\nMoveSpeed=true\n"
                     "MoveSpeedEnum=1|0.5\nDbgStatustDump=true\nPTZCounterUpdateInterval=600\n"));
    EXPECT_EQ(driver->power_pin.number, 12);
    EXPECT_EQ(driver->power_pin.name, nullptr);
    EXPECT_EQ(driver->power_good_pin.number, -1);
    EXPECT_STREQ(driver->power_good_pin.name, "good");
    EXPECT_EQ(driver->reset_pin.number, 0);
    EXPECT_STREQ(driver->reset_pcie_pin.name, "pcie");
    EXPECT_EQ(driver->init_done_pin.number, 7);
    EXPECT_STREQ(driver->enable_pcie_clk_pin.name, "clk");
    EXPECT_STREQ(driver->fw_upgrade_complete_pin.name, "fw");
    EXPECT_STREQ(driver->fpga_reset_pin.name, "fpga");
    EXPECT_TRUE(driver->power_pins_active_low && driver->reset_pins_active_low && driver->fpga_reset_pins_active_low);
    EXPECT_EQ(driver->temperature_lower_limit, -10);
    EXPECT_EQ(driver->temperature_upper_limit, 60);
    EXPECT_EQ(driver->temperature_hysteresis_generic, 1.5);
    EXPECT_EQ(driver->temperature_hysteresis_cooling, 2.5);
    EXPECT_EQ(driver->temperature_sensor, 3);
    EXPECT_FALSE(driver->firmware_do_upgrade);
    EXPECT_TRUE(driver->audio_init && driver->datacache_is_used && driver->keep_stream && driver->fpga_is_used);
    EXPECT_EQ(driver->max_digital_zoom, 12.5f);
    EXPECT_EQ(driver->config_min_focus, 0.3f);
    EXPECT_TRUE(driver->move_speed && driver->dbg_status_dump && driver->config_loaded);
    EXPECT_STREQ(driver->move_speed_enum, "1|0.5");
    EXPECT_EQ(driver->parent_instance.counter_update_interval, 600);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Config, MissingKeysAreNamedInOrder)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "ResetPin"},
        {"[Other]\nResetPin=1\n", "ResetPin"},
        {"[KRX_DRIVER]\nMaxDigitalZoom=1\n", "ResetPin"},
        {"[KRX_DRIVER]\nResetPin=1\nFpgaIsUsed=false\n", "ResetPinsActiveLow"},
        {"[KRX_DRIVER]\nResetPin=1\nResetPinsActiveLow=1\nFpgaIsUsed=false\n", "FpgaResetPin"},
        {"[KRX_DRIVER]\nResetPin=1\nResetPinsActiveLow=1\nFpgaIsUsed=0\nFpgaResetPin=3\n", "FpgaResetPinsActiveLow"},
        {"[KRX_DRIVER]\nResetPin=1\nResetPinsActiveLow=1\n", "MaxDigitalZoom"},
    };
    for (const auto &[text, key] : cases) {
        EXPECT_FALSE(load(text));
        expect_error(std::string("Missing config file parameter ") + key);
        EXPECT_FALSE(driver->config_loaded);
    }
}

TEST_F(Config, MalformedValuesFailTheLoadWhateverTheirUse)
{
    const char *const values[] = {
        "PowerPin=-3",   "PowerPinsActiveLow=maybe",       "TemperatureSensor=warm", "AudioInit=2",
        "MinFocus=near", "TemperatureHysteresisGeneric=x", "MoveSpeedEnum=\\q",      "PTZCounterUpdateInterval="};
    for (const std::string line : values) {
        EXPECT_FALSE(load_keys(line + "\nTemperatureLowerLimit=0\n"));
        expect_error("Failed to read config file parameter " + line.substr(0, line.find('=')));
        EXPECT_EQ(driver->temp_controller_type, PTZ_TYPE_TEMPERATURE_CONTROLLER);
        EXPECT_EQ(driver->reset_pin.number, line.starts_with("PowerP") ? -1 : 5); // read before the fault
    }
    EXPECT_FALSE(load("[KRX_DRIVER]\nResetPin=-1\nResetPinsActiveLow=1\nMaxDigitalZoom=3\n"));
    expect_error("Failed to read config file parameter ResetPin");
    EXPECT_FALSE(load("[KRX_DRIVER]\nResetPin=1\nResetPinsActiveLow=1\nMaxDigitalZoom=much\n"));
    expect_error("Failed to read config file parameter MaxDigitalZoom");
    EXPECT_EQ(driver->max_digital_zoom, 1.0f);
}

TEST_F(Config, FileThatCannotBeParsed)
{
    EXPECT_FALSE(load("no group here\n"));
    expect_error("Failed to load config file");
    EXPECT_FALSE(ptz_driver_canon_load_config(driver, "/nonexistent/krx_driver.conf"));
    expect_error("Failed to load config file");
}

TEST_F(Config, ControllerGoesByWhichLimitsAreGiven)
{
    EXPECT_TRUE(load_keys("TemperatureUpperLimit=9999\n"));
    EXPECT_EQ(driver->temp_controller_type, PTZ_TYPE_TEMPERATURE_CONTROLLER);
    EXPECT_TRUE(load_keys("TemperatureLowerLimit=-273\n"));
    EXPECT_EQ(driver->temp_controller_type, ptz_temperature_controller_generic_get_type());
    EXPECT_TRUE(load_keys("TemperatureLowerLimit=-273\nTemperatureUpperLimit=9999\n"));
    EXPECT_EQ(driver->temp_controller_type, ptz_temperature_controller_active_cooling_get_type());
}

TEST_F(Config, ModelIsFoundByItsExactNameAndCode)
{
    EXPECT_EQ(ptz_driver_canon_model_from_name("KRX131"), 1);
    for (const char *name : {"krx131", "KRX131 ", "KRX13", ""})
        EXPECT_EQ(ptz_driver_canon_model_from_name(name), -1);
    EXPECT_EQ(ptz_driver_canon_model_from_name(nullptr), -1);

    const CameraModel *model = nullptr;
    EXPECT_FALSE(ptz_driver_canon_select_model(0, &model));
    EXPECT_EQ(model, nullptr);
    expect_error("Fatal error, could not selected camera block model");
    EXPECT_TRUE(ptz_driver_canon_select_model(1, &model));
    EXPECT_EQ(model, vccif_model_krx131());
}

} // namespace
