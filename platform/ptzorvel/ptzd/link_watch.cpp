#include "ptzorvel/ptzd/link_watch.h"

#include "ptzorvel/ptzd/face.h"
#include "ptzorvel/ptzd/service.h"

#include <algorithm>
#include <syslog.h>
#include <utility>

namespace {

constexpr double kDownAfterS = 1;
constexpr double kApplyAfterS = 2;
constexpr double kLookEveryS = 0.25;
constexpr double kJustAfterS = 0.001;

GSourceFuncs look_functions = {
    nullptr, nullptr, [](GSource *, GSourceFunc look, gpointer watch) { return look(watch); },
    nullptr, nullptr, nullptr};

} // namespace

LinkWatch::LinkWatch(PtzService &service, double time_scale, double timeout)
    : service_(service), time_scale_(time_scale), source_(g_source_new(&look_functions, sizeof(GSource))),
      ladder_(timeout)
{
    const auto on_time = +[](gpointer watch) -> gboolean {
        auto *self = static_cast<LinkWatch *>(watch);
        const Lock lock(self->mutex_);
        self->look();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(source_, on_time, this, nullptr);
    g_source_attach(source_, nullptr);
}

LinkWatch::~LinkWatch()
{
    g_source_destroy(source_);
    g_source_unref(source_);
}

const char *LinkWatch::link_text(Link link)
{
    static constexpr const char *kTexts[] = {"off", "up", "down"};
    return kTexts[static_cast<int>(link)];
}

double LinkWatch::now() const
{
    return static_cast<double>(g_get_monotonic_time()) / 1e6 * time_scale_;
}

void LinkWatch::state_changed(int state)
{
    const Lock lock(mutex_);
    const bool of_a_reset =
        state == PTZ_STATE_INITIALISING || state == PTZ_STATE_UPGRADING || state == PTZ_STATE_FAILED;
    if (!of_a_reset || (state == PTZ_STATE_INITIALISING && !resetting_))
        ladder_.over();
    else if (state == PTZ_STATE_FAILED && state_ != PTZ_STATE_FAILED && !resetting_)
        ladder_.down(now());
    state_ = state;
    starts_seen_ = service_.host().reboots(); // those of a start-up are wanted
    applies_left_ = 0;
    look();
}

const char *LinkWatch::link() const
{
    const Lock lock(mutex_);
    return link_text(link_);
}

unsigned LinkWatch::resets() const
{
    const Lock lock(mutex_);
    return ladder_.resets();
}

// From here on under the mutex, where nothing else is said, on either thread.

void LinkWatch::look()
{
    const double time = now();
    if (state_ == PTZ_STATE_RUNNING) {
        look_at_link(time);
        look_at_reboots();
    } else {
        change(Link::off);
    }
    if (ladder_.take(time))
        service_.perform([this](PTZDriver *driver) { reset(driver); });
    if (applies_left_ > 0 && link_ == Link::up && !apply_waits_) {
        apply_waits_ = true;
        service_.perform([this, tries = std::exchange(applies_left_, 0)](PTZDriver *) { apply(tries); });
    }
    const double next = next_look(time);
    g_source_set_ready_time(source_, next == ResetLadder::kNever ? -1 : static_cast<gint64>(next / time_scale_ * 1e6));
}

void LinkWatch::look_at_link(double time)
{
    const double silence = service_.host().silence().value_or(0);
    if (silence > kDownAfterS) {
        if (link_ == Link::down)
            return;
        syslog(LOG_WARNING, "The camera block does not answer");
        outages_++;
        down_since_ = time - silence;
        ladder_.down(down_since_);
        change(Link::down);
        return;
    }
    if (link_ == Link::down) {
        const double outage = time - down_since_;
        const bool apply = outage > kApplyAfterS;
        syslog(LOG_WARNING, "The camera block answers again after %.1f s%s", outage,
               apply ? ": applying all parameters again" : "");
        ladder_.over();
        if (apply)
            applies_left_ = kApplyTries;
    }
    change(Link::up);
}

void LinkWatch::look_at_reboots()
{
    const unsigned starts = service_.host().reboots();
    if (starts == std::exchange(starts_seen_, starts))
        return;
    ++reboots_;
    applies_left_ = kApplyTries;
    syslog(LOG_WARNING, "The camera block has started anew by itself: applying all parameters again");
    const auto event = service_.last_event();
    service_.emit(kInterfaceName, "Event",
                  g_variant_new("(us)", event ? event->error_bits : 0, "Camera block started anew by itself"));
}

void LinkWatch::change(Link link)
{
    if (link == std::exchange(link_, link))
        return;
    const char *text = link_text(link);
    service_.property_changed("Link", g_variant_new_string(text));
    service_.emit(kInterfaceName, "LinkChanged",
                  g_variant_new("(sd)", text, service_.host().status_age().value_or(-1)));
}

double LinkWatch::next_look(double time) const
{
    if (state_ != PTZ_STATE_RUNNING)
        return ladder_.due();
    const auto silence = service_.host().silence();
    if (!silence) // a driver that does not tell
        return ResetLadder::kNever;
    // A silence that has begun is looked at when it is long enough to count.
    const bool begun = *silence > 0 && *silence < kDownAfterS;
    const double pause = begun ? kDownAfterS - *silence + kJustAfterS : kLookEveryS;
    return std::min(time + pause, ladder_.due());
}

// Command thread, without the mutex: what the driver does comes back as state_changed().

void LinkWatch::apply(int tries)
{
    const unsigned failed_before = service_.host().sends_failed();
    const bool applied = service_.host().apply();
    if (applied)
        syslog(LOG_INFO, "All parameters are applied again");
    else
        syslog(LOG_ERR, "Not all parameters could be applied again");
    const Lock lock(mutex_);
    apply_waits_ = false;
    // Another try helps only where it was the link.
    if (!applied && service_.host().sends_failed() != failed_before)
        applies_left_ = std::max(applies_left_, tries - 1);
}

void LinkWatch::reset(PTZDriver *driver)
{
    {
        const Lock lock(mutex_);
        if (ladder_.resets() == 0) // somebody else has seen to it meanwhile
            return;
        if (state_ == PTZ_STATE_RUNNING && service_.host().silence().value_or(0) <= kDownAfterS) {
            ladder_.down(now());
            return;
        }
        resetting_ = true;
        syslog(LOG_WARNING, "%s: reset %u",
               state_ == PTZ_STATE_FAILED ? "The camera has failed" : "The camera block is still silent",
               ladder_.resets());
    }
    PTZ_DRIVER_GET_CLASS(driver)->run_special_command(driver, "reset");
    const Lock lock(mutex_);
    resetting_ = false;
    ladder_.failed(now());
    look();
}
