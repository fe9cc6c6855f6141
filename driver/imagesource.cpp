// The group "ImageSource": the picture as the user sets it, each parameter turned into the command that realises it.
#include "driver/params.h"

#include "cmd/brightness.h"
#include "cmd/colour.h"
#include "cmd/day_night.h"
#include "cmd/exposure.h"
#include "cmd/focus.h"
#include "cmd/iris_mode.h"
#include "cmd/picture.h"
#include "utils/slow_shutter_limit.h"

#include <algorithm>

namespace {

// What a row of the table gets to work with.
struct Change {
    const char *name;
    ParameterValue value;
    ParameterValue partner; // empty when the row has none, or an optional one has no value
};

using Apply = gboolean (*)(PTZDriverCanon *self, const Change &change);

// How a value is read.

constexpr ParamReader integer = ptz_driver_canon_read_integer;
constexpr ParamReader text = ptz_driver_canon_read_text;

bool exposure_limit(const Parameter &parameter, ParameterValue *value)
{
    return ptz_driver_canon_utils_parse_slow_shutter_limit(parameter.value(), &value->number);
}

bool filter_choice(const Parameter &parameter, ParameterValue *value)
{
    value->number = parameter.says("auto")  ? IR_CUT_AUTOMATIC
                    : parameter.says("yes") ? IR_CUT_DAY
                    : parameter.says("no")  ? IR_CUT_NIGHT
                                            : 0;
    return value->number != 0;
}

// How it is applied.

// Some commands take their number as unsigned, where a negative one is too large, and some as signed. A row that gives
// one to the wrong kind does not compile.
using LevelCommand = gboolean(PTZDriverCanon *self, unsigned level);
using NumberCommand = gboolean(PTZDriverCanon *self, int number);

unsigned level_of(const ParameterValue &value)
{
    return static_cast<unsigned>(value.number);
}

template <LevelCommand command>
gboolean level_to(PTZDriverCanon *self, const Change &change)
{
    return command(self, level_of(change.value));
}

template <NumberCommand command>
gboolean number_to(PTZDriverCanon *self, const Change &change)
{
    return command(self, change.value.number);
}

template <gboolean command(PTZDriverCanon *, const char *)>
gboolean text_to(PTZDriverCanon *self, const Change &change)
{
    return command(self, change.value.text);
}

template <gboolean command(PTZDriverCanon *, const char *, unsigned)>
gboolean name_and_level_to(PTZDriverCanon *self, const Change &change)
{
    return command(self, change.name, level_of(change.value));
}

template <gboolean manual>
gboolean shutter(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_shutter(self, change.value.number, manual);
}

gboolean closed_iris(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_iris(self, change.value.number, TRUE);
}

gboolean exposure(PTZDriverCanon *self, const Change &)
{
    return ptz_driver_canon_set_iris_mode(self, self->parent_instance.iris_mode);
}

gboolean window_with_spot(PTZDriverCanon *self, const Change &change)
{
    return change.partner.text != nullptr
               ? ptz_driver_canon_cmd_spot_exposure(self, change.value.text, change.partner.text)
               : ptz_driver_canon_cmd_exposure_window(self, change.value.text);
}

gboolean spot_with_window(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_spot_exposure(self, change.partner.text, change.value.text);
}

gboolean spot_x_with_y(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_spot_exposure_position(self, level_of(change.value), level_of(change.partner));
}

gboolean spot_y_with_x(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_spot_exposure_position(self, level_of(change.partner), level_of(change.value));
}

const char *switch_or_on(const ParameterValue &value)
{
    return value.text != nullptr ? value.text : "on";
}

// A limit and the switch that goes with it, whichever of the two has changed.
using LimitCommand = gboolean(PTZDriverCanon *self, const char *mode, int limit);

template <LimitCommand command>
gboolean limit_with_switch(PTZDriverCanon *self, const Change &change)
{
    return command(self, switch_or_on(change.partner), change.value.number);
}

template <LimitCommand command>
gboolean switch_with_limit(PTZDriverCanon *self, const Change &change)
{
    return command(self, change.value.text, change.partner.number);
}

gboolean noise_with_level(PTZDriverCanon *self, const Change &change)
{
    return ptz_driver_canon_cmd_noise_reduction(self, change.value.text, level_of(change.partner));
}

gboolean noise_level_while_on(PTZDriverCanon *self, const Change &change)
{
    const char *mode = change.partner.text;
    if (mode == nullptr || g_ascii_strcasecmp(mode, "on") != 0)
        return TRUE;
    return ptz_driver_canon_cmd_noise_reduction(self, mode, level_of(change.value));
}

struct Partner {
    const char *name;
    ParamReader read;
    bool optional;
};
constexpr bool OPTIONAL = true;
constexpr bool REQUIRED = false;

struct Row {
    const char *names[8]; // parameters treated alike
    ParamReader read;
    Apply apply;
    Partner partner;
};

// clang-format off
constexpr Row ROWS[] = {
    {{"Brightness"}, integer, level_to<ptz_driver_canon_cmd_brightness>, {}},
    {{"ColorLevel"}, integer, level_to<ptz_driver_canon_cmd_color_level>, {}},
    {{"Sharpness"}, integer, level_to<ptz_driver_canon_cmd_sharpness>, {}},
    {{"WDR"}, text, text_to<ptz_driver_canon_cmd_wdr>, {}},
    {{"WhiteBalance"}, text, text_to<ptz_driver_canon_cmd_white_balance>, {}},
    {{"Exposure", "ExposurePriority", "ExposureAutoMode", "ExposureManualMode", "ManualGainControl",
      "ManualShutterControl", "IrisEnabled"}, text, exposure, {}},
    {{"ExposureWindow"}, text, window_with_spot, {"SpotExposure", text, OPTIONAL}},
    {{"Gain", "ManualGain"}, integer, number_to<ptz_driver_canon_cmd_gain>, {}},
    {{"MaxGain"}, integer, limit_with_switch<ptz_driver_canon_cmd_max_gain>, {"HighSensitivity", text, OPTIONAL}},
    {{"HighSensitivity"}, text, switch_with_limit<ptz_driver_canon_cmd_max_gain>, {"MaxGain", integer, REQUIRED}},
    {{"Shutter"}, integer, shutter<FALSE>, {}},
    {{"ManualShutter"}, integer, shutter<TRUE>, {}},
    {{"MaxExposureTime"}, exposure_limit, limit_with_switch<ptz_driver_canon_cmd_max_exposure_time>,
     {"AutoSlowShutter", text, OPTIONAL}},
    {{"AutoSlowShutter"}, text, switch_with_limit<ptz_driver_canon_cmd_max_exposure_time>,
     {"MaxExposureTime", exposure_limit, REQUIRED}},
    {{"Defog"}, text, text_to<ptz_driver_canon_cmd_defog>, {}},
    {{"DefogEffect"}, integer, level_to<ptz_driver_canon_cmd_defog_effect>, {}},
    {{"NoiseReduction"}, text, noise_with_level, {"NoiseReductionTuning", integer, REQUIRED}},
    {{"NoiseReductionTuning"}, integer, noise_level_while_on, {"NoiseReduction", text, REQUIRED}},
    {{"Stabilizer"}, text, text_to<ptz_driver_canon_cmd_image_stabilizer>, {}},
    {{"DistortionCorrection"}, text, text_to<ptz_driver_canon_cmd_distortion_correction>, {}},
    {{"AutoExposureRespons"}, integer, level_to<ptz_driver_canon_cmd_exposure_response>, {}},
    {{"AutoFocusSensitivity"}, text, text_to<ptz_driver_canon_cmd_auto_focus_sensitivity>, {}},
    {{"IrCutFilter"}, filter_choice, number_to<ptz_driver_canon_cmd_ircut>, {}},
    {{"ShiftLevel", "DayNightShiftLevel"}, integer, level_to<ptz_driver_canon_cmd_ircut_thresholds>, {}},
    {{"AutoIrCutFilterHysteresis"}, integer, level_to<ptz_driver_canon_cmd_auto_ircut_filter_hysteresis>, {}},
    {{"AutoIrCutFilterWaitTime"}, integer, level_to<ptz_driver_canon_cmd_auto_ircut_filter_wait_time>, {}},
    {{"Bright"}, integer, level_to<ptz_driver_canon_cmd_manual_bright_level>, {}},
    {{"ChromaSuppress"}, integer, level_to<ptz_driver_canon_cmd_chroma_suppress>, {}},
    {{"ColorHueCyan", "ColorHueGreen", "ColorHueMagenta", "ColorHueMaster", "ColorHue", "ColorHueRed",
      "ColorHueYellow", "ColorHueBlue"}, integer, name_and_level_to<ptz_driver_canon_cmd_color_hue>, {}},
    {{"ColorLevelCyan", "ColorLevelGreen", "ColorLevelMagenta", "ColorLevelRed", "ColorLevelYellow",
      "ColorLevelBlue"}, integer, name_and_level_to<ptz_driver_canon_cmd_color_level_by_color>, {}},
    {{"FocusAutoMode"}, text, text_to<ptz_driver_canon_cmd_focus_auto_mode>, {}},
    {{"FocusActiveTime"}, integer, level_to<ptz_driver_canon_cmd_focus_active_time>, {}},
    {{"FocusIntervalTime"}, integer, level_to<ptz_driver_canon_cmd_focus_interval_time>, {}},
    {{"FocusManualMode"}, text, text_to<ptz_driver_canon_cmd_focus_manual_mode>, {}},
    {{"Gamma"}, text, text_to<ptz_driver_canon_cmd_gamma>, {}},
    {{"IrCorrection"}, text, text_to<ptz_driver_canon_cmd_ir_correction>, {}},
    {{"Iris", "IrisPosition"}, integer, closed_iris, {}},
    {{"SpotExposure"}, text, spot_with_window, {"ExposureWindow", text, REQUIRED}},
    {{"SpotExposureX"}, integer, spot_x_with_y, {"SpotExposureY", integer, REQUIRED}},
    {{"SpotExposureY"}, integer, spot_y_with_x, {"SpotExposureX", integer, REQUIRED}},
    {{"WhiteBalanceManualR", "RedBalance"}, integer,
     level_to<ptz_driver_canon_cmd_white_balance_manual_gain_r>, {}},
    {{"WhiteBalanceManualB", "BlueBalance"}, integer,
     level_to<ptz_driver_canon_cmd_white_balance_manual_gain_b>, {}},
};

// What the framework tells of, in the order in which a camera block that starts is given it.
constexpr const char *CONNECTED[] = {
    "Brightness", "ColorLevel", "Sharpness", "NoiseReduction", "NoiseReductionTuning", "Exposure", "ExposureWindow",
    "ManualShutter", "ManualShutterControl", "MaxExposureTime", "ManualGain", "ManualGainControl", "MaxGain",
    "WhiteBalance", "RedBalance", "BlueBalance", "ColorHue", "WDR", "WDRLevel", "DynamicContrastEnabled",
    "DynamicContrastLevel", "IrisEnabled", "IrisPosition", "IrCutFilter", "ShiftLevel", "AutoIrCutFilterHysteresis",
    "Defog", "DefogEffect", "Stabilizer", "FocusAutoMode", "FocusManualMode", "FocusActiveTime", "FocusIntervalTime",
    "AutoFocusSensitivity", "ExposureAutoMode", "ExposureManualMode", "AutoExposureRespons", "Gain",
    "HighSensitivity", "Bright", "SpotExposure", "SpotExposureX", "SpotExposureY", "WhiteBalanceManualB",
    "WhiteBalanceManualR", "ColorHueCyan", "ColorHueGreen", "ColorHueMagenta", "ColorHueMaster", "ColorHueRed",
    "ColorHueYellow", "ColorHueBlue", "ColorLevelCyan", "ColorLevelGreen", "ColorLevelMagenta", "ColorLevelRed",
    "ColorLevelYellow", "ColorLevelBlue", "ChromaSuppress", "Gamma", "Iris", "IrCorrection", nullptr,
};
// clang-format on
static_assert(std::size(CONNECTED) == 62 + 1);

constexpr LogMessage FAULTY_VALUE = ERROR_MESSAGE("Faulty type of ImageSource parameter value for %s");

const Row *find_row(const char *name)
{
    for (const Row &row : ROWS)
        for (const char *known : row.names)
            if (known != nullptr && g_strcmp0(known, name) == 0)
                return &row;
    return nullptr;
}

} // namespace

