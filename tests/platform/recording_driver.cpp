#include "tests/platform/recording_driver.h"

#include <atomic>
#include <cstdio>

struct RecordingDriver {
    PTZDriver parent_instance;
    PTZTemperatureController *controller;
};

struct RecordingDriverClass {
    PTZDriverClass parent_class;
};

static GType recording_driver_get_type();
G_DEFINE_TYPE(RecordingDriver, recording_driver, PTZ_TYPE_DRIVER)

static std::atomic<int> tasks_destroyed{0};

DriverScript &DriverScript::get()
{
    static DriverScript script;
    return script;
}

void DriverScript::reset()
{
    const std::lock_guard lock(mutex_);
    lines_.clear();
    shut_ = false;
    state_after_open_ = PTZ_STATE_RUNNING;
    works_ = true;
    warm_ = true;
}

void DriverScript::record(const std::string &line)
{
    const std::lock_guard lock(mutex_);
    lines_.push_back(line);
}

std::vector<std::string> DriverScript::lines() const
{
    const std::lock_guard lock(mutex_);
    return lines_;
}

int DriverScript::alive() const
{
    const std::lock_guard lock(mutex_);
    return alive_;
}

void DriverScript::born()
{
    const std::lock_guard lock(mutex_);
    alive_++;
}

void DriverScript::died()
{
    const std::lock_guard lock(mutex_);
    alive_--;
}

void DriverScript::shut_gate()
{
    const std::lock_guard lock(mutex_);
    shut_ = true;
}

void DriverScript::open_gate()
{
    const std::lock_guard lock(mutex_);
    shut_ = false;
    changed_.notify_all();
}

void DriverScript::pass_gate()
{
    std::unique_lock lock(mutex_);
    waiting_++;
    changed_.wait(lock, [this] { return !shut_; });
    waiting_--;
}

bool DriverScript::someone_waits() const
{
    const std::lock_guard lock(mutex_);
    return waiting_ > 0;
}

static std::string text_of(const char *name, const PTZMotion *motion)
{
    if (motion->type == PTZ_MOVE_NONE)
        return "";
    return " " + std::string(name) + "=" + std::to_string(motion->value) + "/" + std::to_string(motion->type);
}

static gboolean on_move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                        const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness,
                        const PTZSpeed *speed)
{
    DriverScript::get().record("move" + text_of("pan", pan) + text_of("tilt", tilt) + text_of("zoom", zoom) +
                               text_of("iris", iris) + text_of("focus", focus) + text_of("brightness", brightness) +
                               " speed=" + std::to_string(speed->value) +
                               (driver->zoom_requested != FALSE ? " zoom" : "") +
                               (driver->current_request->words[PTZ_REQUEST_PRESET_WORD] == 1 ? " preset" : ""));
    return DriverScript::get().works();
}

static gboolean on_stop(PTZDriver *)
{
    DriverScript::get().record("stop");
    return DriverScript::get().works();
}

static gboolean on_get_position(PTZDriver *, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris, gint32 *focus,
                                gint32 *brightness)
{
    DriverScript::get().record("position");
    DriverScript::get().pass_gate();
    *pan = 12 * 65536 + 32768;
    *tilt = -65536;
    *zoom = 10000 * 65536;
    *iris = *focus = *brightness = -65536;
    return TRUE;
}

static gboolean on_field_of_view(PTZDriver *, gint32, gint32 *angle, gint32 *widest, gint32 *hfov, gint32 *vfov)
{
    *angle = 30 * 65536;
    *widest = 60 * 65536;
    *hfov = *vfov = -65536;
    return FALSE; // filled
}

static gboolean on_special_command(PTZDriver *, const char *command)
{
    DriverScript::get().record(std::string("special ") + command);
    return DriverScript::get().works() && g_strcmp0(command, "reset") == 0;
}

static gboolean on_special_commands(PTZDriver *, char ***list)
{
    const char *const commands[] = {"wbonep", "reset", nullptr};
    *list = g_strdupv(const_cast<char **>(commands));
    return TRUE;
}

static gboolean on_param(PTZDriver *driver, const char *name)
{
    DriverScript::get().record(std::string("changed ") + name);
    if (g_strcmp0(name, "Speed") == 0)
        g_object_set(driver, "speed", 25.0, nullptr);
    return DriverScript::get().works();
}

static gboolean on_iris_mode(PTZDriver *driver)
{
    DriverScript::get().record("iris " + std::to_string(driver->iris_mode));
    return DriverScript::get().works();
}

static gboolean on_focus_mode(PTZDriver *driver)
{
    DriverScript::get().record("focus " + std::to_string(driver->focus_mode));
    return DriverScript::get().works();
}

