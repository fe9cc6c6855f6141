#include "driver/config.h"

#include "core/log.h"
#include "driver/config_keys.h"
#include "glib_owned.h"
#include "hw/temperature_controller.h"
#include "vcc/models.h"
#include "vcc/select_model.h"

#include "block_defaults/block_defaults.h"

#include <cstring>

namespace {

using Kind = ConfigKind;
using Need = ConfigNeed;

constexpr const char *GROUP = CONFIG_GROUP;

#define FIELD(member) [](PTZDriverCanon *self) -> void * { return &self->member; }

constexpr ConfigKey KEYS[] = {
    {"PowerPin", Kind::pin, Need::optional, FIELD(power_pin)},
    {"PowerPinsActiveLow", Kind::boolean, Need::optional, FIELD(power_pins_active_low)},
    {"PowerGoodPin", Kind::pin, Need::optional, FIELD(power_good_pin)},
    {"ResetPin", Kind::pin, Need::required, FIELD(reset_pin)},
    {"ResetPCIePin", Kind::pin, Need::optional, FIELD(reset_pcie_pin)},
    {"ResetPinsActiveLow", Kind::boolean, Need::required, FIELD(reset_pins_active_low)},
    {"InitDonePin", Kind::pin, Need::optional, FIELD(init_done_pin)},
    {"EnablePCIeClkPin", Kind::pin, Need::optional, FIELD(enable_pcie_clk_pin)},
    {"FWUpgradeCompletePin", Kind::pin, Need::optional, FIELD(fw_upgrade_complete_pin)},
    {"FpgaIsUsed", Kind::boolean, Need::optional, FIELD(fpga_is_used)},
    {"FpgaResetPin", Kind::pin, Need::with_fpga, FIELD(fpga_reset_pin)},
    {"FpgaResetPinsActiveLow", Kind::boolean, Need::with_fpga, FIELD(fpga_reset_pins_active_low)},
    {"TemperatureLowerLimit", Kind::integer, Need::optional, FIELD(temperature_lower_limit)},
    {"TemperatureUpperLimit", Kind::integer, Need::optional, FIELD(temperature_upper_limit)},
    {"TemperatureHysteresisGeneric", Kind::real, Need::optional, FIELD(temperature_hysteresis_generic)},
    {"TemperatureHysteresisCooling", Kind::real, Need::optional, FIELD(temperature_hysteresis_cooling)},
    {"TemperatureSensor", Kind::integer, Need::optional, FIELD(temperature_sensor)},
    {"FirmwareDoUpgrade", Kind::boolean, Need::optional, FIELD(firmware_do_upgrade)},
    {"AudioInit", Kind::boolean, Need::optional, FIELD(audio_init)},
    {"DatacacheIsUsed", Kind::boolean, Need::optional, FIELD(datacache_is_used)},
    {"KeepStream", Kind::boolean, Need::optional, FIELD(keep_stream)},
    {"MaxDigitalZoom", Kind::real_as_float, Need::required, FIELD(max_digital_zoom)},
    {"MinFocus", Kind::real_as_float, Need::optional, FIELD(config_min_focus)},
    {"MoveSpeed", Kind::boolean, Need::optional, FIELD(move_speed)},
    {"MoveSpeedEnum", Kind::text, Need::optional, FIELD(move_speed_enum)},
    {"DbgStatustDump", Kind::boolean, Need::optional, FIELD(dbg_status_dump)},
    {"PTZCounterUpdateInterval", Kind::integer, Need::optional, FIELD(parent_instance.counter_update_interval)},
};

#undef FIELD

bool present(GKeyFile *file, const char *name)
{
    return g_key_file_has_key(file, GROUP, name, nullptr);
}

// The first key that must be there and is not, or null.
const char *missing_key(GKeyFile *file)
{
    constexpr const char *FIRST[] = {"ResetPin", "ResetPinsActiveLow"};
    constexpr const char *WITH_FPGA[] = {"FpgaResetPin", "FpgaResetPinsActiveLow"};
    for (const char *name : FIRST)
        if (!present(file, name))
            return name;
    if (present(file, "FpgaIsUsed"))
        for (const char *name : WITH_FPGA)
            if (!present(file, name))
                return name;
    return present(file, "MaxDigitalZoom") ? nullptr : "MaxDigitalZoom";
}

// A new text, or null. GLib gives a text even when it found a bad escape in it, so the error decides.
char *read_string(GKeyFile *file, const char *name)
{
    GErrorSlot error;
    GText text(g_key_file_get_string(file, GROUP, name, error));
    return error ? nullptr : text.release();
}

// A number of 0 or more, or else a name.
bool read_pin(GKeyFile *file, const char *name, GpioLine *line)
{
    GErrorSlot error;
    const int number = g_key_file_get_integer(file, GROUP, name, error);
    if (!error) {
        if (number < 0)
            return false;
        g_free(line->name);
        *line = GpioLine{number, nullptr};
        return true;
    }
    char *text = read_string(file, name);
    if (text == nullptr)
        return false;
    g_free(line->name);
    *line = GpioLine{-1, text};
    return true;
}

bool read_text(GKeyFile *file, const char *name, char **field)
{
    char *text = read_string(file, name);
    if (text == nullptr)
        return false;
    g_free(*field);
    *field = text;
    return true;
}

template <typename Value, typename Field>
bool read_value(Value (*get)(GKeyFile *, const char *, const char *, GError **), GKeyFile *file, const char *name,
                void *field)
{
    GErrorSlot error;
    const Value value = get(file, GROUP, name, error);
    if (error)
        return false;
    *static_cast<Field *>(field) = static_cast<Field>(value);
    return true;
}

bool read_key(GKeyFile *file, const ConfigKey &key, void *field)
{
    switch (key.kind) {
    case Kind::pin:
        return read_pin(file, key.name, static_cast<GpioLine *>(field));
    case Kind::boolean:
        return read_value<gboolean, gboolean>(g_key_file_get_boolean, file, key.name, field);
    case Kind::integer:
        return read_value<int, int>(g_key_file_get_integer, file, key.name, field);
    case Kind::real:
        return read_value<double, double>(g_key_file_get_double, file, key.name, field);
    case Kind::real_as_float:
        return read_value<double, float>(g_key_file_get_double, file, key.name, field);
    case Kind::text:
        return read_text(file, key.name, static_cast<char **>(field));
    }
    return false;
}

// Whether a key is to be read; those that must be there have been seen to be there.
bool wanted(GKeyFile *file, const ConfigKey &key)
{
    switch (key.need) {
    case Need::optional:
        return present(file, key.name);
    case Need::with_fpga:
        return present(file, "FpgaIsUsed");
    case Need::required:
        break;
    }
    return true;
}

// By which limits are given, not by their values.
GType controller_type(GKeyFile *file)
{
    if (!present(file, "TemperatureLowerLimit"))
        return PTZ_TYPE_TEMPERATURE_CONTROLLER;
    return present(file, "TemperatureUpperLimit") ? ptz_temperature_controller_active_cooling_get_type()
                                                  : ptz_temperature_controller_generic_get_type();
}

} // namespace

