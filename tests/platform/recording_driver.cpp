#include "tests/platform/recording_driver.h"

#include "tests/platform/bus_fixture.h"

using RecordingDriver = PTZDriver;
using RecordingDriverClass = PTZDriverClass;
static GType recording_driver_get_type();
G_DEFINE_TYPE(RecordingDriver, recording_driver, PTZ_TYPE_DRIVER)

static DriverScript &script()
{
    return *DriverScript::current;
}

// The result of an operation that can fail.
static gboolean note(const std::string &line)
{
    const std::lock_guard lock(script().mutex);
    script().recorded.push_back(line);
    return script().works;
}

// The changed mode, then how iris, focus and backlight stand.
static gboolean note_modes(const char *changed, const PTZDriver *driver)
{
    std::string line = changed;
    for (const gint32 mode : {driver->iris_mode, driver->focus_mode, driver->backlight_mode})
        line += " " + std::to_string(mode);
    return note(line);
}

static gboolean on_move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                        const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness,
                        const PTZSpeed *speed)
{
    std::string line = "move";
    for (const PTZMotion *axis : {pan, tilt, zoom, iris, focus, brightness})
        line +=
            axis->type == PTZ_MOVE_NONE ? " -" : " " + std::to_string(axis->value) + "/" + std::to_string(axis->type);
    return note(line + " speed=" + std::to_string(speed->value) + (driver->zoom_requested != FALSE ? " zoom" : "") +
                (driver->current_request->words[PTZ_REQUEST_PRESET_WORD] == 1 ? " preset" : ""));
}

static gboolean on_get_position(PTZDriver *, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris, gint32 *focus,
                                gint32 *brightness)
{
    note("position");
    script().in_position = true;
    const std::lock_guard pass(script().gate);
    *pan = 12 * 65536 + 32768;
    *zoom = 10000 * 65536;
    *tilt = *iris = *focus = *brightness = -65536;
    return TRUE;
}

static gboolean on_open(PTZDriver *driver)
{
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    g_object_set(driver, "state", PTZ_STATE_INITIALISING, nullptr);
    const PTZCameraErrorEvent event{4, "Cam error DSP"};
    klass->emit_event(driver, PTZ_EVENT_CAMERA_ERROR, &event, nullptr);
    script().alive++;
    const auto destroy = [](gpointer task) {
        script().alive--;
        g_object_unref(static_cast<PTZTask *>(task)->data);
        delete static_cast<PTZTask *>(task);
    };
    const auto run = [](PTZTask *) -> gboolean { return TRUE; };
    klass->queue_task(driver, new PTZTask{run, g_object_ref(driver), destroy, {}}, 1);
    g_object_set(driver, "state", script().state_after_open.load(), nullptr);
    return TRUE;
}

// The same table in both groups.
static gboolean on_install(PTZDriver *driver)
{
    static const PTZParamDefinition table[] = {
        {PTZ_PARAM_INTEGER, "MinPan", "Pan Min", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
        {PTZ_PARAM_STRING, "Status", "", "", 0x81, PTZ_CONTROL_PLAIN, ""},
        {PTZ_PARAM_BOOLEAN, "Update", "Update", "true", 0x81, PTZ_CONTROL_PLAIN, ""},
        {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
    };
    static const char *const pictures[] = {"Defog", "Sepia", "Exposure", nullptr};
    ptz_driver_connect_imaging_params(driver, "ImageSource", pictures);
    const auto add = PTZ_DRIVER_GET_CLASS(driver)->add_params;
    return add(driver, "Limit", table) && add(driver, "UserAdv", table);
}

static void recording_driver_init(PTZDriver *self)
{
    script().alive++;
    g_object_set_data_full(G_OBJECT(self), "alive", &script(), [](gpointer) { script().alive--; });
}

static void recording_driver_class_init(PTZDriverClass *driver)
{
    driver->move = on_move;
    driver->stop = [](PTZDriver *) { return note("stop"); };
    driver->get_position = on_get_position;
    driver->get_field_of_view = [](PTZDriver *, gint32, gint32 *angle, gint32 *widest, gint32 *hfov, gint32 *vfov) {
        *angle = 30 * 65536;
        *widest = 60 * 65536;
        *hfov = *vfov = -65536;
        return FALSE; // filled
    };
    driver->run_special_command = [](PTZDriver *, const char *command) -> gboolean {
        return note(std::string("special ") + command) && g_strcmp0(command, "reset") == 0;
    };
    driver->get_special_commands = [](PTZDriver *, char ***list) -> gboolean {
        *list = g_strsplit("wbonep|reset", "|", 0);
        return TRUE;
    };
    driver->useradv_changed = [](PTZDriver *, const char *name) { return note(std::string("useradv ") + name); };
    driver->imagesource_changed = [](PTZDriver *, const char *name) { return note(std::string("image ") + name); };
    driver->limit_changed = [](PTZDriver *, const char *name) { return note(std::string("limit ") + name); };
    driver->iris_mode_changed = [](PTZDriver *self) { return note_modes("iris", self); };
    driver->focus_mode_changed = [](PTZDriver *self) { return note_modes("focus", self); };
    driver->backlight_changed = [](PTZDriver *self) { return note_modes("light", self); };
    driver->speed_factor_changed = [](PTZDriver *self) {
        return note("factor " + std::to_string(self->proportional_speed) + " " + std::to_string(self->speed_factor));
    };
    driver->open = on_open;
    driver->close = [](PTZDriver *self) {
        g_object_set(self, "state", PTZ_STATE_CLOSED, nullptr);
        return note("close");
    };
    driver->install_params = on_install;
}

PTZDriver *recording_driver_new(int video_channel_nbr, int id)
{
    return PTZ_DRIVER(
        g_object_new(recording_driver_get_type(), "video_channel_nbr", video_channel_nbr, "id", id, nullptr));
}
