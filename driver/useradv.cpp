// The group "UserAdv": advanced settings, and what the driver tells about the device.
#include "driver/params.h"

#include "cmd/image_freeze.h"
#include "core/log.h"
#include "driver/capture.h"
#include "vcc/model.h"

#include <cstring>

namespace {

constexpr guint32 FLAGS = 0x81;
constexpr const char *GROUP = "UserAdv";
constexpr LogMessage FAULTY_VALUE = ERROR_MESSAGE("Faulty type of UserAdvanced parameter value for %s");

bool on_every_model(const CameraModel &)
{
    return true;
}

bool with_image_freeze(const CameraModel &model)
{
    return model.image_freeze_supported;
}

bool with_response_profile(const CameraModel &model)
{
    return model.response_profile_supported;
}

bool with_both_frame_rates(const CameraModel &model)
{
    return model.capture_modes_broadcast && model.capture_modes_integer;
}

// Tables as the framework takes them: each ends with an empty row.

constexpr PTZParamDefinition DEVICE_TABLE[] = {
    {PTZ_PARAM_STRING, "CamDeviceStatus", "", "", FLAGS, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_STRING, "CamLastTestDate", "", "", FLAGS, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_STRING, "DeviceModVer", "", "", FLAGS, PTZ_CONTROL_PLAIN, ""},
    {PTZ_PARAM_BOOLEAN, "StatusUpdate", "Status Update", "true", FLAGS, PTZ_CONTROL_PLAIN, ""},
    {},
};
constexpr PTZParamDefinition FREEZE_TABLE[] = {
    {PTZ_PARAM_STRING, "CamImageFreeze", "Image Freeze Mode", "off", FLAGS, PTZ_CONTROL_CHOICE,
     "off|Off, on|All movements, auto|Presets"},
    {},
};
constexpr PTZParamDefinition SPEED_TABLE[] = {
    {PTZ_PARAM_INTEGER, "MoveSpeed", "Move Speed", "100", FLAGS, PTZ_CONTROL_PLAIN, "1..100"},
    {},
};
constexpr PTZParamDefinition ZOOM_SPEED_TABLE[] = {
    {PTZ_PARAM_BOOLEAN, "AdjustableZoomSpeedEnabled", "", "true", FLAGS, PTZ_CONTROL_PLAIN, ""},
    {},
};
constexpr PTZParamDefinition RESPONSE_TABLE[] = {
    {PTZ_PARAM_STRING, "ResponseProfile", "PTZ response profile", "sport", FLAGS, PTZ_CONTROL_CHOICE,
     "stage|Stage mode, sport|Sport mode"},
    {},
};
constexpr PTZParamDefinition BROADCAST_TABLE[] = {
    {PTZ_PARAM_BOOLEAN, "BroadcastFrameRateEnabled", "Broadcast Frame Rate Enabled", "true", FLAGS, PTZ_CONTROL_PLAIN,
     ""},
    {},
};

constexpr struct {
    const PTZParamDefinition *rows;
    bool (*offered)(const CameraModel &model);
    bool applied_at_start; // the others take effect when they change
    const char *failure;
} TABLES[] = {
    {DEVICE_TABLE, on_every_model, true, "Installing UserAdvanced properties failed"},
    {FREEZE_TABLE, with_image_freeze, true, "Installing UserAdvanced properties failed"},
    {SPEED_TABLE, on_every_model, false, "Installing UserAdvanced properties failed"},
    {ZOOM_SPEED_TABLE, on_every_model, false, "Installing UserAdvanced properties failed"},
    {RESPONSE_TABLE, with_response_profile, true, "Installing UserAdvanced Response Profile properties failed"},
    {BROADCAST_TABLE, with_both_frame_rates, false, "Installing UserAdvanced Broadcast Frame Rate properties failed"},
};

gboolean set_image_freeze(PTZDriverCanon *self, const ParameterValue &value)
{
    return ptz_driver_canon_cmd_image_freeze(self, value.text);
}

gboolean set_adjustable_zoom_speed(PTZDriverCanon *self, const ParameterValue &value)
{
    self->current.adjustable_zoom_speed = value.number;
    return TRUE;
}

gboolean set_status_update(PTZDriverCanon *self, const ParameterValue &value)
{
    self->status_update = value.number;
    return TRUE;
}

gboolean set_move_speed(PTZDriverCanon *self, const ParameterValue &value)
{
    g_object_set(self, "speed", static_cast<double>(value.number), nullptr);
    return TRUE;
}

gboolean set_response_profile(PTZDriverCanon *self, const ParameterValue &value)
{
    static constexpr const char *PROFILES[] = {"stage", "sport"};
    for (int profile = 0; profile < 2; ++profile)
        if (g_strcmp0(value.text, PROFILES[profile]) == 0) {
            self->current.response_profile = profile;
            return TRUE;
        }
    log_error("Unsupported response profile: %s", value.text != nullptr ? value.text : "");
    return FALSE;
}

gboolean set_broadcast_frame_rate(PTZDriverCanon *self, const ParameterValue &value)
{
    self->current.broadcast_frame_rate = value.number;
    return ptz_driver_canon_refresh_capture_mode(self);
}

// What comes of a changed value; the others of the group are for reading only.
constexpr struct {
    const char *name;
    ParamReader read;
    bool (*offered)(const CameraModel &model);
    gboolean (*set)(PTZDriverCanon *self, const ParameterValue &value);
} SETTINGS[] = {
    {"CamImageFreeze", ptz_driver_canon_read_text, on_every_model, set_image_freeze},
    {"AdjustableZoomSpeedEnabled", ptz_driver_canon_read_boolean, on_every_model, set_adjustable_zoom_speed},
    {"StatusUpdate", ptz_driver_canon_read_boolean, on_every_model, set_status_update},
    {"MoveSpeed", ptz_driver_canon_read_integer, on_every_model, set_move_speed},
    {"ResponseProfile", ptz_driver_canon_read_text, with_response_profile, set_response_profile},
    {"BroadcastFrameRateEnabled", ptz_driver_canon_read_boolean, with_both_frame_rates, set_broadcast_frame_rate},
};

} // namespace

