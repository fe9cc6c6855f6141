// The other programs of a replay: a bus of its own, ptzd on it, and the image services as the trace has them.
#pragma once

#include "glib_owned.h"
#include "replay_trace.h"

#include <gio/gio.h>

#include <functional>
#include <string>

class ReplayBus {
  public:
    // Starts the bus in the folder, and takes the names of the image services. Throws Failure.
    ReplayBus(const ReplayTrace &trace, std::string folder);
    // Ends what it has started.
    ~ReplayBus();
    ReplayBus(const ReplayBus &) = delete;
    ReplayBus &operator=(const ReplayBus &) = delete;

    // Starts ptzd with the board in the folder, on the bus, so many times as fast as the wall. `plugin`: another than
    // its own, unless empty.
    void start_ptzd(const std::string &plugin, double time_scale);
    bool ptzd_ended() const;
    // The last line that ptzd has written.
    std::string last_words() const;
    // Makes a request or sends a signal of the trace; tells ptzd to end. Nothing waits for an answer.
    void make(const ReplayEvent &event);

  private:
    using Subprocess = GOwned<GSubprocess, g_object_unref>;

    Subprocess run(std::vector<std::string> command, const char *log);
    void connect();
    GDBusMessage *answer(GDBusMessage *message);
    GVariantOwned value_of(const std::string &property);

    const std::string folder_;
    const std::string address_;
    const bool is_ptzds_;
    std::map<std::string, std::deque<std::string>> told_; // of the connection's thread from its filter on
    Subprocess daemon_;
    Subprocess ptzd_;
    GOwned<GDBusConnection, g_object_unref> connection_;
    guint filter_ = 0;
};
