// Where the camera was last known to look, for those who cannot wait for the driver to say it.
#pragma once

#include "ptzorvel/ptzd/driver_host.h"

#include <array>
#include <mutex>
#include <optional>

// In the order of the driver's operation: pan and tilt in degrees, zoom, iris, focus and brightness as positions.
inline constexpr std::array kPositionNames{"pan", "tilt", "zoom", "iris", "focus", "brightness"};

class KnownPosition {
  public:
    struct Known {
        std::array<double, kPositionNames.size()> values; // as the driver gives them, in steps of 1/65536
        double age;                                       // seconds of the camera's time
    };

    KnownPosition(const DriverHost &host, double time_scale) : host_(host), time_scale_(time_scale) {}

    // Command thread: the camera is about to be stopped or started, with which the driver forgets what it knew. What it
    // has published stands until it publishes what a status says.
    void keep();

    // Any thread. None before the first status, and when the driver does not say how old its status is.
    std::optional<Known> look() const;

  private:
    std::optional<Known> published() const;

    const DriverHost &host_;
    const double time_scale_;
    mutable std::mutex mutex_;
    std::optional<Known> kept_; // under the mutex; its age when it was kept
    gint64 kept_at_us_ = 0;     // under the mutex; of the monotonic clock
};