void ptz_driver_canon_install_useradv(PTZDriverCanon *self)
{
    PTZDriver *base = ptz_driver_of(self);
    for (const auto &table : TABLES)
        if (table.offered(*self->cam_model) && !PTZ_DRIVER_GET_CLASS(base)->add_params(base, GROUP, table.rows))
            log_error("%s", table.failure);
}

gboolean ptz_driver_canon_set_useradv(PTZDriverCanon *self, const char *name)
{
    for (const auto &setting : SETTINGS) {
        if (g_strcmp0(setting.name, name) != 0 || !setting.offered(*self->cam_model))
            continue;
        const Parameter parameter(self->parent_instance.useradv_params, name);
        ParameterValue value;
        return setting.read(parameter, &value) ? setting.set(self, value)
                                               : ptz_driver_canon_refuse_value(self, FAULTY_VALUE, name);
    }
    return TRUE;
}

gboolean ptz_driver_canon_apply_useradv(PTZDriverCanon *self)
{
    gboolean applied = TRUE;
    for (const auto &table : TABLES) {
        if (!table.applied_at_start || !table.offered(*self->cam_model))
            continue;
        for (const PTZParamDefinition *row = table.rows; row->type != PTZ_PARAM_END; ++row)
            if (!ptz_driver_canon_set_useradv(self, row->name))
                applied = FALSE;
    }
    return applied;
}

void ptz_driver_canon_settle_useradv(PTZDriverCanon *self)
{
    for (const char *name : {"StatusUpdate", "MoveSpeed", "AdjustableZoomSpeedEnabled"})
        ptz_driver_canon_set_useradv(self, name);
}

void ptz_driver_canon_read_broadcast(PTZDriverCanon *self)
{
    if (!with_both_frame_rates(*self->cam_model))
        return;
    const Parameter parameter(self->parent_instance.useradv_params, "BroadcastFrameRateEnabled");
    if (parameter.is_boolean())
        self->current.broadcast_frame_rate = parameter.boolean();
}
