// Tells the bus where the camera stands as it changes, from what the driver publishes: nothing is asked of the camera
// for it, nothing is sent while nothing changes, and at most 30 signals a second.
#pragma once

#include "ptzorvel/ptzd/axes.h"
#include "ptzorvel/ptzd/main_wake.h"

#include <atomic>
#include <functional>

class DriverHost;

class PositionSignals {
  public:
    // What the service does for it. Main thread.
    struct Service {
        std::function<void(const char *interface, const char *signal, GVariant *parameters)> emit;
        std::function<AxisMask()> moving;                           // as the property Moving has it
        std::function<void(const AxisPositions &positions)> looked; // at what was published anew
    };
    // `host` outlives it. Main thread, as the destructor; one at a time.
    PositionSignals(Service service, const DriverHost &host, double time_scale);
    ~PositionSignals();
    PositionSignals(const PositionSignals &) = delete;
    PositionSignals &operator=(const PositionSignals &) = delete;

    // Any thread: what Moving says has changed, or something was published.
    void look_soon();
    // Main thread: the property Position, (xda{sd}a{sd}as), floating.
    GVariant *position() const;

  private:
    struct View {
        PublishedView published;
        AxisMask moving = 0;
        bool operator==(const View &) const = default;
    };
    void look();
    View view() const;
    GVariant *variant(const View &view) const;

    const Service service_;
    const DriverHost &host_;
    const double time_scale_;
    View told_;
    std::atomic<gint64> due_us_{0}; // no signal before that, of the monotonic clock
    MainWake wake_;
};
