// When a camera block that has stopped answering, or has not come up, is reset, and when again. Seconds of the camera's
// time.
#pragma once

#include <limits>

class ResetLadder {
  public:
    static constexpr double kNever = std::numeric_limits<double>::infinity();

    // `timeout`: for how long the block may be away before the first reset; 0: it is never reset.
    explicit ResetLadder(double timeout) : timeout_(timeout > 0 ? timeout : kNever) {}

    // The block is away since then: the first reset falls due.
    void down(double since);
    // It answers, it has been started by somebody, or it is not to talk: no reset is wanted any more.
    void over();
    // Whether a reset is due. If so it counts, and no other falls due before failed().
    bool take(double now);
    // The reset that was taken has not brought the block back: the next one falls due after 1, 2, 5 and every 10
    // minutes. Nothing when none is wanted any more.
    void failed(double now);

    // When the next one is due; kNever: none is.
    double due() const { return due_; }
    // How many there were since down().
    unsigned resets() const { return resets_; }

  private:
    const double timeout_;
    double due_ = kNever;
    unsigned resets_ = 0;
};