void ptz_driver_canon_connect_imagesource(PTZDriverCanon *self)
{
    ptz_driver_connect_imaging_params(ptz_driver_of(self), "ImageSource", CONNECTED);
}

gboolean ptz_driver_canon_imagesource_set(PTZDriverCanon *self, const char *name)
{
    const Row *row = find_row(name);
    if (row == nullptr)
        return TRUE;
    PTZDynamicalProperties *group = self->parent_instance.imagesource_params;
    Change change{name, {}, {}};
    const Parameter parameter(group, name);
    if (!row->read(parameter, &change.value))
        return ptz_driver_canon_refuse_value(self, FAULTY_VALUE, name);
    if (row->partner.name == nullptr)
        return row->apply(self, change);
    const Parameter partner(group, row->partner.name);
    if (!row->partner.read(partner, &change.partner) && !row->partner.optional)
        return ptz_driver_canon_refuse_value(self, FAULTY_VALUE, name);
    return row->apply(self, change);
}

gboolean ptz_driver_canon_apply_imagesource(PTZDriverCanon *self)
{
    gboolean applied = TRUE;
    PTZDynamicalProperties *group = self->parent_instance.imagesource_params;
    for (const char *const *name = CONNECTED; *name != nullptr; ++name) {
        // A start passes over what has no value without a word; so does whoever applies everything again later.
        if (self->driver_initialized && Parameter(group, *name).value() == nullptr)
            continue;
        if (!ptz_driver_canon_imagesource_set(self, *name))
            applied = FALSE;
    }
    return applied;
}
