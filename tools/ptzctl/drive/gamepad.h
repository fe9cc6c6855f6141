// A game controller as the kernel has it, in the layout that it gives them all: left stick pan and tilt, triggers zoom,
// shoulder buttons focus, the buttons on the right iris and stop, the cross presets.
#pragma once

#include "held.h"

#include <memory>
#include <string>
#include <vector>

struct libevdev;

// What a controller's events come to, without the device.
class PadState {
  public:
    enum class Press { none, stop, iris_up, iris_down, preset_1, preset_2, preset_3, preset_4 };

    // An axis event with the value's place in its range, 0..1; a key event. What was pressed by it.
    Press axis(unsigned code, double place);
    Press key(unsigned code, bool down);
    void let_go() { *this = PadState(); }

    // Sticks at rest do nothing, and small ways are slow ones.
    Speeds wanted(double percent) const;

  private:
    double pan_ = 0, tilt_ = 0, in_ = 0, out_ = 0; // -1..1, triggers 0..1
    bool far_ = false, near_ = false;
};

class Gamepad {
  public:
    // Opens that device, or the first controller there is when `path` is empty. Throws Failure when there is none.
    explicit Gamepad(const std::string &path);
    ~Gamepad();
    Gamepad(const Gamepad &) = delete;
    Gamepad &operator=(const Gamepad &) = delete;

    int descriptor() const { return descriptor_; }
    const std::string &name() const { return name_; }
    // Takes what has come. False when the controller has gone.
    bool read(std::vector<PadState::Press> &presses);
    void let_go() { state_.let_go(); }
    const PadState &state() const { return state_; }

  private:
    bool open(const std::string &path, std::string &problem);

    int descriptor_ = -1;
    libevdev *device_ = nullptr;
    std::string name_;
    PadState state_;
};
