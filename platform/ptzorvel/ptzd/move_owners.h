// Whose continuous move runs on which axis, so that a client that leaves the bus does not leave the camera turning.
#pragma once

#include "ptzorvel/ptzd/move_request.h"

#include <gio/gio.h>

#include <array>
#include <functional>
#include <map>
#include <mutex>
#include <string>

class MoveOwners {
  public:
    // `abandoned` is called on the main thread when a client leaves that still owns an axis.
    MoveOwners(GDBusConnection *connection, std::function<void()> abandoned);
    ~MoveOwners();
    MoveOwners(const MoveOwners &) = delete;
    MoveOwners &operator=(const MoveOwners &) = delete;

    // A move of `client` was taken: it owns what it lets run, and nobody owns the other axes that it asks for. The
    // result names this move to give_up(). Main thread.
    unsigned begin(const std::string &client, const MoveRequest &request);
    // That move did not happen. Any thread.
    void give_up(unsigned move);
    // Everything stops. Main thread.
    void clear();

  private:
    struct Owner {
        std::string client; // empty: nobody
        unsigned move = 0;
    };

    static void on_vanished(GDBusConnection *connection, const char *name, gpointer self);
    void vanished(const std::string &client);
    void watch(const std::string &client);
    void drop_idle_watches();
    bool owns_any(const std::string &client); // under the lock

    GDBusConnection *connection_;
    const std::function<void()> abandoned_;
    std::map<std::string, guint> watches_; // main thread
    std::mutex mutex_;
    std::array<Owner, AXIS_COUNT> owners_;
    unsigned moves_ = 0;
};
