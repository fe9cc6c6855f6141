#include "ptzorvel/ptzd/deadlines.h"

#include "ptzorvel/ptz_driver.h"

#include <algorithm>
#include <cmath>
#include <syslog.h>
#include <utility>

namespace {

// So long a camera block may take no chunk of an upgrade at the end: it writes its flash for ten seconds after the
// last.
constexpr double CHUNK_PATIENCE = 14;
constexpr double CHUNK_LOOK = 0.1; // between two looks at that
// A camera whose configuration is wrong is not waited for as one that may only be slow.
constexpr double HURRIED_START = 15;
// A close takes hardly more than a second where all is well.
constexpr double CLOSE_PATIENCE = 10;
constexpr double END_PATIENCE = 18; // leaves two seconds for what a cancelled close still does

// A source that is ready at a time alone.
GSource *make_timer()
{
    static GSourceFuncs functions{
        nullptr, nullptr, [](GSource *, GSourceFunc function, gpointer data) { return function(data); },
        nullptr, nullptr, nullptr};
    return g_source_new(&functions, sizeof(GSource));
}

bool starting(int state)
{
    return state == PTZ_STATE_INITIALISING || state == PTZ_STATE_UPGRADING;
}

} // namespace

Deadlines::Deadlines(DriverHost &host, TaskQueue &queue, double start_timeout_s, double time_scale)
    : host_(host), queue_(queue), time_scale_(time_scale), start_timeout_(start_timeout_s), timer_(make_timer())
{
    const auto on_time = [](gpointer data) -> gboolean {
        static_cast<Deadlines *>(data)->look();
        return G_SOURCE_CONTINUE;
    };
    g_source_set_callback(timer_, on_time, this, nullptr);
    g_source_attach(timer_, nullptr);
}

Deadlines::~Deadlines()
{
    g_source_destroy(timer_);
    g_source_unref(timer_);
}

double Deadlines::now() const
{
    return static_cast<double>(g_get_monotonic_time()) / 1e6 * time_scale_;
}

void Deadlines::hurry()
{
    const std::lock_guard lock(mutex_);
    start_timeout_ = start_timeout_ > 0 ? std::min(start_timeout_, HURRIED_START) : HURRIED_START;
}

void Deadlines::state_changed(int state)
{
    const std::lock_guard lock(mutex_);
    const bool begins = starting(state) && !starting(state_);
    state_ = state;
    if (!begins)
        return;
    started_ = now();
    start_cut_.clear();
    if (phase_ == Phase::idle && start_timeout_ > 0)
        look_again(start_left());
}

void Deadlines::end()
{
    {
        const std::lock_guard lock(mutex_);
        phase_ = Phase::upgrade_goes_on;
        ended_ = now();
    }
    look();
}

void Deadlines::close_begins()
{
    const std::lock_guard lock(mutex_);
    count_from_last_chunk();
    phase_ = Phase::closing;
    close_until_ = std::min(now() + CLOSE_PATIENCE, ended_ + END_PATIENCE);
    host_.resume();
    look_again(close_until_ - now());
}

void Deadlines::look()
{
    const std::lock_guard lock(mutex_);
    g_source_set_ready_time(timer_, -1);
    switch (phase_) {
    case Phase::idle:
        if (!starting(state_) || start_timeout_ <= 0)
            break;
        if (const double left = start_left(); left > 0)
            look_again(left);
        else
            cancel_start();
        break;
    case Phase::upgrade_goes_on:
        if (upgrade_goes_on())
            look_again(CHUNK_LOOK);
        else
            cancel_for_end();
        break;
    case Phase::closing:
        if (const double left = close_until_ - now(); left > 0) {
            look_again(left);
            break;
        }
        syslog(LOG_WARNING, "Closing the camera takes too long: what it waits for is given up");
        phase_ = Phase::close_cancelled;
        host_.cancel();
        break;
    default: // already cancelled
        break;
    }
}

bool Deadlines::ending() const
{
    const std::lock_guard lock(mutex_);
    return phase_ > Phase::start_cancelled;
}

bool Deadlines::waits_for_upgrade() const
{
    const std::lock_guard lock(mutex_);
    return phase_ == Phase::upgrade_goes_on;
}

std::string Deadlines::start_cut() const
{
    const std::lock_guard lock(mutex_);
    return start_cut_;
}

double Deadlines::start_left() const
{
    double quiet = now() - started_;
    for (const auto age : {host_.status_age(), host_.chunk_age()})
        quiet = std::min(quiet, age.value_or(quiet));
    return start_timeout_ - quiet;
}

bool Deadlines::upgrade_goes_on() const
{
    const auto age = host_.chunk_age();
    return state_ == PTZ_STATE_UPGRADING && age && *age < CHUNK_PATIENCE;
}

void Deadlines::cancel_start()
{
    start_cut_ = "the camera block has not answered for " +
                 std::to_string(static_cast<long>(std::lround(start_timeout_))) + " seconds";
    syslog(LOG_WARNING, "The start of the camera is given up: %s", start_cut_.c_str());
    phase_ = Phase::start_cancelled;
    host_.cancel();
    // The next that runs, when what was cancelled has returned.
    queue_.post([this] { start_is_over(); }, TaskQueue::Lane::urgent);
}

void Deadlines::start_is_over()
{
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::start_cancelled)
        return; // the end has begun meanwhile, and what is cancelled stays so until the close
    phase_ = Phase::idle;
    host_.resume();
}

void Deadlines::cancel_for_end()
{
    count_from_last_chunk();
    phase_ = Phase::cancelled;
    host_.cancel();
}

void Deadlines::count_from_last_chunk()
{
    if (const auto age = host_.chunk_age())
        ended_ = std::max(ended_, now() - *age);
}

void Deadlines::look_again(double seconds)
{
    const double us = std::clamp(seconds / time_scale_ * 1e6, 0.0, 1e15);
    g_source_set_ready_time(timer_, g_get_monotonic_time() + static_cast<gint64>(us) + 1);
}
