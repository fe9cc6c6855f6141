#include "tests/support/driver_fixture.h"

#include "driver/type.h"
#include "glib_owned.h"

#include <cstdarg>

static guint32 spare_values[PTZ_STATUS_SPARE_RECORDS];

FrameworkBench &framework()
{
    static FrameworkBench bench;
    return bench;
}

__attribute__((format(printf, 1, 2))) static void note(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    framework().calls.emplace_back(GText(g_strdup_vprintf(format, args)).get());
    va_end(args);
}

std::size_t FrameworkBench::run_tasks()
{
    for (PTZTask *task : std::exchange(queued, {})) {
        if (task->function(task))
            queued.push_back(task);
        else
            task->destroy(task);
    }
    return queued.size();
}

static gboolean set_param(PTZDriver *, const char *group, const char *name, const char *value)
{
    note("set %s.%s %s", group, name, value != nullptr ? value : "(none)");
    return !framework().refuse_params;
}

static int report_status_params(PTZDriver *, int pan, int tilt, int zoom, int focus, int iris, int brightness,
                                guint32 position, guint32 speed, int one, int max, ScParam *spare)
{
    note("report %d %d %d %d %d %d results %u %u words %d %d", pan, tilt, zoom, focus, iris, brightness, position,
         speed, one, max);
    for (int i = 0; i < framework().status_records; ++i)
        spare[i] = ScParam{"SPARE", 4, &spare_values[i], SC_TYPE_INTEGER};
    return framework().status_records;
}

void fake_framework_install()
{
    auto *klass = static_cast<PTZDriverClass *>(g_type_class_ref(ptz_driver_canon_get_type())); // kept for good
    klass->add_params = [](PTZDriver *, const char *group, const PTZParamDefinition *table) -> gboolean {
        framework().tables.push_back(table);
        std::string names;
        for (; table->type != PTZ_PARAM_END; ++table)
            names.append(" ").append(table->name);
        note("add_params %s%s", group, names.c_str());
        return !framework().refuse_params;
    };
    klass->queue_task = [](PTZDriver *, PTZTask *task, gint64 interval) -> gboolean {
        note("queue_task %d", static_cast<int>(interval));
        if (framework().refuse_tasks) {
            task->destroy(task);
            return FALSE;
        }
        framework().queued.push_back(task);
        return TRUE;
    };
    klass->run_start_routine = [](PTZDriver *driver) -> gboolean {
        note("run_start_routine");
        return driver->start_routine != nullptr && driver->start_routine(driver);
    };
    klass->prepare_move = [](PTZDriver *) { note("prepare_move"); };
    klass->idle_poll = [](PTZDriver *, int word) { note("idle_poll %d", word); };
    klass->report_status_params = report_status_params;
    klass->emit_event = [](PTZDriver *, int kind, const void *data, GError **) -> gboolean {
        const auto *event = static_cast<const PTZCameraErrorEvent *>(data);
        note("event %d %02X %s", kind, event->error_bits, event->text);
        return TRUE;
    };
    klass->set_param_bool = [](PTZDriver *driver, const char *group, const char *name, gboolean value) {
        return set_param(driver, group, name, value ? "true" : "false");
    };
    klass->set_param_string = set_param;
}

static std::string text_of(const ScParam &param)
{
    if (param.type == SC_TYPE_REAL)
        return GText(g_strdup_printf(" %s=%g", param.key, double{*static_cast<const float *>(param.value)})).get();
    return " " + std::string(param.key) + "=" + std::to_string(*static_cast<const gint32 *>(param.value));
}

int sc_set_group(const char *group, const ScParam *const *params, int flags)
{
    int count = 0;
    std::string text;
    for (; params[count] != nullptr; ++count)
        text += text_of(*params[count]);
    note("group %s flags=%d%s", group, flags, text.c_str());
    return framework().set_group_fails ? -1 : count - framework().set_group_short;
}

GValue *ptz_dynamical_properties_get(PTZDynamicalProperties *, const char *name)
{
    const auto found = framework().params.find(name);
    if (found == framework().params.end())
        return nullptr;
    GValue *value = g_new0(GValue, 1);
    if (const int *number = std::get_if<int>(&found->second))
        g_value_set_int(g_value_init(value, G_TYPE_INT), *number);
    else if (const bool *truth = std::get_if<bool>(&found->second))
        g_value_set_boolean(g_value_init(value, G_TYPE_BOOLEAN), *truth);
    else
        g_value_set_string(g_value_init(value, G_TYPE_STRING), std::get<const char *>(found->second));
    return value;
}

void ptz_driver_connect_imaging_params(PTZDriver *, const char *group, const char *const *names)
{
    note("connect %s %s .. %s, %u", group, names[0], names[g_strv_length(const_cast<char **>(names)) - 1],
         g_strv_length(const_cast<char **>(names)));
}

#define DATACACHE(name)                                                                                                \
    int ptz_driver_##name##_datacache_init(PTZDriver *)                                                                \
    {                                                                                                                  \
        note("open " #name " cache");                                                                                  \
        return framework().datacache_result;                                                                           \
    }                                                                                                                  \
    void ptz_driver_##name##_datacache_close(PTZDriver *)                                                              \
    {                                                                                                                  \
        note("close " #name " cache");                                                                                 \
    }
DATACACHE(zoom)
DATACACHE(flip)
DATACACHE(position)
DATACACHE(moving)
DATACACHE(speed)

void ptz_driver_zoom_datacache_write(int zoom, int moving, gboolean used, float mask_hfov, float mask_vfov,
                                     float magnification)
{
    note("zoom cache %d %d %d %g %g %g", zoom, moving, used, static_cast<double>(mask_hfov),
         static_cast<double>(mask_vfov), static_cast<double>(magnification));
}

void ptz_driver_flip_datacache_write(int flip)
{
    note("flip cache %d", flip);
}

void ptz_driver_position_datacache_update(gint32 pan, gint32 tilt, gint32 pan_offset, gint32 tilt_offset,
                                          guint32 *result)
{
    note("position cache %d %d %d %d", pan, tilt, pan_offset, tilt_offset);
    *result = 7;
}

void ptz_driver_speed_datacache_update(gint32 pan_speed, gint32 tilt_speed, gboolean pan_changing,
                                       gboolean tilt_changing, guint32 *result)
{
    note("speed cache %d %d %d %d", pan_speed, tilt_speed, pan_changing, tilt_changing);
    *result = 9;
}

void ptz_driver_moving_datacache_update(int pan_mode, int tilt_mode, int pan_moving, int tilt_moving,
                                        gint32 pan_set_speed, gint32 tilt_set_speed, guint32 pan_degrees,
                                        guint32 tilt_degrees, guint32 *)
{
    note("moving cache %d %d %d %d %d %d %u %u", pan_mode, tilt_mode, pan_moving, tilt_moving, pan_set_speed,
         tilt_set_speed, pan_degrees, tilt_degrees);
}

gboolean image_source_control_set_no_video(ImageSourceControl *, gboolean no_video)
{
    note("video %s", no_video ? "off" : "on");
    return !framework().picture_fails;
}

gboolean image_source_control_freeze_video(ImageSourceControl *, gboolean freeze)
{
    note("picture %s", freeze ? "frozen" : "live");
    return !framework().picture_fails;
}
