// A driver without a camera: writes down what it is called with, and does what the test says.
#pragma once

#include "ptzorvel/ptz_driver.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

// What the drivers of a test share with it; in force from construction to destruction. Safe on every thread.
struct DriverScript {
    DriverScript() { current = this; }

    std::vector<std::string> lines()
    {
        const std::lock_guard lock(mutex);
        return recorded;
    }

    std::mutex mutex;
    std::vector<std::string> recorded; // under the mutex
    std::mutex gate;                   // as long as the test holds it, get_position does not return
    std::atomic<bool> in_position{false};
    std::atomic<bool> works{true}; // what the operations return that can fail
    std::atomic<int> state_after_open{PTZ_STATE_RUNNING};
    std::atomic<int> alive{0}; // drivers, and the task that each adds on opening: every microsecond, without an end

    static inline DriverScript *current = nullptr;
};

// As a plug-in exports it. The driver replaces every operation but angle_to_zoom and get_capabilities.
PTZDriver *recording_driver_new(int video_channel_nbr, int id);
