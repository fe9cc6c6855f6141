// What stands between the bus and the service: every message is looked at as it comes and goes, on GDBus's own thread,
// before anything of it waits.
//
// - Calls and signals longer than any that means something are refused or dropped.
// - A client that has as much in work as it may gets LimitsExceeded; one that does not read what it gets, nothing more.
// - Signals sent to the service alone are dropped, and floods of others; they come from strangers. Changed properties
//   count from the owner of com.orna.ImageControl alone.
// - Stop overtakes whatever waits in the main loop, and counts from here on: a move that came before it and is handled
//   after it knows by Call::stops_before().
#pragma once

#include "ptzorvel/ptzd/call.h"
#include "ptzorvel/ptzd/main_wake.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

class BusGuard {
  public:
    // The functions are called on the main thread.
    struct Handlers {
        std::atomic<unsigned> *stops; // counts every Stop as it comes
        std::function<void(const CallPtr &call)> stop;
        std::function<void(const std::string &client)> left; // a client is not on the bus any more
    };
    BusGuard(GDBusConnection *connection, Handlers handlers);
    ~BusGuard();
    BusGuard(const BusGuard &) = delete;
    BusGuard &operator=(const BusGuard &) = delete;

    // A call that GDBus hands to a handler; null when it is not to be handled: many whose clients have left wait.
    CallPtr take(GDBusMethodInvocation *invocation);

  private:
    class Post;

    GDBusConnection *connection_;
    std::shared_ptr<Post> post_; // GDBus's thread may be in it when the guard ends
    MainWake stops_came_;
    MainWake signals_came_;
    guint filter_ = 0;
    guint subscription_ = 0;
};
