#include "ptzorvel/driver/temperature_watch.h"

#include "ptzorvel/ptz_temperature_controller.h"

void TemperatureWatch::add(int sensor_id, int direction, double limit, double hysteresis)
{
    triggers_.push_back({sensor_id, direction, limit, hysteresis, false});
}

int TemperatureWatch::measure(const Sensor &sensor)
{
    bool above = false;
    bool below = false;
    for (Trigger &trigger : triggers_) {
        // Degrees beyond the limit, whichever side that is.
        const bool upper = trigger.direction == PTZ_TRIGGER_UPPER;
        if (const auto temperature = sensor(trigger.sensor_id)) {
            const double beyond = upper ? *temperature - trigger.limit : trigger.limit - *temperature;
            trigger.passed = trigger.passed ? beyond > -trigger.hysteresis : beyond > 0.0;
        }
        (upper ? above : below) |= trigger.passed;
    }
    return above ? PTZ_TEMPERATURE_ABOVE : below ? PTZ_TEMPERATURE_BELOW : PTZ_TEMPERATURE_IN_RANGE;
}
