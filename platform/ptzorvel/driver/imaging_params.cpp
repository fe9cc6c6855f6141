#include "ptzorvel/driver/imaging_params.h"

#include "ptzorvel/common/param_store.h"

#include <cstring>

namespace {

constexpr guint32 kFlags = 0x81 | PTZ_PARAM_FLAG_ANY_CASE;
constexpr char kNoValue[] = ""; // until somebody sets one

constexpr PTZParamDefinition number(const char *name, const char *display, const char *value, const char *range)
{
    return {PTZ_PARAM_INTEGER, name, display, value, kFlags, PTZ_CONTROL_PLAIN, range};
}
constexpr PTZParamDefinition level(const char *name, const char *display, const char *value = "50")
{
    return number(name, display, value, "0..100");
}
constexpr PTZParamDefinition choice(const char *name, const char *display, const char *value, const char *choices)
{
    return {PTZ_PARAM_STRING, name, display, value, kFlags, PTZ_CONTROL_CHOICE, choices};
}

constexpr char kOnOff[] = "off|Off, on|On";
constexpr char kYesNo[] = "no|No, yes|Yes";
// In microseconds, or in frames with a minus.
constexpr char kExposureTimes[] = "-60..1000000";
constexpr char kPriorities[] =
    "auto|Automatic, manual|Manual, flickerreduced|Flicker reduced, flickerfree|Flicker free, shutter|Shutter, "
    "iris|Iris, motion|Motion, lownoise|Low noise, gain|Gain, bright|Brightness, dciris|DC iris";

// Some settings go by two names, for cameras of different making. The second name has no value at first, so that it
// does not stand against the first.
constexpr PTZParamDefinition kRows[] = {
    level("Brightness", "Brightness"),
    level("ColorLevel", "Colour level"),
    level("Sharpness", "Sharpness"),
    choice("NoiseReduction", "Noise reduction", "on", kOnOff),
    level("NoiseReductionTuning", "Noise reduction level"),
    choice("Exposure", "Exposure", "auto", "auto|Automatic, manual|Manual"),
    choice("ExposureWindow", "Exposure window", "auto",
           "auto|Automatic, center|Center, average|Average, full|Full, spot|Spot, area|Area"),
    number("ManualShutter", "Exposure time", "20000", kExposureTimes),
    choice("ManualShutterControl", "Exposure time by hand", "no", kYesNo),
    number("MaxExposureTime", "Longest exposure time", "-1", kExposureTimes),
    level("ManualGain", "Gain", "0"),
    choice("ManualGainControl", "Gain by hand", "no", kYesNo),
    level("MaxGain", "Highest gain", "100"),
    choice("WhiteBalance", "White balance", "auto",
           "auto|Automatic, auto_outdoor|Automatic outdoors, auto_sodium|Automatic with sodium lamps, "
           "fixed_indoor|Indoors, fixed_outdoor1|Outdoors 1, fixed_outdoor2|Outdoors 2, fixed_fluor1|Fluorescent 1, "
           "fixed_fluor2|Fluorescent 2, sodium|Sodium lamps, fixed_sodium|Sodium lamps fixed, mercury|Mercury lamps, "
           "onepush|One push, manual|Manual, hold|Hold"),
    level("RedBalance", "Red gain"),
    level("BlueBalance", "Blue gain"),
    level("ColorHue", "Colour hue"),
    choice("WDR", "Wide dynamic range", "off", kOnOff),
    level("WDRLevel", "Wide dynamic range level"),
    choice("DynamicContrastEnabled", "Dynamic contrast", "off", kOnOff),
    level("DynamicContrastLevel", "Dynamic contrast level"),
    choice("IrisEnabled", "Automatic iris", kNoValue, kYesNo),
    level("IrisPosition", "Iris, 0 is open", "0"),
    choice("IrCutFilter", "IR-cut filter", "auto", "auto|Automatic, yes|In place, no|Removed"),
    level("ShiftLevel", "Day/night threshold"),
    level("AutoIrCutFilterHysteresis", "Day/night hysteresis"),
    choice("Defog", "Defog", "off", kOnOff),
    level("DefogEffect", "Defog level"),
    choice("Stabilizer", "Image stabilizer", "off", kOnOff),
    choice("FocusAutoMode", "Automatic focus", "auto", "auto|Always, zoom|After zooming, interval|At intervals"),
    choice("FocusManualMode", "Manual focus", "manual", "manual|Manual, inf|Infinity, push|One push"),
    number("FocusActiveTime", "Automatic focus active time", "5", "0..255"),
    number("FocusIntervalTime", "Automatic focus interval", "5", "0..255"),
    choice("AutoFocusSensitivity", "Automatic focus sensitivity", "normal", "normal|Normal, low|Low"),
    choice("ExposureAutoMode", "Automatic exposure by", "auto", kPriorities),
    choice("ExposureManualMode", "Manual exposure by", "manual", kPriorities),
    level("AutoExposureRespons", "Automatic exposure speed"),
    level("Gain", "Gain", kNoValue),
    choice("HighSensitivity", "High sensitivity", "off", kOnOff),
    level("Bright", "Exposure by brightness", kNoValue),
    choice("SpotExposure", "Spot exposure", "off", kOnOff),
    level("SpotExposureX", "Spot from the left"),
    level("SpotExposureY", "Spot from the top"),
    level("WhiteBalanceManualB", "Blue gain", kNoValue),
    level("WhiteBalanceManualR", "Red gain", kNoValue),
    level("ColorHueCyan", "Hue of cyan"),
    level("ColorHueGreen", "Hue of green"),
    level("ColorHueMagenta", "Hue of magenta"),
    level("ColorHueMaster", "Hue of all colours", kNoValue),
    level("ColorHueRed", "Hue of red"),
    level("ColorHueYellow", "Hue of yellow"),
    level("ColorHueBlue", "Hue of blue"),
    level("ColorLevelCyan", "Level of cyan"),
    level("ColorLevelGreen", "Level of green"),
    level("ColorLevelMagenta", "Level of magenta"),
    level("ColorLevelRed", "Level of red"),
    level("ColorLevelYellow", "Level of yellow"),
    level("ColorLevelBlue", "Level of blue"),
    number("ChromaSuppress", "Chroma suppression", "0", "0..3"),
    choice("Gamma", "Gamma", "standard", "standard|Standard, straight|Straight"),
    level("Iris", "Iris, 0 is open", kNoValue),
    choice("IrCorrection", "IR correction", "off", kOnOff),
};

} // namespace

const PTZParamDefinition *imaging_param(const char *name)
{
    for (const PTZParamDefinition &row : kRows)
        if (std::strcmp(row.name, name) == 0)
            return &row;
    return nullptr;
}
