// Sees to it that the picture lives. A driver may freeze it while the camera moves ("UserAdv.CamImageFreeze": "on", in
// every move; "auto", in moves to presets) and lets it live again when the camera stands. It does not where it is reset
// or stopped by heat in the move, hears no more from the camera block, or goes on with a move that is none to a preset:
// then this does. Looks four times a second of the camera's time while something moves or the picture is frozen, and
// not at all otherwise.
#pragma once

#include "image_source_control/image_source_control.h"
#include "ptzorvel/ptzd/main_timer.h"

#include <cstdint>
#include <functional>

class PictureGuard {
  public:
    // What it is told by the service. Main thread.
    struct Service {
        std::function<bool()> running;     // the camera runs, and its block answers
        std::function<bool()> moves;       // an axis moves, or is asked to
        std::function<bool()> to_preset;   // a move to a preset is under way, and nobody has stopped it
        std::function<bool()> freezes_all; // the picture is to be frozen in every move
    };
    PictureGuard(Service service, double time_scale);
    // The picture lives afterwards. Main thread, when the driver is closed.
    ~PictureGuard();
    PictureGuard(const PictureGuard &) = delete;
    PictureGuard &operator=(const PictureGuard &) = delete;

    // Any thread: something moves, or the camera's state has changed.
    void look_soon() { timer_.start(); }

  private:
    bool tick();
    void let_live(const char *why);

    const Service service_;
    const double time_scale_;
    ImageSourceControl *const picture_;
    std::int64_t frozen_since_us_ = -1;   // of the monotonic clock; -1: it lives
    std::int64_t unwanted_since_us_ = -1; // frozen without a reason
    MainTimer timer_;
};
