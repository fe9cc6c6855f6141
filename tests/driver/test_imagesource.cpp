#include "driver/operations.h"
#include "driver/params.h"
#include "tests/cmd/command_bench.h"

namespace {

using Params = decltype(FrameworkBench::params);

class ImageSource : public CommandBench {
  protected:
    ImageSource() { set_capture_mode("1080p60"); }

    gboolean change(const char *name, const Params &params)
    {
        framework().params = params;
        return ptz_driver_canon_op_imagesource_changed(&driver->parent_instance, name);
    }
};

TEST_F(ImageSource, EachNameReachesItsCommand)
{
    using Value = std::variant<int, const char *, bool>;
    const struct {
        const char *name;
        Value value;
        const char *payload;
        const char *partner = "";
        Value partner_value = {};
    } cases[] = {
        // MaxGain without HighSensitivity acts as if that were on; Iris 0 is the most open.
        // clang-format off
        {"Brightness", 100, "04 00 03 01 08"}, {"ColorLevel", 51, "05 00 04 80 00 33"},
        {"Sharpness", 99, "04 00 07 00 12"}, {"WDR", "On", "04 00 07 09 01"},
        {"WhiteBalance", "Mercury", "04 00 04 00 17"}, {"ExposureWindow", "spot", "04 00 03 06 02"},
        {"MaxGain", 50, "04 00 03 07 04"}, {"Shutter", 50, "04 00 03 03 1E"},
        {"ManualShutter", 10000, "04 00 03 03 1B"}, {"MaxExposureTime", "-2", "05 00 03 0E 14 36"},
        {"Defog", "on", "04 00 07 05 01"}, {"DefogEffect", 50, "04 00 07 06 0A"},
        {"Stabilizer", "on", "04 00 06 00 01"}, {"DistortionCorrection", "off", "04 00 06 01 00"},
        {"AutoExposureRespons", 0, "04 00 03 0F 01"}, {"AutoFocusSensitivity", "low", "04 00 01 0A 40"},
        {"IrCutFilter", "auto", "04 00 05 00 01"}, {"IrCutFilter", "yes", "04 00 05 00 00 04 00 05 01 00"},
        {"IrCutFilter", "no", "04 00 05 00 00 04 00 05 01 01"}, {"ShiftLevel", 0, "04 00 05 02 04"},
        {"DayNightShiftLevel", 100, "04 00 05 02 00"}, {"AutoIrCutFilterHysteresis", 100, "04 00 05 08 04"},
        {"AutoIrCutFilterWaitTime", 100, "04 00 05 09 04"},
        {"Bright", 0, "04 00 03 02 04 04 00 03 15 04 04 00 03 04 00"}, {"ChromaSuppress", 3, "04 00 04 82 03"},
        {"ColorHueCyan", 1, "05 00 04 81 05 01"}, {"ColorHueGreen", 2, "05 00 04 81 04 02"},
        {"ColorHueMagenta", 3, "05 00 04 81 01 03"}, {"ColorHueMaster", 4, "05 00 04 81 00 04"},
        {"ColorHue", 5, "05 00 04 81 00 05"}, {"ColorHueRed", 6, "05 00 04 81 02 06"},
        {"ColorHueYellow", 7, "05 00 04 81 03 07"}, {"ColorHueBlue", 8, "05 00 04 81 06 08"},
        {"ColorLevelCyan", 1, "05 00 04 80 05 01"}, {"ColorLevelGreen", 2, "05 00 04 80 04 02"},
        {"ColorLevelMagenta", 3, "05 00 04 80 01 03"}, {"ColorLevelRed", 4, "05 00 04 80 02 04"},
        {"ColorLevelYellow", 5, "05 00 04 80 03 05"}, {"ColorLevelBlue", 6, "05 00 04 80 06 06"},
        {"FocusAutoMode", "interval", "04 00 01 0B 02"}, {"FocusActiveTime", 255, "04 00 01 0D FF"},
        {"FocusIntervalTime", 7, "04 00 01 0C 07"}, {"FocusManualMode", "inf", "04 00 01 00 04"},
        {"Gamma", "straight", "04 00 07 0A 01"}, {"IrCorrection", "off", "04 00 01 04 00"},
        {"Iris", 0, "04 00 03 02 04 04 00 03 15 04"}, {"IrisPosition", 100, "04 00 03 02 20 04 00 03 15 20"},
        {"WhiteBalanceManualR", 50, "05 00 04 05 01 00 06 00 04 07 01 01 00"},
        {"RedBalance", 50, "05 00 04 05 01 00 06 00 04 07 01 01 00"},
        {"WhiteBalanceManualB", 50, "05 00 04 06 01 00 06 00 04 08 01 01 00"},
        {"BlueBalance", 50, "05 00 04 06 01 00 06 00 04 08 01 01 00"},
        // Names that come in pairs.
        {"ExposureWindow", "spot", "04 00 03 06 03", "SpotExposure", "on"},
        {"SpotExposure", "OFF", "04 00 03 06 00", "ExposureWindow", "center"},
        {"Gain", 50, "04 00 03 04 10", "ManualGain", 0}, {"ManualGain", 100, "04 00 03 04 20", "Gain", 50},
        {"HighSensitivity", "on", "04 00 03 07 08", "MaxGain", 100},
        {"MaxExposureTime", -2, "05 00 03 0E 18 36", "AutoSlowShutter", "off"},
        {"AutoSlowShutter", "on", "05 00 03 0E 10 36", "MaxExposureTime", -4},
        {"NoiseReduction", "off", "04 00 07 01 00", "NoiseReductionTuning", 50},
        {"NoiseReductionTuning", 50, "04 00 07 01 0A", "NoiseReduction", "ON"},
        {"NoiseReductionTuning", 50, "", "NoiseReduction", "off"},
        {"SpotExposureX", 100, "0B 00 03 10 00 C0 00 0D 00 33 00 55", "SpotExposureY", 0},
        {"SpotExposureY", 0, "0B 00 03 10 00 C0 00 0D 00 33 00 55", "SpotExposureX", 100},
        // clang-format on
    };
    for (const auto &[name, value, payload, partner, partner_value] : cases)
        EXPECT_EQ(outcome(change(name, {{name, value}, {partner, partner_value}})), payload) << name;
}

TEST_F(ImageSource, TheExposureNamesSetTheWholeExposure)
{
    driver->parent_instance.iris_mode = 1;
    const Params exposure{{"Exposure", "auto"},         {"ExposurePriority", "gain"},
                          {"ExposureAutoMode", "gain"}, {"ExposureManualMode", ""},
                          {"ManualGainControl", "yes"}, {"ManualShutterControl", "no"},
                          {"IrisEnabled", "yes"},       {"Gain", 50}};
    for (const auto &[name, value] : exposure)
        EXPECT_EQ(outcome(change(name.c_str(), exposure)),
                  name == "Gain" ? "04 00 03 04 10" : "04 00 03 00 09 | 04 00 03 04 10")
            << name;
    driver->parent_instance.iris_mode = 0;
    EXPECT_EQ(outcome(change("Exposure", exposure)), refused("Unsupported ptz iris mode"));
}

TEST_F(ImageSource, WhatCannotBeReadIsRefusedOnceTheCameraRuns)
{
    const std::pair<const char *, Params> faulty[] = {
        {"Brightness", {{"Brightness", "bright"}}},
        {"WDR", {}},
        {"HighSensitivity", {{"HighSensitivity", "on"}, {"MaxGain", "much"}}},
        {"NoiseReductionTuning", {{"NoiseReductionTuning", 50}}},
        {"IrCutFilter", {{"IrCutFilter", "Auto"}}}, // exactly so
    };
    for (const auto &[name, params] : faulty) {
        Life::run(driver);
        EXPECT_EQ(outcome(change(name, params)),
                  refused(std::string("Faulty type of ImageSource parameter value for ") + name));
        Life::stop(driver);
        EXPECT_EQ(outcome(ptz_driver_canon_imagesource_set(driver, name)), "");
    }
    EXPECT_EQ(outcome(change("Brightness", {{"Brightness", 50}})), ""); // not before start-up is complete
    Life::run(driver);
    EXPECT_EQ(outcome(change("WDRLevel", {{"WDRLevel", 5}})), ""); // nothing comes of it
}

} // namespace
