#include "ptzorvel/driver/driver_private.h"

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/driver/imaging_params.h"
#include "ptzorvel/ports/port_registry.h"

G_DEFINE_TYPE(PTZDriver, ptz_driver, G_TYPE_OBJECT)

enum { PROP_STATE = 1, PROP_SPEED, PROP_VIDEO_CHANNEL_NBR, PROP_ID, PROP_COUNT };
enum { SIGNAL_CAMERA_EVENT, SIGNAL_PARAM_CHANGED, SIGNAL_MOVING_CHANGED, SIGNAL_COUNT };

static GParamSpec *properties[PROP_COUNT];
static guint signals[SIGNAL_COUNT];

DriverPrivate &driver_private(PTZDriver *driver)
{
    return *static_cast<DriverPrivate *>(driver->priv);
}

void driver_emit_moving(PTZDriver *driver, unsigned axes)
{
    g_signal_emit(driver, signals[SIGNAL_MOVING_CHANGED], 0, axes);
}

// Operations that this driver has not replaced

static gboolean no_move(PTZDriver *, const PTZMotion *, const PTZMotion *, const PTZMotion *, const PTZMotion *,
                        const PTZMotion *, const PTZMotion *, const PTZSpeed *)
{
    return FALSE;
}
static gboolean not_supported(PTZDriver *)
{
    return FALSE;
}
static gboolean no_field_of_view(PTZDriver *, gint32, gint32 *, gint32 *, gint32 *, gint32 *)
{
    return TRUE; // no answer: this operation's results are the other way round
}
static gboolean no_special_command(PTZDriver *, const char *)
{
    return FALSE;
}
static gboolean no_list(PTZDriver *, char ***list)
{
    *list = nullptr;
    return FALSE;
}
static gboolean no_capabilities(PTZDriver *driver, const char *, char ***list)
{
    return no_list(driver, list);
}
static gboolean no_angle_to_zoom(PTZDriver *, gint32, gint32, gint32 *)
{
    return FALSE;
}
static gboolean no_position(PTZDriver *, gint32 *, gint32 *, gint32 *, gint32 *, gint32 *, gint32 *)
{
    return FALSE;
}
static gboolean ignore_change(PTZDriver *, const char *)
{
    return TRUE;
}
static void ignore_signal(PTZDriver *, const char *, GVariant *)
{
}
// The framework has no parameters of its own here; the three groups are there from the start.
static gboolean base_install_params(PTZDriver *)
{
    return TRUE;
}

// Operations of the framework

static void set_number(PTZDriver *driver, int property, gint32 &field, gint32 value)
{
    if (field == value)
        return;
    field = value;
    g_object_notify_by_pspec(G_OBJECT(driver), properties[property]);
}

static gboolean base_open(PTZDriver *driver)
{
    set_number(driver, PROP_STATE, driver->state, PTZ_STATE_RUNNING);
    return TRUE;
}

static gboolean base_close(PTZDriver *driver)
{
    set_number(driver, PROP_STATE, driver->state, PTZ_STATE_CLOSED);
    return TRUE;
}

static gboolean add_params(PTZDriver *driver, const char *group, const PTZParamDefinition *table)
{
    return group != nullptr && driver_private(driver).params->group(group, true)->add_table(table);
}

// What repeats faster than once a second follows the camera, and rests when the queue's owner says that there is none.
// What repeats slowly watches over other things, the temperature.
static gboolean queue_task(PTZDriver *driver, PTZTask *task, gint64 interval)
{
    constexpr gint64 kFollowsBelowUs = 1000000;
    if (task == nullptr)
        return FALSE;
    if (driver->command_queue != nullptr)
        return driver->command_queue->queue.add(task, interval, TaskQueue::Lane::normal, interval < kFollowsBelowUs);
    if (task->destroy != nullptr)
        task->destroy(task);
    return FALSE;
}

static gboolean run_start_routine(PTZDriver *driver)
{
    if (driver->start_routine == nullptr)
        return FALSE;
    if (driver->command_queue == nullptr || driver->command_queue->queue.on_command_thread())
        return driver->start_routine(driver);
    std::shared_ptr<PTZDriver> kept(static_cast<PTZDriver *>(g_object_ref(driver)), g_object_unref);
    return driver->command_queue->queue.post([kept] {
        if (kept->start_routine != nullptr)
            kept->start_routine(kept.get());
    });
}

static void prepare_move(PTZDriver *driver)
{
    driver_private(driver).moves++;
}
static void idle_poll(PTZDriver *, int)
{
}

