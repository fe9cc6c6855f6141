// The link to the camera block as the bus sees it, and what is done when it has been away.
//
// Down after a second of silence, up with the first answer, off while the block is not expected to talk. A block that
// was away for more than two seconds, or has started anew by itself, is given all parameters again; one that stays away
// is reset, and so is one whose start-up has failed (reset_ladder.h). Looks at the driver at most four times a second
// of the camera's time, on the main thread, and not at all while there is nothing to wait for.
#pragma once

#include "ptzorvel/ptz_driver.h"
#include "ptzorvel/ptzd/reset_ladder.h"

#include <glib.h>

#include <atomic>
#include <mutex>

class PtzService;

class LinkWatch {
  public:
    // Main thread, both. `service` must outlive it; `time_scale` as for its driver, `timeout` as for the ladder.
    LinkWatch(PtzService &service, double time_scale, double timeout);
    ~LinkWatch();
    LinkWatch(const LinkWatch &) = delete;
    LinkWatch &operator=(const LinkWatch &) = delete;

    // Command thread: the driver has gone over to that state.
    void state_changed(int state);

    // Any thread. "up", "down" or "off".
    const char *link() const;
    // Resets since the link went down or a start-up failed, and how often the block has started anew by itself since
    // the service began.
    unsigned resets() const;
    unsigned reboots() const { return reboots_; }
    // How often the link has gone down.
    unsigned outages() const { return outages_; }

  private:
    enum class Link { off, up, down };
    using Lock = std::lock_guard<std::mutex>;

    double now() const;
    void look();
    void look_at_link(double now);
    void look_at_reboots();
    void change(Link link);
    double next_look(double now) const;
    static const char *link_text(Link link);

    // Command thread
    void apply(int tries);
    void reset(PTZDriver *driver);

    static constexpr int kApplyTries = 3;

    PtzService &service_;
    const double time_scale_;
    GSource *const source_; // its time is that of the next look

    mutable std::mutex mutex_;
    // Under the mutex
    int state_ = PTZ_STATE_NOT_OPENED;
    Link link_ = Link::off;
    double down_since_ = 0;
    unsigned starts_seen_ = 0;
    int applies_left_ = 0; // tries to apply the parameters again, 0 when that is not wanted
    bool apply_waits_ = false;
    bool resetting_ = false; // the reset under way is the watch's own
    ResetLadder ladder_;

    std::atomic<unsigned> reboots_{0}, outages_{0};
};
