// The simulator on the system bus: its own face com.orna.KrxSim, and the two services of the image pipeline that it
// plays, com.orna.ImageControl and com.orna.Streamer. data/*.xml describe them.
//
//     sim::Bus bus(board);             // serves, on a thread and a connection of its own, until it is destroyed
#pragma once

#include "sim/board.h"

#include <memory>

namespace sim {

class Bus {
  public:
    // Returns when the names are there. Without a bus, or when somebody else owns a name, it says so on stderr and the
    // simulator runs without; a bus that goes away is looked for until it is back.
    explicit Bus(Board &board);
    ~Bus();
    Bus(const Bus &) = delete;
    Bus &operator=(const Bus &) = delete;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sim
