#include "hw/temperature_controller.h"

#include "core/instance.h"
#include "core/log.h"
#include "hw/life_door.h"

struct PTZTemperatureControllerGeneric {
    PTZTemperatureController parent_instance;
};

struct PTZTemperatureControllerGenericClass {
    PTZTemperatureControllerClass parent_class;
};

using PTZTemperatureControllerActiveCooling = PTZTemperatureControllerGeneric;
using PTZTemperatureControllerActiveCoolingClass = PTZTemperatureControllerGenericClass;

G_DEFINE_TYPE(PTZTemperatureControllerGeneric, ptz_temperature_controller_generic,
              ptz_temperature_controller_get_type())
G_DEFINE_TYPE(PTZTemperatureControllerActiveCooling, ptz_temperature_controller_active_cooling,
              ptz_temperature_controller_generic_get_type())

namespace {

PTZDriverCanon *owner_of(const PTZTemperatureController *controller)
{
    return ptz_driver_canon_of(controller->driver);
}

void set_state(const PTZTemperatureController *controller, int state)
{
    g_object_set(controller->driver, "state", state, nullptr);
}

int generic_start(PTZTemperatureController *controller)
{
    const PTZDriverCanon *driver = owner_of(controller);
    const int result = ptz_temperature_controller_register_trigger(
        controller, driver->temperature_sensor, PTZ_TRIGGER_LOWER, static_cast<double>(driver->temperature_lower_limit),
        driver->temperature_hysteresis_generic);
    PTZ_TEMPERATURE_CONTROLLER_CLASS(ptz_temperature_controller_generic_parent_class)->start(controller);
    return result;
}

int active_cooling_start(PTZTemperatureController *controller)
{
    const PTZDriverCanon *driver = owner_of(controller);
    const int result = ptz_temperature_controller_register_trigger(
        controller, driver->temperature_sensor, PTZ_TRIGGER_UPPER, static_cast<double>(driver->temperature_upper_limit),
        driver->temperature_hysteresis_cooling);
    PTZ_TEMPERATURE_CONTROLLER_CLASS(ptz_temperature_controller_active_cooling_parent_class)->start(controller);
    return result;
}

// A camera block that is not running needs no stopping: start-up looks at `temperature_ok` itself.
void shut_down(PTZTemperatureController *controller, const char *message, int state)
{
    controller->temperature_ok = 0;
    log_warning("%s", message);
    if (controller->driver->state != PTZ_STATE_RUNNING)
        return;
    ptz_driver_canon_stop_camera(owner_of(controller));
    set_state(controller, state);
}

void below_range(PTZTemperatureController *controller)
{
    shut_down(controller, "Temperature is below operating temperature. Camera block will shut down.",
              PTZ_STATE_TOO_COLD);
}

void above_range(PTZTemperatureController *controller)
{
    shut_down(controller, "Temperature is above operating temperature. Camera block will shut down.",
              PTZ_STATE_TOO_HOT);
}

void in_range(PTZTemperatureController *controller)
{
    controller->temperature_ok = 1;
    const int state = controller->driver->state;
    if (state != PTZ_STATE_TOO_COLD && state != PTZ_STATE_TOO_HOT)
        return;
    set_state(controller, PTZ_STATE_INITIALISING);
    ptz_driver_canon_startup(owner_of(controller));
}

const char *busy_message(PTZTemperatureController *)
{
    return "Cannot perform the request because of camera temperature. The temperature is being adjusted. Please try "
           "again later.";
}

} // namespace

static void ptz_temperature_controller_generic_class_init(PTZTemperatureControllerGenericClass *klass)
{
    PTZTemperatureControllerClass *operations = PTZ_TEMPERATURE_CONTROLLER_CLASS(klass);
    operations->start = generic_start;
    operations->in_range = in_range;
    operations->below_range = below_range;
    operations->busy_message = busy_message;
}

static void ptz_temperature_controller_generic_init(PTZTemperatureControllerGeneric *)
{
}

static void ptz_temperature_controller_active_cooling_class_init(PTZTemperatureControllerActiveCoolingClass *klass)
{
    PTZTemperatureControllerClass *operations = PTZ_TEMPERATURE_CONTROLLER_CLASS(klass);
    operations->start = active_cooling_start;
    operations->above_range = above_range;
}

static void ptz_temperature_controller_active_cooling_init(PTZTemperatureControllerActiveCooling *)
{
}
