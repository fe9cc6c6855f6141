// Numbers over time: what became of frames and commands since the service began. Adding to them takes no memory.
#pragma once

#include "host/driver_host.h"
#include "ptzorvel/ptzd/histogram.h"

#include <array>
#include <mutex>
#include <optional>
#include <string>

// What is not counted here but looked at when somebody asks.
struct MetricsNow {
    int state = 0;
    bool link_up = false;
    unsigned outages = 0, resets = 0, reboots = 0;
    std::size_t waiting = 0, repeating = 0;
    std::optional<double> status_age_s, temperature;
};

class Metrics {
  public:
    Metrics();
    Metrics(const Metrics &) = delete;
    Metrics &operator=(const Metrics &) = delete;

    // For the driver; lives as long as this.
    const DriverHostObserver *observer() const { return &observer_; }

    // All of them in the text form that Prometheus reads: base units, a HELP and a TYPE line for each family. Any
    // thread.
    std::string text(const MetricsNow &now) const;

  private:
    struct Command {
        const char *record = nullptr; // null: free
        std::uint64_t failures = 0;
        Histogram latency;
    };
    static constexpr std::size_t kMostCommands = 96; // more than a driver has; the rest counts as the last
    struct Counts {
        std::array<std::uint64_t, DRIVER_HOST_FRAME_OUTCOMES> frames{};
        std::uint64_t retries = 0;
        std::array<Command, kMostCommands> commands{};
        Histogram refresh;

        Command &command(const char *record);
    };

    const DriverHostObserver observer_;
    mutable std::mutex mutex_;
    Counts counts_; // under the mutex
};
