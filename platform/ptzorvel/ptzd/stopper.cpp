#include "ptzorvel/ptzd/stopper.h"

#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/move_operation.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double kLookEveryUs = 33000;
constexpr std::int64_t kRepeatUs = 100000;
constexpr unsigned kStandingStatuses = 2;
constexpr std::int64_t kDeadLineUs = 1000000;
// A second of camera time, less a look; on a camera whose time runs fast an exchange still needs its time.
constexpr double kAnswerWithinUs = 950000;
constexpr double kLeastAnswerUs = 500000;

} // namespace

Stopper::Stopper(Service service, DriverHost &host, const std::atomic<unsigned> &stops, double time_scale)
    : service_(std::move(service)), host_(host), stops_(stops), time_scale_(time_scale),
      timer_(kLookEveryUs / time_scale, [this] { return tick(); })
{
}

void Stopper::stop_all(const CallPtr &call)
{
    const std::lock_guard lock(mutex_);
    const double within = std::max(kAnswerWithinUs / time_scale_, kLeastAnswerUs);
    if (call != nullptr)
        waiting_.push_back({call, g_get_monotonic_time() + static_cast<std::int64_t>(within)});
    begin(kStoppedAxes);
}

void Stopper::stop_axes(AxisMask axes)
{
    const std::lock_guard lock(mutex_);
    begin(axes);
}

void Stopper::begin(AxisMask axes)
{
    axes_ |= axes;
    again_ = true;
    post();
    timer_.start();
}

void Stopper::post()
{
    if (std::exchange(posted_, true))
        return;
    service_.run([this](PTZDriver *driver) { work(driver); });
    // What reads from another service lets go of the command thread, for the work that waits by now; the work ends that
    // under the same mutex.
    if (running_)
        host_.interrupt();
}

void Stopper::state_changed(bool running)
{
    const std::lock_guard lock(mutex_);
    running_ = running;
    // A start-up reads what it cannot do without.
    if (!running)
        host_.interrupt_over();
}

bool Stopper::tick()
{
    std::vector<Waiting> late;
    bool more = false;
    {
        const std::lock_guard lock(mutex_);
        const auto is_late = [now = g_get_monotonic_time()](const Waiting &each) { return each.deadline_us <= now; };
        std::copy_if(waiting_.begin(), waiting_.end(), std::back_inserter(late), is_late);
        std::erase_if(waiting_, is_late);
        more = axes_ != 0;
        if (more)
            post();
    }
    for (const Waiting &each : late)
        each.call->refuse({ErrorKind::still_moving, "The camera has not been seen to stand yet. The stop goes on until "
                                                    "it does; the property Moving tells when."});
    return more;
}

void Stopper::work(PTZDriver *driver)
{
    AxisMask axes = 0;
    bool anew = false;
    {
        const std::lock_guard lock(mutex_);
        anew = std::exchange(again_, false);
        axes = axes_;
        host_.interrupt_over();
    }
    if (const auto refusal = service_.refusal(driver))
        finish(axes, refusal);
    else if (axes != 0)
        advance(driver, axes, anew);
    const std::lock_guard lock(mutex_);
    // Posted again by the next tick, so that others have their turn on a link on which every try takes long.
    posted_ = false;
    if (again_)
        post();
}

void Stopper::advance(PTZDriver *driver, AxisMask axes, bool anew)
{
    axes = with_focus(driver, axes);
    if (anew) {
        taken_ = false;
        standing_ = 0;
    }
    if (line_is_dead())
        return;
    if (anew || queue_machine_clock().now_us() - sent_us_ >= kRepeatUs) {
        taken_ = ::stop_axes(driver, host_, axes) || taken_;
        sent_us_ = queue_machine_clock().now_us();
    }
    if (stands(axes))
        finish(axes, std::nullopt);
}

// Whether the block, which was silent, does not even ask for an exchange. A stop would be tried ten times over; one
// status tells as much. A block whose answers are spoilt may well take a stop.
bool Stopper::line_is_dead()
{
    if (host_.silence().value_or(0) == 0)
        return false;
    const std::int64_t before = queue_machine_clock().now_us();
    host_.refresh();
    return host_.silence().value_or(0) > 0 && queue_machine_clock().now_us() - before >= kDeadLineUs;
}

// The driver's stop leaves the focus alone. One that somebody moves, and not the automatic, is stopped all the same.
AxisMask Stopper::with_focus(PTZDriver *driver, AxisMask axes) const
{
    const AxisMask focus = axis_bit(AXIS_FOCUS);
    const bool by_hand = driver->focus_mode == PTZ_FOCUS_MANUAL && (service_.under_way() & focus) != 0;
    return (axes & kStoppedAxes) == kStoppedAxes && by_hand ? axes | focus : axes;
}

bool Stopper::stands(AxisMask axes)
{
    if (!host_.statuses())
        return taken_; // nothing more is known of such a driver
    while (standing_ < kStandingStatuses) {
        const auto before = host_.statuses();
        host_.refresh();
        if (host_.statuses() == before)
            return false;
        if ((service_.moving() & axes) != 0) {
            standing_ = 0;
            return false;
        }
        standing_++;
    }
    return true;
}

bool Stopper::give_way(AxisMask axes, unsigned count)
{
    {
        const std::lock_guard lock(mutex_);
        if (count != stops_)
            return false;
        const AxisMask left = axes_ & ~axes;
        if (axes_ == 0 || left != 0) {
            axes_ = left;
            return true;
        }
        again_ = false;
    }
    if (taken_)
        finish(axes, std::nullopt);
    else
        finish(axes, CallError{ErrorKind::cancelled, "A newer move came in before the camera had taken the stop."});
    return true;
}

void Stopper::finish(AxisMask axes, const std::optional<CallError> &error)
{
    std::vector<Waiting> waiting;
    {
        const std::lock_guard lock(mutex_);
        // One that was asked for anew meanwhile begins again, and answers all.
        if (again_)
            return;
        axes_ &= ~axes;
        if (axes_ == 0)
            waiting.swap(waiting_);
    }
    standing_ = 0;
    if (!error && (axes & kStoppedAxes) == kStoppedAxes)
        service_.stopped();
    for (const Waiting &each : waiting)
        error ? each.call->refuse(*error) : each.call->answer();
}

void Stopper::stop_at_end(PTZDriver *driver)
{
    if (service_.under_way() != 0 && !service_.refusal(driver) && host_.silence().value_or(0) == 0)
        ::stop_axes(driver, host_, with_focus(driver, kStoppedAxes));
}
