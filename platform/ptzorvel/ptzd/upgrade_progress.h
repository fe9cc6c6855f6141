// Tells the bus how far an upgrade of the camera's firmware is, whoever started it.
#pragma once

#include "ptzorvel/ptzd/main_timer.h"

#include <glib.h>

#include <mutex>
#include <utility>

class PtzService;

class UpgradeProgress {
  public:
    using Far = std::pair<guint32, guint32>; // chunks that the camera block has taken, of so many

    explicit UpgradeProgress(PtzService &service);

    // Command thread: the camera's state has changed to this one. While it is the upgrade's, the property Upgrading and
    // the signal UpgradeProgress follow the transfer, four times a second at most.
    void state_changed(int state);

    // Both 0 while no transfer is under way. Any thread.
    Far now() const;

  private:
    bool look();
    void tell(); // under the mutex

    PtzService &service_;
    mutable std::mutex mutex_;
    bool under_way_ = false; // under the mutex, as what follows
    Far told_{};
    MainTimer timer_;
};
