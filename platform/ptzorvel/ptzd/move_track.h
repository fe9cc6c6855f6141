// One move that the camera block has taken, followed until it is over: where its axes shall come, and how it ended.
#pragma once

#include "ptzorvel/ptzd/move_limits.h"

#include <array>
#include <cstdint>
#include <optional>

enum class MoveEnd { reached, stopped, replaced, limit, not_taken, link_lost, camera_stopped };

// In the words of the signal MoveDone.
const char *move_end_text(MoveEnd end);

// What is known of the camera at one moment.
struct MotionLook {
    std::int64_t now_us = 0;          // camera time
    std::optional<unsigned> statuses; // good statuses so far; none: the driver does not count them
    AxisMask moving = 0;              // as the last status has it
    double silence_s = 0;             // for how long the block has not answered
    AxisPositions positions;
};

class MoveTrack {
  public:
    // `from`: before the move was sent; `taken`: when the block had taken it.
    MoveTrack(guint32 id, const MoveRequest &request, const AxisWays &ways, const MotionLook &from,
              const MotionLook &taken);

    guint32 id() const { return id_; }
    AxisMask axes() const { return axes_; }

    // A stop was asked for: wherever it now comes to a stand it was stopped, unless it has arrived.
    void stop() { stopping_ = true; }

    bool goes_to_preset() const { return preset_ && !stopping_; }

    // How it ended; none while it goes on.
    std::optional<MoveEnd> look(const MotionLook &look);

    // Whether pan or tilt runs on, and is to be watched at its limits.
    bool runs() const;
    // Of those, the axes that have passed a limit which the user has set, be it meanwhile; each is told once.
    AxisMask take_beyond(const MotionLook &look, const AxisWays &ways);

  private:
    struct Goal {
        enum class Kind { none, stand, place, run } kind = Kind::none;
        double place = 0; // where it was told to go; of an axis that runs on, its speed
        double end = 0;   // where its way ends, that place or before
    };
    static Goal goal_of(std::size_t axis, const PTZMotion &motion, const AxisWay &way, const MotionLook &from);
    bool is_there(std::size_t axis, const AxisPositions &positions) const;
    bool is_at_end(std::size_t axis, const AxisPositions &positions) const;
    MoveEnd verdict(const MotionLook &look) const;

    guint32 id_;
    bool preset_;
    AxisMask axes_;
    std::array<Goal, AXIS_COUNT> goals_;
    std::optional<unsigned> seen_; // statuses
    unsigned standing_ = 0;        // fresh statuses in a row that show it standing
    std::int64_t standing_since_us_ = 0;
    AxisMask inside_ = 0; // axes that run on and were seen inside their limits
    AxisMask beyond_ = 0; // and then were not
    bool has_moved_ = false;
    bool stopping_ = false;
    bool link_lost_ = false;
};
