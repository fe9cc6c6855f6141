// What the service manager (systemd) hears of the service: that it is ready, how the camera is, that the command thread
// lives, and that a start or an end that gets on takes longer. Nothing of it happens where no manager listens.
//
// The command thread lives when it has come round to a question of the main thread, or when the driver has begun or
// ended a wait since the last look: a long wait for the camera block is no hang, a call that never returns is one. The
// main thread tells, so its own hang is noticed as well.
#pragma once

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptzd/deadlines.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/main_timer.h"

#include <atomic>
#include <cstdint>

class ServiceManager {
  public:
    // What is passed in outlives this. Main thread.
    ServiceManager(TaskQueue &queue, DriverHost &host, const Deadlines &deadlines);
    ServiceManager(const ServiceManager &) = delete;
    ServiceManager &operator=(const ServiceManager &) = delete;

    // Command thread: the driver has this state now, in words. The service is ready with the first in which the camera
    // does not start any more, however that went.
    void state_changed(int state, const char *words);
    // Main thread: the service ends.
    void end();

  private:
    bool look();

    TaskQueue &queue_;
    DriverHost &host_;
    const Deadlines &deadlines_;
    const std::uint64_t patience_us_; // the manager's, with a silent service
    std::atomic<bool> ready_{false};
    std::atomic<bool> came_round_{true};
    unsigned waits_ = 0; // main thread
    MainTimer timer_;
};
