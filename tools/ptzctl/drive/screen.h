// The full screen of 'ptzctl drive'.
#pragma once

#include "driven_camera.h"

#include <string>

class Screen {
  public:
    // Takes the terminal over. Throws Failure when standard input and output are none, it is too small, or its kind is
    // not known.
    Screen();
    // Gives the terminal back as it was.
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    // The terminal has another size now.
    void resized();
    // `percent`: the speed; `controller`: the game controller in words, empty without one.
    void show(const DrivenCamera &camera, double percent, const std::string &controller) const;

  private:
    struct Terminal;
    Terminal *terminal_;
};
