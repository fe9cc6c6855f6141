// What a temperature controller decides from its sensors: pure, so that tests give it temperatures by hand.
#pragma once

#include <functional>
#include <optional>
#include <vector>

class TemperatureWatch {
  public:
    // Reads a sensor in degrees Celsius; none when it cannot be read.
    using Sensor = std::function<std::optional<double>(int sensor_id)>;

    // `direction` PTZ_TRIGGER_*; `hysteresis` in degrees, 0 or more.
    void add(int sensor_id, int direction, double limit, double hysteresis);
    bool empty() const { return triggers_.empty(); }

    // Measures and returns PTZ_TEMPERATURE_*. A limit is passed when the temperature lies beyond it, and left again
    // when it is back inside by the hysteresis. A sensor that cannot be read leaves its limits as they were.
    int measure(const Sensor &sensor);

  private:
    struct Trigger {
        int sensor_id;
        int direction;
        double limit;
        double hysteresis;
        bool passed;
    };

    std::vector<Trigger> triggers_;
};