static gboolean emit_event(PTZDriver *driver, int kind, const void *data, GError **error)
{
    if (kind != PTZ_EVENT_CAMERA_ERROR || data == nullptr) {
        g_set_error(error, g_quark_from_static_string("ptz-driver"), kind, "There are no events of kind %d", kind);
        return FALSE;
    }
    const auto *event = static_cast<const PTZCameraErrorEvent *>(data);
    g_signal_emit(driver, signals[SIGNAL_CAMERA_EVENT], 0, event->error_bits,
                  event->text != nullptr ? event->text : "");
    return TRUE;
}

static gboolean set_param(PTZDriver *driver, const char *group, const char *name, ParamValue value)
{
    PTZDynamicalProperties *properties_of_group =
        group != nullptr && name != nullptr ? driver_private(driver).params->group(group) : nullptr;
    if (properties_of_group == nullptr || !properties_of_group->set(name, std::move(value)).empty())
        return FALSE;
    g_signal_emit(driver, signals[SIGNAL_PARAM_CHANGED], 0, group, name);
    return TRUE;
}

static gboolean set_param_bool(PTZDriver *driver, const char *group, const char *name, gboolean value)
{
    return set_param(driver, group, name, value != FALSE);
}

static gboolean set_param_string(PTZDriver *driver, const char *group, const char *name, const char *value)
{
    return set_param(driver, group, name, value != nullptr ? ParamValue(std::string(value)) : ParamValue());
}

// The object

static void ptz_driver_set_property(GObject *object, guint property, const GValue *value, GParamSpec *)
{
    auto *self = reinterpret_cast<PTZDriver *>(object);
    switch (property) {
    case PROP_STATE:
        set_number(self, PROP_STATE, self->state, g_value_get_int(value));
        break;
    case PROP_SPEED:
        self->speed = g_value_get_double(value);
        g_object_notify_by_pspec(object, properties[PROP_SPEED]);
        break;
    case PROP_VIDEO_CHANNEL_NBR:
        self->video_channel_nbr = g_value_get_int(value);
        break;
    case PROP_ID:
        self->id = g_value_get_int(value);
        break;
    }
}

static void ptz_driver_get_property(GObject *object, guint property, GValue *value, GParamSpec *)
{
    const auto *self = reinterpret_cast<PTZDriver *>(object);
    switch (property) {
    case PROP_STATE:
        g_value_set_int(value, self->state);
        break;
    case PROP_SPEED:
        g_value_set_double(value, self->speed);
        break;
    case PROP_VIDEO_CHANNEL_NBR:
        g_value_set_int(value, self->video_channel_nbr);
        break;
    case PROP_ID:
        g_value_set_int(value, self->id);
        break;
    }
}

static void ptz_driver_init(PTZDriver *self)
{
    auto *priv = new DriverPrivate;
    self->priv = priv;
    // A driver may queue tasks and make ports while it is being constructed, so these are there before anything else.
    self->command_queue = ptz_command_queue_current();
    self->port_registry = ptz_port_registry_current();
    self->limit_params = priv->params->group("Limit", true);
    self->useradv_params = priv->params->group("UserAdv", true);
    self->imagesource_params = priv->params->group("ImageSource", true);
    self->iris_mode = PTZ_IRIS_AUTO;
    self->focus_mode = PTZ_FOCUS_AUTO;
    self->backlight_mode = PTZ_BACKLIGHT_OFF;
    self->speed = 100.0;
    self->counter_update_interval = 300;
}

static void ptz_driver_finalize(GObject *object)
{
    auto *self = reinterpret_cast<PTZDriver *>(object);
    auto *priv = static_cast<DriverPrivate *>(self->priv);
    g_clear_weak_pointer(&priv->controller);
    delete priv;
    g_free(self->block_name);
    g_free(self->block_version);
    G_OBJECT_CLASS(ptz_driver_parent_class)->finalize(object);
}

static void install_properties(GObjectClass *klass)
{
    // The underscore in a name keeps GLib from using the text itself: it makes its own spelling of it.
    const auto changing = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_EXPLICIT_NOTIFY);
    const auto construct = static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_CONSTRUCT_ONLY);
    properties[PROP_STATE] = g_param_spec_int("state", nullptr, nullptr, PTZ_STATE_NOT_OPENED, PTZ_STATE_FAILED,
                                              PTZ_STATE_NOT_OPENED, changing);
    properties[PROP_SPEED] = g_param_spec_double("speed", nullptr, nullptr, 0.0, 100.0, 100.0, changing);
    properties[PROP_VIDEO_CHANNEL_NBR] =
        g_param_spec_int("video_channel_nbr", nullptr, nullptr, G_MININT, G_MAXINT, 0, construct);
    properties[PROP_ID] = g_param_spec_int("id", nullptr, nullptr, G_MININT, G_MAXINT, 0, construct);
    g_object_class_install_properties(klass, PROP_COUNT, properties);
}

