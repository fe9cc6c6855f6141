// A move of one's own, followed to its end by the service's signal MoveDone.
#pragma once

#include "axes.h"
#include "service.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

// How it ended, and where the axes then were.
struct MoveResult {
    bool reached = false;
    std::string reason;
    Position position;
};

class Context;

// Tells the person or the machine.
void show_move(Context &context, const MoveResult &result);

class FollowedMove {
  public:
    // Hears from the service from now on.
    explicit FollowedMove(Service &service);
    ~FollowedMove();
    FollowedMove(const FollowedMove &) = delete;
    FollowedMove &operator=(const FollowedMove &) = delete;

    // Sends the move, as send_move() does.
    void send(const std::vector<AxisMove> &moves, double speed = 0, bool preset = false);

    // Its number, for those who send it by themselves.
    guint32 id() const { return id_; }

    // Waits until it is over, `seconds` of the camera's time have passed, if given, or the person interrupts; the
    // result when it is over. Throws Failure when the service leaves the bus.
    std::optional<MoveResult> wait(std::optional<double> seconds = std::nullopt);

  private:
    static void on_done(GDBusConnection *, const char *, const char *, const char *, const char *, GVariant *parameters,
                        gpointer self);
    static void on_vanished(GDBusConnection *, const char *, gpointer self);

    Service &service_;
    const guint32 id_;
    guint subscription_;
    guint watch_;
    bool service_gone_ = false;
    std::optional<MoveResult> result_;
};

// Sends a move and waits for its end; none when the person interrupted.
std::optional<MoveResult> move_to_its_end(Service &service, const std::vector<AxisMove> &moves);
