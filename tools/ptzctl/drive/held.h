// Which keys are held, and what they want of the camera.
#pragma once

#include "keys.h"

#include <glib.h>

#include <map>
#include <string>

using Speeds = std::map<std::string, double>; // percent by axis, + is right, up, in, far; without those that stand

class HeldKeys {
  public:
    // The terminal tells when a key is let go. Until then a key that is not repeated in time counts as let go.
    void tells_releases() { tells_releases_ = true; }

    // A key event at `now` (microseconds). False: it is no key that is held.
    bool take(const KeyEvent &event, gint64 now);
    // Lets go what was not repeated in time.
    void look(gint64 now);
    void let_go() { until_.clear(); }

    // What is held, at `percent` of full speed. Two keys against each other are none.
    Speeds wanted(double percent) const;

  private:
    bool tells_releases_ = false;
    std::map<Key, gint64> until_; // when it counts as let go
};
