// One moving part: a position that travels in a straight line, at one speed, to a target. Positions are in the part's
// own units, speeds in units per second, times in microseconds; nothing ticks, every position is computed when asked.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace sim {

class Axis {
  public:
    Axis(double low, double high, double position) : low_(low), high_(high), from_(position), target_(position) {}

    double at(std::int64_t now) const
    {
        const double travelled = stalled_ ? 0 : speed_ * static_cast<double>(now - since_) / 1e6;
        const double distance = target_ - from_;
        if (!moving_ || travelled >= std::fabs(distance))
            return moving_ ? target_ : from_;
        return from_ + (distance < 0 ? -travelled : travelled);
    }
    bool moving(std::int64_t now) const { return moving_ && at(now) != target_; }
    // Where it travels to; where it stands when it does not move.
    double target(std::int64_t now) const { return moving(now) ? target_ : at(now); }
    double speed() const { return speed_; }

    // Starts towards `target`, which is limited to the part's range.
    void move(double target, double speed, std::int64_t now)
    {
        place(at(now), now);
        target_ = std::clamp(target, low_, high_);
        speed_ = speed;
        moving_ = target_ != from_;
    }
    // Goes on at another speed.
    void set_speed(double speed, std::int64_t now)
    {
        if (moving(now))
            move(target_, speed, now);
    }
    void stop(std::int64_t now) { place(at(now), now); }
    // Holds it where it is, though it goes on trying; or lets it go on.
    void stall(bool stalled, std::int64_t now)
    {
        if (stalled == stalled_)
            return;
        from_ = at(now);
        since_ = now;
        stalled_ = stalled;
    }
    // Puts it somewhere at once.
    void place(double position, std::int64_t now)
    {
        from_ = target_ = std::clamp(position, low_, high_);
        since_ = now;
        moving_ = false;
    }

  private:
    double low_;
    double high_;
    double from_;
    double target_;
    double speed_ = 0;
    std::int64_t since_ = 0;
    bool moving_ = false;
    bool stalled_ = false;
};

} // namespace sim
