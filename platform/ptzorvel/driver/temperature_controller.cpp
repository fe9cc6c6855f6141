#include "ptzorvel/ptz_temperature_controller.h"

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/driver/temperature_sensor.h"
#include "ptzorvel/driver/temperature_watch.h"

#include <atomic>
#include <mutex>
#include <string>

G_DEFINE_TYPE(PTZTemperatureController, ptz_temperature_controller, G_TYPE_OBJECT)

namespace {

constexpr gint64 kPollUs = 1000000;

std::atomic<int> latest_sensor{0}; // the last one that somebody wanted watched

struct ControllerPrivate {
    std::mutex mutex;
    TemperatureWatch watch;
    bool started = false;
    bool polling = false;
    bool ever_measured = false;              // a good value
    int reported = PTZ_TEMPERATURE_IN_RANGE; // what the operations were last told
};

ControllerPrivate &private_of(PTZTemperatureController *controller)
{
    return *static_cast<ControllerPrivate *>(controller->priv);
}

std::optional<double> read_degrees(int zone)
{
    return read_temperature_sensor(zone).degrees;
}

// All triggers watch the same sensor, or the last problem counts.
int measure_and_note(ControllerPrivate &priv)
{
    std::string problem;
    const int state = priv.watch.measure([&](int zone) {
        const TemperatureReading reading = read_temperature_sensor(zone);
        if (reading.degrees)
            priv.ever_measured = true;
        else
            problem = reading.problem;
        return reading.degrees;
    });
    note_temperature_problem(problem, priv.ever_measured);
    return state;
}

// Measures, and tells the class when that changes the picture. No lock is held during the operations: they may run a
// whole start-up, which asks for the state.
void poll(PTZTemperatureController *controller)
{
    ControllerPrivate &priv = private_of(controller);
    int state = PTZ_TEMPERATURE_IN_RANGE;
    {
        const std::lock_guard lock(priv.mutex);
        state = measure_and_note(priv);
        if (state == priv.reported)
            return;
        priv.reported = state;
    }
    const PTZTemperatureControllerClass *klass = PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(controller);
    if (state == PTZ_TEMPERATURE_ABOVE)
        klass->above_range(controller);
    else if (state == PTZ_TEMPERATURE_BELOW)
        klass->below_range(controller);
    else
        klass->in_range(controller);
}

// The repeating task: ends by itself when the controller is gone.
struct PollTask {
    PTZTask task;
    GWeakRef controller;
};

gboolean run_poll(PTZTask *task)
{
    auto *controller =
        static_cast<PTZTemperatureController *>(g_weak_ref_get(&static_cast<PollTask *>(task->data)->controller));
    if (controller == nullptr)
        return FALSE;
    poll(controller);
    g_object_unref(controller);
    return TRUE;
}

void destroy_poll(gpointer task)
{
    auto *poll_task = static_cast<PollTask *>(static_cast<PTZTask *>(task)->data);
    g_weak_ref_clear(&poll_task->controller);
    delete poll_task;
}

void queue_poll(PTZTemperatureController *controller, gint64 interval)
{
    auto *poll_task = new PollTask{{run_poll, nullptr, destroy_poll, {}}, {}};
    poll_task->task.data = poll_task;
    g_weak_ref_init(&poll_task->controller, controller);
    PTZDriver *driver = controller->driver;
    PTZ_DRIVER_GET_CLASS(driver)->queue_task(driver, &poll_task->task, interval);
}

// Once there is something to watch and the watch has been started: looks at once, then every second.
void begin_polling(PTZTemperatureController *controller)
{
    ControllerPrivate &priv = private_of(controller);
    {
        const std::lock_guard lock(priv.mutex);
        if (!priv.started || priv.polling || priv.watch.empty() || controller->driver == nullptr)
            return;
        priv.polling = true;
    }
    const PTZCommandQueue *queue = controller->driver->command_queue;
    if (queue == nullptr || queue->queue.on_command_thread())
        poll(controller);
    else
        queue_poll(controller, 0);
    queue_poll(controller, kPollUs);
}

} // namespace

static int base_start(PTZTemperatureController *controller)
{
    {
        ControllerPrivate &priv = private_of(controller);
        const std::lock_guard lock(priv.mutex);
        priv.started = true;
    }
    begin_polling(controller);
    return 0;
}

static void base_out_of_range(PTZTemperatureController *controller)
{
    controller->temperature_ok = 0;
}
static void base_in_range(PTZTemperatureController *controller)
{
    controller->temperature_ok = 1;
}

static const char *base_busy_message(PTZTemperatureController *)
{
    return "The camera is outside its operating temperature. Try again later.";
}

static void ptz_temperature_controller_init(PTZTemperatureController *self)
{
    self->priv = new ControllerPrivate;
    self->temperature_ok = 1;
}

static void ptz_temperature_controller_finalize(GObject *object)
{
    forget_temperature_problem();
    delete &private_of(reinterpret_cast<PTZTemperatureController *>(object));
    G_OBJECT_CLASS(ptz_temperature_controller_parent_class)->finalize(object);
}

static void ptz_temperature_controller_class_init(PTZTemperatureControllerClass *klass)
{
    G_OBJECT_CLASS(klass)->finalize = ptz_temperature_controller_finalize;
    klass->start = base_start;
    klass->above_range = base_out_of_range;
    klass->in_range = base_in_range;
    klass->below_range = base_out_of_range;
    klass->busy_message = base_busy_message;
}

PTZTemperatureController *ptz_temperature_controller_new(GType type, PTZDriver *driver)
{
    g_return_val_if_fail(g_type_is_a(type, PTZ_TYPE_TEMPERATURE_CONTROLLER), nullptr);
    g_return_val_if_fail(PTZ_IS_DRIVER(driver), nullptr);
    auto *controller = PTZ_TEMPERATURE_CONTROLLER(g_object_new(type, nullptr));
    controller->driver = driver;
    g_set_weak_pointer(&driver_private(driver).controller, controller);
    return controller;
}

int ptz_temperature_controller_get_state(PTZTemperatureController *controller)
{
    g_return_val_if_fail(controller != nullptr, PTZ_TEMPERATURE_IN_RANGE);
    ControllerPrivate &priv = private_of(controller);
    const std::lock_guard lock(priv.mutex);
    return priv.polling ? priv.reported : priv.watch.measure(read_degrees);
}

int ptz_temperature_controller_register_trigger(PTZTemperatureController *controller, int sensor_id, int direction,
                                                double limit, double hysteresis)
{
    g_return_val_if_fail(controller != nullptr, -1);
    if (sensor_id < 0 || (direction != PTZ_TRIGGER_UPPER && direction != PTZ_TRIGGER_LOWER) || !(hysteresis >= 0.0))
        return -1;
    {
        ControllerPrivate &priv = private_of(controller);
        const std::lock_guard lock(priv.mutex);
        priv.watch.add(sensor_id, direction, limit, hysteresis);
        latest_sensor = sensor_id;
    }
    begin_polling(controller);
    return 0;
}

std::optional<double> ptz_camera_temperature()
{
    return read_degrees(latest_sensor);
}
