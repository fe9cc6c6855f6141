// A driver without a camera: writes down what it is called with, and does what the test says.
#pragma once

#include "glib_owned.h"
#include "ptzorvel/ptz_driver.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

// What the drivers of a test share with it; in force from construction to destruction. Safe on every thread.
struct DriverScript {
    DriverScript() { current = this; }

    std::vector<std::string> lines()
    {
        const std::lock_guard lock(mutex);
        return recorded;
    }

    std::mutex mutex;
    std::vector<std::string> recorded; // under the mutex
    std::mutex gate;                   // as long as the test holds it, get_position and move do not return
    std::atomic<bool> works{true};     // what the operations return that can fail
    std::atomic<int> state_after_open{PTZ_STATE_RUNNING};
    std::atomic<bool> released{false}; // the driver, which a task holds that goes on every microsecond without an end

    static inline DriverScript *current = nullptr;
};

namespace recording {

// The result of an operation that can fail.
inline gboolean note(const std::string &line)
{
    DriverScript &script = *DriverScript::current;
    const std::lock_guard lock(script.mutex);
    script.recorded.push_back(line);
    return script.works;
}

// The changed mode, then a digit for how iris, focus and backlight each stand.
template <char initial>
gboolean note_modes(PTZDriver *driver)
{
    return note(initial + std::to_string(100 * driver->iris_mode + 10 * driver->focus_mode + driver->backlight_mode));
}

// The parameter's group and name.
template <char initial>
gboolean note_param(PTZDriver *, const char *name)
{
    return note(initial + (" " + std::string(name)));
}

inline gboolean move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                     const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness, const PTZSpeed *speed)
{
    std::string line = "move";
    for (const PTZMotion *axis : {pan, tilt, zoom, iris, focus, brightness})
        line +=
            axis->type == PTZ_MOVE_NONE ? " -" : " " + std::to_string(axis->value) + "/" + std::to_string(axis->type);
    const gboolean result =
        note(line + " speed=" + std::to_string(speed->value) + (driver->zoom_requested != FALSE ? " zoom" : "") +
             (driver->current_request->words[PTZ_REQUEST_PRESET_WORD] == 1 ? " preset" : ""));
    const std::lock_guard pass(DriverScript::current->gate);
    return result;
}

inline gboolean get_position(PTZDriver *, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris, gint32 *focus,
                             gint32 *brightness)
{
    note("position");
    const std::lock_guard pass(DriverScript::current->gate);
    *pan = 12 * 65536 + 32768;
    *tilt = *zoom = *iris = *focus = *brightness = -65536;
    return TRUE;
}

inline gboolean open(PTZDriver *driver)
{
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    g_object_set(driver, "state", PTZ_STATE_INITIALISING, nullptr);
    const PTZCameraErrorEvent event{4, "Cam error DSP"};
    klass->emit_event(driver, PTZ_EVENT_CAMERA_ERROR, &event, nullptr);
    static PTZTask task;
    task = {[](PTZTask *) -> gboolean { return TRUE; },
            g_object_ref(driver),
            [](gpointer) { g_object_unref(task.data); },
            {}};
    klass->queue_task(driver, &task, 1);
    g_object_set(driver, "state", DriverScript::current->state_after_open.load(), nullptr);
    return TRUE;
}

// The same table in both groups.
inline gboolean install_params(PTZDriver *driver)
{
    static const PTZParamDefinition table[] = {
        {PTZ_PARAM_INTEGER, "MinPan", "Pan Min", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
        {PTZ_PARAM_STRING, "Status", "", "", 0x81, PTZ_CONTROL_PLAIN, ""},
        {PTZ_PARAM_BOOLEAN, "Update", "Update", "true", 0x81, PTZ_CONTROL_PLAIN, ""},
        {},
    };
    static const char *const pictures[] = {"Defog", "Sepia", "Exposure", nullptr};
    ptz_driver_connect_imaging_params(driver, "ImageSource", pictures);
    const auto add = PTZ_DRIVER_GET_CLASS(driver)->add_params;
    return add(driver, "Limit", table) && add(driver, "UserAdv", table);
}

inline void set_up_class(gpointer klass, gpointer)
{
    auto *driver = static_cast<PTZDriverClass *>(klass);
    driver->move = move;
    driver->stop = [](PTZDriver *) { return note("stop"); };
    driver->get_position = get_position;
    driver->run_special_command = [](PTZDriver *, const char *command) -> gboolean {
        return note(std::string("special ") + command) && g_strcmp0(command, "reset") == 0;
    };
    driver->get_special_commands = [](PTZDriver *, char ***list) -> gboolean {
        *list = g_strsplit("wbonep|reset", "|", 0);
        return TRUE;
    };
    driver->signal_received = [](PTZDriver *, const char *name, GVariant *parameters) {
        const GText text(g_variant_print(parameters, FALSE));
        note(name + (" " + std::string(text.get())));
    };
    driver->limit_changed = note_param<'L'>;
    driver->useradv_changed = note_param<'U'>;
    driver->imagesource_changed = note_param<'I'>;
    driver->iris_mode_changed = note_modes<'I'>;
    driver->focus_mode_changed = note_modes<'F'>;
    driver->backlight_changed = note_modes<'B'>;
    driver->open = open;
    driver->close = [](PTZDriver *self) {
        g_object_set(self, "state", PTZ_STATE_CLOSED, nullptr);
        return note("close");
    };
    driver->install_params = install_params;
}

} // namespace recording

// As a plug-in exports it. The driver replaces most operations.
inline PTZDriver *recording_driver_new(int video_channel_nbr, int id)
{
    static const GType type =
        g_type_register_static_simple(PTZ_TYPE_DRIVER, "RecordingDriver", sizeof(PTZDriverClass),
                                      recording::set_up_class, sizeof(PTZDriver), nullptr, static_cast<GTypeFlags>(0));
    gpointer driver = g_object_new(type, "video_channel_nbr", video_channel_nbr, "id", id, nullptr);
    g_object_weak_ref(
        G_OBJECT(driver), [](gpointer, GObject *) { DriverScript::current->released = true; }, nullptr);
    return PTZ_DRIVER(driver);
}
