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

    // A move of `client` was asked for: it will own what it lets run, and nobody the other axes that it asks for. Until
    // confirm() or give_up() is called with the result, the former owners count as well. Main thread.
    unsigned begin(const std::string &client, const MoveRequest &request);
    // That move was carried out, or was not. Any thread.
    void confirm(unsigned move);
    void give_up(unsigned move);
    // The latest move that began. Any thread.
    unsigned latest() const;
    // Everything was stopped that moves up to that one had started. Any thread.
    void stopped(unsigned up_to);

  private:
    struct Owner {
        std::string client; // empty: nobody
        std::string former; // while `move` is neither confirmed nor given up
        unsigned move = 0;
    };

    static void on_vanished(GDBusConnection *connection, const char *name, gpointer self);
    void vanished(const std::string &client);
    void watch(const std::string &client);
    void drop_idle_watches();
    bool owns_any(const std::string &client) const; // under the lock

    GDBusConnection *connection_;
    const std::function<void()> abandoned_;
    std::map<std::string, guint> watches_; // main thread
    mutable std::mutex mutex_;
    std::array<Owner, AXIS_COUNT> owners_;
    unsigned moves_ = 0;
};

// One move's place among the owners: given up unless it is kept.
class MoveClaim {
  public:
    MoveClaim(MoveOwners &owners, const std::string &client, const MoveRequest &request)
        : owners_(owners), move_(owners.begin(client, request))
    {
    }
    ~MoveClaim()
    {
        if (!kept_)
            owners_.give_up(move_);
    }
    MoveClaim(const MoveClaim &) = delete;
    MoveClaim &operator=(const MoveClaim &) = delete;

    void keep()
    {
        kept_ = true;
        owners_.confirm(move_);
    }

  private:
    MoveOwners &owners_;
    const unsigned move_;
    bool kept_ = false;
};
