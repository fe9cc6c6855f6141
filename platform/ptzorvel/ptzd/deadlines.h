// How long the driver may take: for a start in which the camera block says nothing, and for the end of the service.
// What takes longer is cancelled, from the main thread and through the host interface alone; a driver without one takes
// its time.
//
// The start: when nothing good has come from the camera block for the start time-out, neither a status nor a taken
// chunk of firmware, the start is cancelled. The driver fails then, and waits again once what was cancelled has
// returned.
//
// The end: what runs is cancelled at once, so that the driver can be closed; an upgrade only when the camera block has
// not taken a chunk for a while, or has none to take. The close itself may wait, as an orderly one does, and is
// cancelled when it takes too long. All in all that is at most 20 seconds, counted from the last chunk.
#pragma once

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptzd/driver_host.h"

#include <mutex>
#include <string>

class Deadlines {
  public:
    // All seconds are of the camera's time, which runs `time_scale` times as fast as the wall's. A start time-out of 0
    // is none. What is passed in outlives this.
    Deadlines(DriverHost &host, TaskQueue &queue, double start_timeout_s, double time_scale);
    ~Deadlines(); // main thread, when the command thread has ended
    Deadlines(const Deadlines &) = delete;
    Deadlines &operator=(const Deadlines &) = delete;

    // Command thread, before the first state: starts without an answer are given up soon, whatever the start time-out.
    void hurry();
    // Command thread: the driver has this state now (PTZ_STATE_*).
    void state_changed(int state);
    // Main thread: the service ends.
    void end();
    // Command thread: the driver is about to be closed.
    void close_begins();
    // Main thread: does what is due by now. For an end that is waited for without the main loop.
    void look();

    bool ending() const;
    // Whether the end waits for an upgrade that gets on. Any thread.
    bool waits_for_upgrade() const;
    // Why the last start was cancelled; empty when it was not. Any thread.
    std::string start_cut() const;

  private:
    enum class Phase { idle, start_cancelled, upgrade_goes_on, cancelled, closing, close_cancelled };

    double now() const;
    double start_left() const;
    bool upgrade_goes_on() const;
    void cancel_start();
    void cancel_for_end();
    void count_from_last_chunk();
    void look_again(double seconds);
    void start_is_over();

    DriverHost &host_;
    TaskQueue &queue_;
    const double time_scale_;

    mutable std::mutex mutex_; // of all that follows
    Phase phase_ = Phase::idle;
    double start_timeout_;
    int state_ = 0;
    double started_ = 0; // when the camera's start began
    double ended_ = 0;   // when the end was asked for, or the last chunk was taken after that
    double close_until_ = 0;
    std::string start_cut_;
    GSource *const timer_; // any thread sets its time
};
