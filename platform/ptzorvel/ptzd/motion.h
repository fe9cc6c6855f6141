// The moves under way: their numbers, which axes move, and how each move ends.
//
// The property Moving is what the driver reports of the axes, and those of moves that are not over: a status may come
// before the camera has set off. Every move gets one signal MoveDone, one that was refused after its arguments were
// found in order as well.
#pragma once

#include "ptzorvel/ptzd/main_timer.h"
#include "ptzorvel/ptzd/move_track.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class DriverHost;

class Motion {
  public:
    // What the service does for it. Any thread.
    struct Service {
        std::function<void(const char *interface, const char *signal, GVariant *parameters)> emit;
        std::function<AxisWays()> ways;
        std::function<void(AxisMask axes)> stop_axes; // which have passed a limit
        std::function<void()> refresh;                // has the driver read the status
        std::function<void()> moving_changed;         // what under_way() says
    };
    // `host` outlives it. Main thread, as the destructor.
    Motion(Service service, const DriverHost &host, double time_scale);
    Motion(const Motion &) = delete;
    Motion &operator=(const Motion &) = delete;

    // A move that was asked for: ends as `end` says when it is dropped without having begun.
    class Ticket {
      public:
        Ticket(Motion &motion, guint32 id) : motion_(motion), id_(id) {}
        ~Ticket();
        Ticket(const Ticket &) = delete;
        Ticket &operator=(const Ticket &) = delete;

        MoveEnd end = MoveEnd::camera_stopped;

      private:
        friend class Motion;
        Motion &motion_;
        const guint32 id_;
        bool begun_ = false;
    };
    // Gives the move its number: the caller's, or one from 2147483648 on.
    std::shared_ptr<Ticket> accept(const MoveRequest &request);

    // Command thread. What the driver reports of the axes while it carries out a move is its own bookkeeping: between
    // these two nobody hears of it. `from` is what was known at the beginning.
    MotionLook begin_operation();
    void end_operation();
    // The block has taken the move: it takes the axes over from earlier ones.
    void begin(Ticket &ticket, const MoveRequest &request, const AxisWays &ways, const MotionLook &from);
    // What the driver reported, and its state.
    void axes_reported(AxisMask moving);
    void camera_stopped();

    // Main thread. A new position is looked at here: moves are looked at with it, not in a waking of their own.
    void position_looked();

    // Any thread. A stop was asked for: all moves that are under way.
    void stop();
    // Axes that the driver reports as moving; and those that count as moving, as the property Moving has it.
    AxisMask reported() const { return reported_; }
    AxisMask under_way() const { return announced_; }
    // Whether a move to a preset is under way that nobody has stopped.
    bool goes_to_preset();
    // (ubs) of the move that was the last to end, as MoveDone has it, floating; number 0 before the first.
    GVariant *last_move();

  private:
    struct Ended {
        guint32 id;
        MoveEnd end;
    };

    MotionLook look() const;
    bool tick();
    void announce();
    void note(const std::vector<Ended> &ended); // under the mutex
    void tell(const std::vector<Ended> &ended);
    void keep_statuses_coming(const MotionLook &look);

    const Service service_;
    const DriverHost &host_;
    std::mutex mutex_;
    std::vector<MoveTrack> tracks_;     // under the mutex
    Ended last_{0, MoveEnd::reached};   // under the mutex
    guint32 next_id_ = G_MAXINT32 + 1u; // main thread
    std::atomic<AxisMask> reported_{0};
    std::atomic<AxisMask> announced_{0};
    std::atomic<bool> operating_{false};
    // Main thread: the last count of statuses, and since when it has not changed.
    std::optional<unsigned> statuses_;
    std::int64_t statuses_since_us_ = 0;
    MainTimer timer_;
};
