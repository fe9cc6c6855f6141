// The camera's temperature sensors, one thermal zone each, and what is told of one that fails. Any thread.
#pragma once

#include <optional>
#include <string>

struct TemperatureReading {
    std::optional<double> degrees; // Celsius
    std::string problem;           // why there are none, as a sentence
};

// Reads the sensor of that number; never waits, whatever stands in its place.
TemperatureReading read_temperature_sensor(int zone);

// What protects the camera has measured: `ever` when there has been a good value since it began. A problem that was not
// there before is logged, and its end; ptz_temperature_problem() tells it from then on.
void note_temperature_problem(const std::string &problem, bool ever);
// Nothing measures yet, or any more.
void forget_temperature_problem();
