// A driver without a camera: writes down what it is called with, and does what the test says.
#pragma once

#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptz_temperature_controller.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

// What all recording drivers share with the test. Safe on every thread.
class DriverScript {
  public:
    static DriverScript &get();

    void reset();
    void record(const std::string &line);
    std::vector<std::string> lines() const;
    // How many drivers exist.
    int alive() const;
    void born();
    void died();

    // While the gate is shut, get_position does not return.
    void shut_gate();
    void open_gate();
    void pass_gate();
    bool someone_waits() const;

    int state_after_open() const { return state_after_open_; }
    void set_state_after_open(int state) { state_after_open_ = state; }
    // What the operations return that can fail.
    bool works() const { return works_; }
    void set_works(bool works) { works_ = works; }
    bool warm() const { return warm_; }
    void set_warm(bool warm) { warm_ = warm; }

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
    int alive_ = 0;
    int waiting_ = 0;
    bool shut_ = false;
    std::atomic<int> state_after_open_{PTZ_STATE_RUNNING};
    std::atomic<bool> works_{true};
    std::atomic<bool> warm_{true};
};

// As a plug-in exports it. The driver replaces every operation but angle_to_zoom and get_capabilities.
PTZDriver *recording_driver_new(int video_channel_nbr, int id);

// A repeating task of 1 us on the driver's queue, that never ends by itself, is queued by open; how often it was
// destroyed:
int recording_driver_tasks_destroyed();
