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
    const PTZDriverCanon &got = *driver;
    EXPECT_EQ((std::vector<int>{got.power_pin.number, got.power_good_pin.number, got.reset_pin.number,
                                got.init_done_pin.number, got.temperature_sensor, got.temperature_lower_limit,
                                got.temperature_upper_limit, got.parent_instance.counter_update_interval}),
              (std::vector<int>{12, -1, 0, 7, 3, -10, 60, 600}));
    EXPECT_EQ((std::vector<double>{got.temperature_hysteresis_generic, got.temperature_hysteresis_cooling,
                                   got.max_digital_zoom, got.config_min_focus}),
              (std::vector<double>{1.5, 2.5, 12.5, 0.3f}));
    EXPECT_EQ(got.power_pin.name, nullptr);
    EXPECT_EQ((Lines{got.power_good_pin.name, got.reset_pcie_pin.name, got.enable_pcie_clk_pin.name,
                     got.fw_upgrade_complete_pin.name, got.fpga_reset_pin.name, got.move_speed_enum}),
              (Lines{"good", "pcie", "clk", "fw", "fpga", "1|0.5"}));
    EXPECT_FALSE(got.firmware_do_upgrade);
    for (const gboolean truth : {got.power_pins_active_low, got.reset_pins_active_low, got.fpga_reset_pins_active_low,
                                 got.audio_init, got.datacache_is_used, got.keep_stream, got.fpga_is_used,
                                 got.move_speed, got.dbg_status_dump, got.config_loaded})
        EXPECT_TRUE(truth);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(Config, MissingKeysAreNamedInOrder)
{
    const std::pair<const char *, const char *> cases[] = {
        {"", "ResetPin"},
        {"[Other]\nResetPin=1\n", "ResetPin"},
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
    EXPECT_FALSE(load("[KRX_DRIVER]\nResetPin=1\nResetPinsActiveLow=1\nMaxDigitalZoom=much\n"));
    expect_error("Failed to read config file parameter MaxDigitalZoom");
    EXPECT_EQ(driver->max_digital_zoom, 1.0f);
    EXPECT_FALSE(load("no group here\n"));
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
    for (const char *name : {"krx131", "KRX131 ", "KRX13", static_cast<const char *>(nullptr)})
        EXPECT_EQ(ptz_driver_canon_model_from_name(name), -1);
    const CameraModel *model = nullptr;
    EXPECT_FALSE(ptz_driver_canon_select_model(0, &model));
    EXPECT_EQ(model, nullptr);
    expect_error("Fatal error, could not selected camera block model");
    EXPECT_TRUE(ptz_driver_canon_select_model(1, &model));
    EXPECT_EQ(model, vccif_model_krx131());
}

} // namespace
