#include "ptzorvel/ptzd/move_track.h"

#include <algorithm>
#include <cmath>

namespace {

// A block at rest in two statuses stands. One that neither has arrived nor was stopped may still have to set off.
constexpr unsigned kStandingStatuses = 2;
constexpr unsigned kSettledStatuses = 5;
constexpr std::int64_t kSettledUs = 500000;

constexpr double kLinkLostS = 1; // from then on the link has to do with where it stands
constexpr double kLinkGivenUpS = 10;

double toward(double value, double low, double high)
{
    return std::max(low, std::min(value, high));
}

} // namespace

const char *move_end_text(MoveEnd end)
{
    static constexpr const char *kTexts[] = {"reached",   "stopped",   "replaced",      "limit",
                                             "not taken", "link lost", "camera stopped"};
    return kTexts[static_cast<std::size_t>(end)];
}

MoveTrack::MoveTrack(guint32 id, const MoveRequest &request, const AxisWays &ways, const MotionLook &from,
                     const MotionLook &taken)
    : id_(id), preset_(request.preset), axes_(request.requested()), seen_(taken.statuses)
{
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        goals_[axis] = goal_of(axis, request.axes[axis], ways[axis], from);
}

MoveTrack::Goal MoveTrack::goal_of(std::size_t axis, const PTZMotion &motion, const AxisWay &way,
                                   const MotionLook &from)
{
    const double value = from_fixed(motion.value);
    switch (motion.type) {
    case PTZ_MOVE_ABSOLUTE:
        return {Goal::Kind::place, value, toward(value, way.low, way.high)};
    case PTZ_MOVE_RELATIVE:
        // Counted from where the block takes it: for an axis that is on its way nobody else knows where.
        if (value == 0 || !from.positions[axis] || (from.moving & axis_bit(axis)) != 0)
            return {Goal::Kind::stand};
        return {Goal::Kind::place, *from.positions[axis] + value,
                toward(*from.positions[axis] + value, way.low, way.high)};
    case PTZ_MOVE_CONTINUOUS:
        if (value == 0)
            return {Goal::Kind::stand};
        return {Goal::Kind::run, value, value > 0 ? way.high : way.low};
    default:
        return {};
    }
}

bool MoveTrack::is_there(std::size_t axis, const AxisPositions &positions) const
{
    const Goal &goal = goals_[axis];
    if (goal.kind != Goal::Kind::place)
        return goal.kind != Goal::Kind::run;
    // A driver that publishes nothing is taken at its word.
    return !positions[axis] || std::fabs(*positions[axis] - goal.place) <= kAxes[axis].tolerance;
}

bool MoveTrack::is_at_end(std::size_t axis, const AxisPositions &positions) const
{
    const Goal &goal = goals_[axis];
    const double tolerance = kAxes[axis].tolerance;
    if (!positions[axis])
        return false;
    const double left = goal.end - *positions[axis];
    if (goal.kind == Goal::Kind::run)
        return (goal.place > 0 ? left : -left) <= tolerance;
    return goal.kind == Goal::Kind::place && goal.end != goal.place && std::fabs(left) <= tolerance;
}

MoveEnd MoveTrack::verdict(const MotionLook &look) const
{
    bool there = true;
    bool there_or_at_end = true;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        const bool arrived = is_there(axis, look.positions);
        there = there && arrived;
        there_or_at_end = there_or_at_end && (arrived || is_at_end(axis, look.positions));
    }
    if (there)
        return MoveEnd::reached;
    if (there_or_at_end || beyond_ != 0)
        return MoveEnd::limit;
    if (stopping_)
        return MoveEnd::stopped;
    if (link_lost_)
        return MoveEnd::link_lost;
    return has_moved_ ? MoveEnd::stopped : MoveEnd::not_taken;
}

std::optional<MoveEnd> MoveTrack::look(const MotionLook &look)
{
    if (look.silence_s >= kLinkGivenUpS)
        return MoveEnd::link_lost;
    link_lost_ = link_lost_ || look.silence_s > kLinkLostS;
    const bool fresh = !look.statuses || !seen_ || static_cast<gint32>(*look.statuses - *seen_) > 0;
    if (!fresh)
        return std::nullopt;
    seen_ = look.statuses;
    if ((look.moving & axes_) != 0) {
        has_moved_ = true;
        standing_ = 0;
        return std::nullopt;
    }
    if (standing_++ == 0)
        standing_since_us_ = look.now_us;
    if (standing_ < kStandingStatuses)
        return std::nullopt;
    const MoveEnd end = verdict(look);
    const bool settled = standing_ >= kSettledStatuses && look.now_us - standing_since_us_ >= kSettledUs;
    if (end == MoveEnd::reached || end == MoveEnd::limit || stopping_ || settled)
        return end;
    return std::nullopt;
}

bool MoveTrack::runs() const
{
    return goals_[AXIS_PAN].kind == Goal::Kind::run || goals_[AXIS_TILT].kind == Goal::Kind::run;
}

AxisMask MoveTrack::take_beyond(const MotionLook &look, const AxisWays &ways)
{
    AxisMask passed = 0;
    for (const std::size_t axis : {AXIS_PAN, AXIS_TILT}) {
        const Goal &goal = goals_[axis];
        if (goal.kind != Goal::Kind::run || !look.positions[axis])
            continue;
        const double position = *look.positions[axis];
        const double over = goal.place > 0 ? position - ways[axis].high : ways[axis].low - position;
        if (over <= kAxes[axis].tolerance)
            inside_ |= axis_bit(axis);
        else
            passed |= axis_bit(axis);
    }
    // One that began outside is on its way back: the driver sends it to the limit.
    passed &= inside_ & ~beyond_;
    beyond_ |= passed;
    return passed;
}
