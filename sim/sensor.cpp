#include "sim/sensor.h"

#include <cmath>
#include <string>

namespace sim {
namespace {

bool write(const BoardFolder &folder, SensorFault fault, double celsius)
{
    switch (fault) {
    case SensorFault::missing:
        return folder.remove_sensor();
    case SensorFault::empty:
        return folder.write_sensor("");
    case SensorFault::garbage:
        return folder.write_sensor("4\xFF\n%s 1e99 \n");
    case SensorFault::fifo:
        return folder.make_sensor_fifo();
    default:
        return folder.write_sensor(std::to_string(std::lround(celsius * 1000)) + "\n");
    }
}

} // namespace

bool Sensor::update(const BoardFolder &folder, Faults &faults, double celsius)
{
    const SensorFault fault =
        faults.active(Fault::sensor) ? static_cast<SensorFault>(faults.value(Fault::sensor)) : SensorFault::none;
    const bool jumping = fault == SensorFault::jumping;
    const Shown wanted{fault, jumping ? faults.slots(Fault::sensor) : 0, celsius};
    if (shown_ == wanted)
        return true;
    shown_.reset();
    if (!write(folder, fault, jumping ? faults.random(210) - 60.0 : celsius))
        return false;
    shown_ = wanted;
    return true;
}

} // namespace sim