std::span<const ConfigKey> ptz_driver_canon_config_keys()
{
    return KEYS;
}

gboolean ptz_driver_canon_load_config(PTZDriverCanon *self, const char *path)
{
    const GKeyFileOwned file(g_key_file_new());
    if (!file) {
        log_error("Failed to allocate config file parser");
        return FALSE;
    }
    if (!g_key_file_load_from_file(file.get(), path, G_KEY_FILE_NONE, nullptr)) {
        log_error("Failed to load config file");
        return FALSE;
    }
    if (const char *name = missing_key(file.get()); name != nullptr) {
        log_error("Missing config file parameter %s", name);
        return FALSE;
    }
    for (const ConfigKey &key : KEYS) {
        void *field = key.field(self);
        if (!wanted(file.get(), key) || read_key(file.get(), key, field))
            continue;
        if (field == &self->max_digital_zoom)
            self->max_digital_zoom = 1.0f;
        log_error("Failed to read config file parameter %s", key.name);
        return FALSE;
    }
    self->temp_controller_type = controller_type(file.get());
    self->config_loaded = TRUE;
    return TRUE;
}

void ptz_driver_canon_read_block_defaults(PTZDriverCanon *self)
{
    self->cam_model = CAMERA_MODELS.front().descriptor();
    BlockDefaults *defaults =
        block_defaults_init(self->parent_instance.block_name, self->parent_instance.block_version);
    if (defaults == nullptr)
        return;
    BlockDefaultsRecord *model = block_defaults_get_block_model(defaults);
    self->block_model_id = ptz_driver_canon_model_from_name(model != nullptr ? model->text : nullptr);
    g_clear_pointer(&model, block_defaults_free);
    ptz_driver_canon_select_model(self->block_model_id, &self->cam_model);

    BlockDefaultsRecord *capture_mode = block_defaults_get_capture_mode(defaults);
    if (capture_mode != nullptr)
        self->current.default_capture_mode = g_strdup(capture_mode->text);
    g_clear_pointer(&capture_mode, block_defaults_free);
}
