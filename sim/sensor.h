// The board's own temperature sensor: the thermal zone's file, as it is and as faults make it.
#pragma once

#include "sim/board_folder.h"
#include "sim/faults.h"

#include <optional>

namespace sim {

class Sensor {
  public:
    // Has the file say what the board's temperature is, or what the fault `sensor` makes of it; touches it only when
    // that has changed. Of a jumping one every slot of the fault is another value. False and errno on failure.
    bool update(const BoardFolder &folder, Faults &faults, double celsius);

  private:
    struct Shown {
        SensorFault fault;
        unsigned jumps;
        double celsius;
        bool operator==(const Shown &) const = default;
    };
    std::optional<Shown> shown_;
};

} // namespace sim
