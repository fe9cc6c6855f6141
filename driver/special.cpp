// Special commands, capabilities, and the rotation that the streaming service announces.
#include "driver/operations.h"

#include "cmd/colour.h"
#include "cmd/video.h"
#include "core/log.h"
#include "driver/startup.h"
#include "utils/capabilities.h"
#include "utils/task.h"
#include "vcc/model.h"

#include <cstring>
#include <string_view>

namespace {

// One value of a video setting: stored in the driver, then sent.
struct VideoCommand {
    const char *text; // "name|value"
    const char *CameraState::*field;
    const char *value; // constant, as it is stored
    gboolean (*send)(PTZDriverCanon *self);
};

gboolean send_output(PTZDriverCanon *self)
{
    return ptz_driver_canon_cmd_video_output(self, self->current.video_output);
}

gboolean send_scan_mode(PTZDriverCanon *self)
{
    return ptz_driver_canon_cmd_video_mode(self, self->current.capture_mode, self->current.scan_mode);
}

gboolean send_sdi_mapping(PTZDriverCanon *self)
{
    return ptz_driver_canon_cmd_sdi_mapping_mode(self, self->current.sdi_mapping);
}

constexpr VideoCommand VIDEO_COMMANDS[] = {
    {"video_output|hdmi", &CameraState::video_output, "hdmi", send_output},
    {"video_output|sdi", &CameraState::video_output, "sdi", send_output},
    {"scan_mode|progressive", &CameraState::scan_mode, "progressive", send_scan_mode},
    {"scan_mode|interlaced", &CameraState::scan_mode, "interlaced", send_scan_mode},
    {"sdi_mapping|level_a", &CameraState::sdi_mapping, "level_a", send_sdi_mapping},
    {"sdi_mapping|level_b", &CameraState::sdi_mapping, "level_b", send_sdi_mapping},
};

constexpr const char *RESET = "reset";
constexpr const char *WHITE_BALANCE_ONE_PUSH = "wbonep";

// A camera block that is off is turned when it starts.
gboolean send_rotation(PTZDriverCanon *self)
{
    return !self->camera_powered || ptz_driver_canon_cmd_rotate(self, self->rotation);
}

} // namespace

gboolean ptz_driver_canon_op_run_special_command(PTZDriver *driver, const char *command)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (command == nullptr)
        return FALSE;
    if (std::strcmp(command, RESET) == 0) {
        ptz_driver_canon_back_in_service(self); // by command, a closed driver starts as well
        ptz_driver_canon_reset(self);
        return TRUE;
    }
    if (self->cam_model->wb_onepush_supported && g_ascii_strcasecmp(command, WHITE_BALANCE_ONE_PUSH) == 0)
        return ptz_driver_canon_cmd_white_balance_onepush(self);
    if (!self->cam_model->video_output_selectable)
        return FALSE;
    // Only the first "|" divides, so the whole text must be one of these.
    for (const VideoCommand &video : VIDEO_COMMANDS) {
        if (std::strcmp(command, video.text) != 0)
            continue;
        self->current.*video.field = video.value;
        return video.send(self);
    }
    return FALSE;
}

gboolean ptz_driver_canon_op_get_special_commands(PTZDriver *driver, char ***list)
{
    const PTZDriverCanon *self = ptz_driver_canon_of(driver);
    *list = nullptr;
    if (!self->driver_initialized && driver->state != PTZ_STATE_FAILED)
        return TRUE;
    constexpr gsize ROOM = 9;
    char **commands = g_new0(char *, ROOM);
    gsize count = 0;
    if (self->cam_model->wb_onepush_supported)
        commands[count++] = g_strdup(WHITE_BALANCE_ONE_PUSH);
    if (self->cam_model->video_output_selectable)
        for (const VideoCommand &video : VIDEO_COMMANDS)
            commands[count++] = g_strdup(video.text);
    commands[count] = g_strdup(RESET);
    *list = commands;
    return TRUE;
}

gboolean ptz_driver_canon_op_get_capabilities(PTZDriver *driver, const char *category, char ***list)
{
    return ptz_driver_canon_utils_get_capabilities(ptz_driver_canon_of(driver), category, list);
}

void ptz_driver_canon_op_signal_received(PTZDriver *driver, const char *signal_name, GVariant *parameters)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    if (g_strcmp0(signal_name, "CurrentRotationChanged") != 0)
        return;
    if (parameters == nullptr || !g_variant_is_of_type(parameters, G_VARIANT_TYPE("(i)")))
        return;
    gint32 rotation = 0;
    g_variant_get(parameters, "(i)", &rotation);
    if (rotation == self->rotation)
        return;
    self->rotation = rotation;
    ptz_driver_canon_queue_once(self, send_rotation);
}
