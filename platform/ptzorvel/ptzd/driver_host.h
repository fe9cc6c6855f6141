// The host's end of what a driver may offer beyond the framework's contract (host/driver_host.h). A driver that offers
// none of it works all the same: nothing of it can then be cancelled, and nothing is known of its link.
#pragma once

#include "host/driver_host.h"
#include "ptzorvel/ptz_driver.h"

#include <gio/gio.h>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

// What became of the firmware image in the last start of the camera (DRIVER_HOST_UPGRADE).
struct ImageReport {
    std::string image, from, to;
    guint32 sent = 0, chunks = 0;
    std::string result; // empty while it goes on
};

class DriverHost {
  public:
    DriverHost();
    ~DriverHost();
    DriverHost(const DriverHost &) = delete;
    DriverHost &operator=(const DriverHost &) = delete;

    // Command thread: a driver that has not been opened yet, whose time shall run `time_scale` times as fast; and none
    // any more.
    // `observer` must live until detach(); null: none.
    void attach(PTZDriver *driver, double time_scale, const DriverHostObserver *observer = nullptr);
    void detach();

    // Any thread: as long as it is cancelled, the driver waits for nothing; resume() ends that.
    void cancel();
    void resume();
    // Any thread: the driver stops reading from other services until interrupt_over().
    void interrupt();
    void interrupt_over();

    // Any thread, seconds of the driver's time: since the last good status, and for how long the camera block has not
    // answered (0: it answers, or nothing is asked of it). None when the driver does not tell, or there was no status.
    std::optional<double> status_age() const;
    std::optional<double> silence() const;
    // Any thread: commands that the camera block has not taken; 0 when the driver does not tell.
    unsigned sends_failed() const;
    // Any thread: waits of the driver that have begun or ended; 0 when the driver does not tell.
    unsigned waits() const;
    // Any thread: starts of the camera block that its status has shown; 0 when the driver does not tell.
    unsigned reboots() const;

    // Any thread: seconds since the camera block took a new part of a firmware image; none when it has taken none since
    // the start. What failed in the last start; empty: nothing. None when there was no image to upgrade to.
    std::optional<double> chunk_age() const;
    std::string failure() const;
    std::optional<ImageReport> upgrade() const;
    // Any thread: the camera block's version as "to" of an upgrade has it; empty when the driver does not tell.
    std::string firmware() const;
    // Any thread: the file in which a start looks for a firmware image, from the root on; empty when the driver does
    // not tell.
    std::string image_file() const;
    // Any thread: what is wrong in the driver's configuration, a line each, as `ptzd --check` prints them; none also
    // when the driver does not tell.
    std::vector<std::string> config_problems() const;
    // Command thread: the image with this id is not transferred; empty: none is held back.
    void hold_image(const std::string &image);
    // Any thread: good statuses so far; none when the driver does not tell.
    std::optional<unsigned> statuses() const;

    // Command thread, while the driver is running. False when a parameter was not applied.
    bool apply();
    void settle();
    // Command thread: reads the status once.
    void refresh();

  private:
    bool read(const char *property, GValue *value) const;
    unsigned count_of(const char *property) const;
    std::string text_of(const char *property) const;

    GCancellable *const cancel_;
    GCancellable *const interrupt_;
    mutable std::mutex mutex_;
    PTZDriver *driver_ = nullptr; // under the mutex; a reference is held
};
