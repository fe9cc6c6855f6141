// A stop that goes on until the camera stands.
//
// Whoever asks for it, it is repeated every 100 ms until two fresh statuses show its axes standing, however long the
// camera block is silent. It gives way only to newer moves, axis by axis, and ends when the camera runs no more.
#pragma once

#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptzd/axes.h"
#include "ptzorvel/ptzd/call.h"
#include "ptzorvel/ptzd/main_timer.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

class DriverHost;

class Stopper {
  public:
    // What the service does for it. Any thread, but for the last two, which are for the command thread.
    struct Service {
        // Has the work run on the command thread ahead of what waits; false when nothing is taken any more.
        std::function<bool(std::function<void(PTZDriver *driver)> work)> run;
        std::function<AxisMask()> moving;    // as the driver reported last
        std::function<AxisMask()> under_way; // those, and the axes of moves that are not over
        // Why the driver cannot be asked; none when it can. `driver` may be null.
        std::function<std::optional<CallError>(PTZDriver *driver)> refusal;
        std::function<void()> stopped; // pan, tilt and zoom stand
    };
    // `host` and `stops`, which counts every stop as it comes in, outlive it. Main thread, as the destructor.
    Stopper(Service service, DriverHost &host, const std::atomic<unsigned> &stops, double time_scale);
    Stopper(const Stopper &) = delete;
    Stopper &operator=(const Stopper &) = delete;

    // Any thread. Stops pan, tilt, zoom and a focus that is moved by hand. `call`, unless null, is answered when they
    // stand; after a second of camera time with StillMoving, and the stop goes on.
    void stop_all(const CallPtr &call = nullptr);
    // Stops these axes, for nobody in particular.
    void stop_axes(AxisMask axes);

    // Command thread: the block has taken a move of these axes, which was asked for at that count of stops. False when
    // a stop is the newer one, and goes on.
    bool give_way(AxisMask axes, unsigned count);
    // Command thread: whether the camera is running.
    void state_changed(bool running);

    // Command thread, at the end of the service: one try, where something moves and the block answers.
    void stop_at_end(PTZDriver *driver);

  private:
    struct Waiting {
        CallPtr call;
        std::int64_t deadline_us; // real time
    };

    bool tick();
    void begin(AxisMask axes); // under the mutex, like the next
    void post();
    void work(PTZDriver *driver);
    void advance(PTZDriver *driver, AxisMask axes, bool anew);
    bool line_is_dead();
    bool stands(AxisMask axes);
    void finish(AxisMask axes, const std::optional<CallError> &error);
    AxisMask with_focus(PTZDriver *driver, AxisMask axes) const;

    const Service service_;
    DriverHost &host_;
    const std::atomic<unsigned> &stops_;
    const double time_scale_;
    mutable std::mutex mutex_;
    // Under the mutex
    AxisMask axes_ = 0; // still to stop
    bool running_ = false;
    std::vector<Waiting> waiting_;
    bool posted_ = false; // waits or is at work
    bool again_ = false;  // asked for anew: to be sent at once
    // Command thread
    bool taken_ = false;
    std::int64_t sent_us_ = 0;
    unsigned standing_ = 0; // statuses in a row that show the axes standing
    MainTimer timer_;
};
