// The driver on a simulated board in this process, whose time is virtual: what is left of a step is the driver's work
// and the board's, the same in every run.
#pragma once

#include "core/instance.h"
#include "sim/board.h"
#include "sim/bus.h"
#include "tests/support/virtual_clock.h"

#include <memory>
#include <string>

// A board and its services; a driver object on it, which is not opened yet.
class VirtualCamera {
  public:
    VirtualCamera();
    ~VirtualCamera();
    VirtualCamera(const VirtualCamera &) = delete;
    VirtualCamera &operator=(const VirtualCamera &) = delete;

    // A driver that knows nothing of the one before.
    void renew_driver();

    // False when the camera does not start.
    bool open();

    PTZDriverCanon *driver() { return driver_; }

    // The board is in this process: what it keeps of the packets it heard would count as the driver's.
    void forget_packets();

  private:
    void put_driver_away();

    std::string folder_;
    sim::Board board_;
    std::unique_ptr<sim::Bus> services_;
    VirtualClock clock_;
    PTZDriverCanon *driver_ = nullptr;
    bool started_ = false;
};
