// Tells when a camera has stopped moving, from the positions it reports.
#pragma once

#include <glib.h>

#include <map>
#include <string>

using Position = std::map<std::string, double>; // axis, degrees or position

class Standstill {
  public:
    // settle_us: how long the position must stay the same.
    explicit Standstill(gint64 settle_us) : settle_us_(settle_us) {}

    // Takes a position read at `now_us` (any steady clock); true once nothing has changed for the settling time.
    bool observe(const Position &position, gint64 now_us)
    {
        if (since_us_ < 0 || position != last_) {
            last_ = position;
            since_us_ = now_us;
        }
        return now_us - since_us_ >= settle_us_;
    }

  private:
    gint64 settle_us_;
    gint64 since_us_ = -1;
    Position last_;
};