static gboolean on_backlight(PTZDriver *driver)
{
    DriverScript::get().record("backlight " + std::to_string(driver->backlight_mode));
    return DriverScript::get().works();
}

static gboolean on_speed_factor(PTZDriver *driver)
{
    DriverScript::get().record("factor " + std::to_string(driver->proportional_speed) + " " +
                               std::to_string(driver->speed_factor));
    return TRUE;
}

static void on_signal(PTZDriver *, const char *name, GVariant *parameters)
{
    char *text = g_variant_print(parameters, FALSE);
    DriverScript::get().record(std::string("signal ") + name + text);
    g_free(text);
}

static gboolean tick(PTZTask *)
{
    return TRUE;
}

static void destroy_tick(gpointer task)
{
    tasks_destroyed++;
    g_object_unref(static_cast<PTZTask *>(task)->data);
    g_free(task);
}

static gboolean start_routine(PTZDriver *driver)
{
    PTZCameraErrorEvent event{4, "Cam error DSP"};
    PTZ_DRIVER_GET_CLASS(driver)->emit_event(driver, PTZ_EVENT_CAMERA_ERROR, &event, nullptr);
    auto *task = g_new0(PTZTask, 1);
    task->function = tick;
    task->data = g_object_ref(driver);
    task->destroy = destroy_tick;
    PTZ_DRIVER_GET_CLASS(driver)->queue_task(driver, task, 1);
    g_object_set(driver, "state", DriverScript::get().state_after_open(), nullptr);
    return TRUE;
}

static gboolean on_open(PTZDriver *driver)
{
    DriverScript::get().record("open");
    auto *self = reinterpret_cast<RecordingDriver *>(driver);
    self->controller->temperature_ok = DriverScript::get().warm() ? 1 : 0;
    g_object_set(driver, "state", PTZ_STATE_INITIALISING, nullptr);
    driver->start_routine = start_routine;
    return PTZ_DRIVER_GET_CLASS(driver)->run_start_routine(driver);
}

static gboolean on_close(PTZDriver *driver)
{
    DriverScript::get().record("close");
    g_object_set(driver, "state", PTZ_STATE_CLOSED, nullptr);
    return TRUE;
}

static gboolean on_install(PTZDriver *driver)
{
    static const PTZParamDefinition limits[] = {
        {PTZ_PARAM_INTEGER, "MinPan", "Pan Min", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
        {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
    };
    static const PTZParamDefinition settings[] = {
        {PTZ_PARAM_STRING, "Status", "", "", 0x81, PTZ_CONTROL_PLAIN, ""},
        {PTZ_PARAM_BOOLEAN, "Update", "Update", "true", 0x81, PTZ_CONTROL_PLAIN, ""},
        {PTZ_PARAM_STRING, "Freeze", "Freeze", "off", 0x81, PTZ_CONTROL_CHOICE, "off|Off, on|All movements"},
        {PTZ_PARAM_INTEGER, "Speed", "Speed", "100", 0x81, PTZ_CONTROL_PLAIN, "1..100"},
        {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
    };
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    return klass->add_params(driver, "Limit", limits) && klass->add_params(driver, "UserAdv", settings);
}

static void recording_driver_init(RecordingDriver *self)
{
    DriverScript::get().born();
    self->controller = ptz_temperature_controller_new(PTZ_TYPE_TEMPERATURE_CONTROLLER, &self->parent_instance);
}

static void recording_driver_finalize(GObject *object)
{
    g_object_unref(reinterpret_cast<RecordingDriver *>(object)->controller);
    DriverScript::get().died();
    G_OBJECT_CLASS(recording_driver_parent_class)->finalize(object);
}

static void recording_driver_class_init(RecordingDriverClass *klass)
{
    G_OBJECT_CLASS(klass)->finalize = recording_driver_finalize;
    PTZDriverClass *driver = &klass->parent_class;
    driver->move = on_move;
    driver->stop = on_stop;
    driver->get_position = on_get_position;
    driver->get_field_of_view = on_field_of_view;
    driver->run_special_command = on_special_command;
    driver->get_special_commands = on_special_commands;
    driver->useradv_changed = on_param;
    driver->limit_changed = on_param;
    driver->iris_mode_changed = on_iris_mode;
    driver->focus_mode_changed = on_focus_mode;
    driver->backlight_changed = on_backlight;
    driver->speed_factor_changed = on_speed_factor;
    driver->open = on_open;
    driver->close = on_close;
    driver->install_params = on_install;
    driver->signal_received = on_signal;
}

PTZDriver *recording_driver_new(int video_channel_nbr, int id)
{
    return PTZ_DRIVER(
        g_object_new(recording_driver_get_type(), "video_channel_nbr", video_channel_nbr, "id", id, nullptr));
}

int recording_driver_tasks_destroyed()
{
    return tasks_destroyed;
}
