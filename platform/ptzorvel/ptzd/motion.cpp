#include "ptzorvel/ptzd/motion.h"

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/face.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double kLookEveryUs = 33000;
// The driver's poll brings a status every 33 ms, unless it is switched off or calls keep the command thread busy.
constexpr std::int64_t kStatusOverdueUs = 100000;

} // namespace

Motion::Motion(Service service, const DriverHost &host, double time_scale)
    : service_(std::move(service)), host_(host), timer_(kLookEveryUs / time_scale, [this] { return tick(); })
{
}

Motion::Ticket::~Ticket()
{
    if (begun_)
        return;
    {
        const std::lock_guard lock(motion_.mutex_);
        motion_.note({{id_, end}});
    }
    motion_.tell({{id_, end}});
}

std::shared_ptr<Motion::Ticket> Motion::accept(const MoveRequest &request)
{
    const guint32 id = request.id ? *request.id : next_id_;
    if (!request.id)
        next_id_ = next_id_ == G_MAXUINT32 ? G_MAXINT32 + 1u : next_id_ + 1;
    return std::make_shared<Ticket>(*this, id);
}

MotionLook Motion::look() const
{
    return {queue_machine_clock().now_us(), host_.statuses(), reported_, host_.silence().value_or(0),
            published_positions()};
}

MotionLook Motion::begin_operation()
{
    operating_ = true;
    return look();
}

void Motion::end_operation()
{
    operating_ = false;
    announce();
}

void Motion::begin(Ticket &ticket, const MoveRequest &request, const AxisWays &ways, const MotionLook &from)
{
    std::vector<Ended> ended;
    {
        const std::lock_guard lock(mutex_);
        const auto replaced = [&](const MoveTrack &track) { return (track.axes() & request.requested()) != 0; };
        for (const MoveTrack &track : tracks_)
            if (replaced(track))
                ended.push_back({track.id(), MoveEnd::replaced});
        note(ended);
        std::erase_if(tracks_, replaced);
        tracks_.emplace_back(ticket.id_, request, ways, from, look());
    }
    ticket.begun_ = true;
    tell(ended);
    timer_.start();
}

void Motion::axes_reported(AxisMask moving)
{
    // Iris and brightness are set at once. What a driver says of them between two moves is left over from one it
    // refused.
    reported_ = moving & ~(axis_bit(AXIS_IRIS) | axis_bit(AXIS_BRIGHTNESS));
    if (!operating_)
        announce();
}

void Motion::camera_stopped()
{
    std::vector<Ended> ended;
    {
        const std::lock_guard lock(mutex_);
        for (const MoveTrack &track : std::exchange(tracks_, {}))
            ended.push_back({track.id(), MoveEnd::camera_stopped});
        note(ended);
    }
    reported_ = 0;
    announce();
    tell(ended);
}

void Motion::stop()
{
    const std::lock_guard lock(mutex_);
    for (MoveTrack &track : tracks_)
        track.stop();
}

void Motion::position_looked()
{
    if (timer_.postpone())
        tick();
}

bool Motion::tick()
{
    const MotionLook now = look();
    std::vector<Ended> ended;
    AxisMask beyond = 0;
    bool more = false;
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(tracks_, [&](MoveTrack &track) {
            const auto end = track.look(now);
            if (end)
                ended.push_back({track.id(), *end});
            else if (track.runs())
                beyond |= track.take_beyond(now, service_.ways());
            return end.has_value();
        });
        note(ended);
        more = !tracks_.empty();
    }
    announce();
    tell(ended);
    if (beyond != 0)
        service_.stop_axes(beyond);
    if (more)
        keep_statuses_coming(now);
    return more;
}

void Motion::keep_statuses_coming(const MotionLook &now)
{
    if (now.statuses != statuses_) {
        statuses_ = now.statuses;
        statuses_since_us_ = now.now_us;
    } else if (now.silence_s == 0 && now.now_us - statuses_since_us_ >= kStatusOverdueUs) {
        statuses_since_us_ = now.now_us;
        service_.refresh();
    }
}

void Motion::announce()
{
    AxisMask moving = reported_;
    {
        const std::lock_guard lock(mutex_);
        for (const MoveTrack &track : tracks_)
            moving |= track.axes();
    }
    if (announced_.exchange(moving) == moving)
        return;
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", "Moving", axis_names_variant(moving));
    service_.emit("org.freedesktop.DBus.Properties", "PropertiesChanged",
                  g_variant_new("(sa{sv}as)", kInterfaceName, &changed, nullptr));
    service_.moving_changed();
}

bool Motion::goes_to_preset()
{
    const std::lock_guard lock(mutex_);
    return std::any_of(tracks_.begin(), tracks_.end(), [](const MoveTrack &track) { return track.goes_to_preset(); });
}

GVariant *Motion::last_move()
{
    const std::lock_guard lock(mutex_);
    const bool reached = last_.id != 0 && last_.end == MoveEnd::reached;
    return g_variant_new("(ubs)", last_.id, static_cast<gboolean>(reached),
                         last_.id != 0 ? move_end_text(last_.end) : "");
}

// Before the axes are announced to stand: who sees them stand finds how that came.
void Motion::note(const std::vector<Ended> &ended)
{
    if (!ended.empty())
        last_ = ended.back();
}

void Motion::tell(const std::vector<Ended> &ended)
{
    for (const Ended &move : ended)
        service_.emit(kInterfaceName, "MoveDone",
                      g_variant_new("(ubs@a{sd})", move.id, static_cast<gboolean>(move.end == MoveEnd::reached),
                                    move_end_text(move.end), axis_positions_variant(published_positions())));
}