static void ptz_driver_class_init(PTZDriverClass *klass)
{
    GObjectClass *object_class = G_OBJECT_CLASS(klass);
    object_class->set_property = ptz_driver_set_property;
    object_class->get_property = ptz_driver_get_property;
    object_class->finalize = ptz_driver_finalize;
    install_properties(object_class);
    // Emitted on the command thread: what happened, for whoever runs the driver.
    signals[SIGNAL_CAMERA_EVENT] = g_signal_new("camera-event", PTZ_TYPE_DRIVER, G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                                                nullptr, G_TYPE_NONE, 2, G_TYPE_UINT, G_TYPE_STRING);
    signals[SIGNAL_PARAM_CHANGED] = g_signal_new("param-changed", PTZ_TYPE_DRIVER, G_SIGNAL_RUN_LAST, 0, nullptr,
                                                 nullptr, nullptr, G_TYPE_NONE, 2, G_TYPE_STRING, G_TYPE_STRING);
    signals[SIGNAL_MOVING_CHANGED] = g_signal_new("moving-changed", PTZ_TYPE_DRIVER, G_SIGNAL_RUN_LAST, 0, nullptr,
                                                  nullptr, nullptr, G_TYPE_NONE, 1, G_TYPE_UINT);
    klass->move = no_move;
    klass->stop = not_supported;
    klass->get_field_of_view = no_field_of_view;
    klass->run_special_command = no_special_command;
    klass->get_special_commands = no_list;
    klass->angle_to_zoom = no_angle_to_zoom;
    klass->get_position = no_position;
    klass->useradv_changed = ignore_change;
    klass->imagesource_changed = ignore_change;
    klass->limit_changed = ignore_change;
    klass->iris_mode_changed = not_supported;
    klass->focus_mode_changed = not_supported;
    klass->backlight_changed = not_supported;
    klass->speed_factor_changed = not_supported;
    klass->open = base_open;
    klass->close = base_close;
    klass->install_params = base_install_params;
    klass->signal_received = ignore_signal;
    klass->get_capabilities = no_capabilities;
    klass->add_params = add_params;
    klass->queue_task = queue_task;
    klass->run_start_routine = run_start_routine;
    klass->prepare_move = prepare_move;
    klass->idle_poll = idle_poll;
    klass->report_status_params = driver_report_status;
    klass->emit_event = emit_event;
    klass->set_param_bool = set_param_bool;
    klass->set_param_string = set_param_string;
}

void ptz_driver_connect_imaging_params(PTZDriver *driver, const char *group, const char *const *names)
{
    if (driver == nullptr || g_strcmp0(group, "ImageSource") != 0 || names == nullptr)
        return;
    for (; *names != nullptr; names++) {
        const PTZParamDefinition *row = imaging_param(*names);
        if (row != nullptr && driver_private(driver).imaging_names.insert(*names).second) {
            const PTZParamDefinition table[] = {*row, {}};
            driver->imagesource_params->add_table(table);
        }
    }
}

const char *ptz_driver_busy_text(PTZDriver *driver)
{
    PTZTemperatureController *controller = driver_private(driver).controller;
    if (controller == nullptr || controller->temperature_ok != 0)
        return nullptr;
    return PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(controller)->busy_message(controller);
}

void ptz_driver_set_request(PTZDriver *driver, const PTZRequest *request)
{
    DriverPrivate &priv = driver_private(driver);
    if (request != nullptr)
        priv.request = *request;
    driver->current_request = request != nullptr ? &priv.request : nullptr;
}

gboolean ptz_driver_param_changed(PTZDriver *driver, const std::string &group, const std::string &name)
{
    const PTZDriverClass *klass = PTZ_DRIVER_GET_CLASS(driver);
    if (group == "Limit")
        return klass->limit_changed(driver, name.c_str());
    if (group == "UserAdv")
        return klass->useradv_changed(driver, name.c_str());
    if (group == "ImageSource" && driver_private(driver).imaging_names.count(name) != 0)
        return klass->imagesource_changed(driver, name.c_str());
    return TRUE;
}
