// The camera as it is driven: always the latest wish, never more than one call of it under way, and how the camera is.
#pragma once

#include "held.h"
#include "service.h"

#include <optional>
#include <string>

class DrivenCamera {
  public:
    explicit DrivenCamera(Service &service) : service_(service) {}
    ~DrivenCamera() { service_.drop_calls(); }
    DrivenCamera(const DrivenCamera &) = delete;
    DrivenCamera &operator=(const DrivenCamera &) = delete;

    // The axes that shall move by themselves, and how fast; those that are not named stand. Where none is left the
    // camera is stopped, ahead of everything that waits.
    void drive(const Speeds &wanted);
    // Whatever moves, also what somebody else has set going.
    void stop();
    // One call beside that, once: a step of the iris, a focus mode, a preset. Left out while one is under way.
    void step(const char *axis, double by);
    void set_focus_mode(const char *mode);
    void go_to(const std::string &preset);

    // Asks how the camera is, at most one question of a kind at a time.
    void look();
    // At the end: has what this one has set going stopped. Whether it is, once that is answered.
    void leave();
    std::optional<bool> left() const { return left_; }

    const Position &position() const { return position_; }
    const Position &fields_of_view() const { return fields_; }
    std::optional<double> age() const { return age_; }
    const std::string &link() const { return link_; }
    const std::string &state() const { return state_; }
    const std::vector<std::string> &presets() const { return presets_; }
    // What the service said last against what it was asked for; empty: nothing.
    const std::string &complaint() const { return complaint_; }

  private:
    void send();
    void call(const char *method, GVariant *arguments, const char *interface = kServiceInterface);
    void ask(bool &asked, const char *method, const char *reply, std::function<void(GVariant *)> take,
             const char *interface = kServiceInterface);
    void complain(const Failure *failure);

    Service &service_;
    Speeds wanted_, sent_;
    bool moving_ = false; // a Move is under way to the service
    bool calling_ = false;
    bool driven_ = false; // this one has set something going since the last stop
    bool asked_position_ = false, asked_fields_ = false, asked_status_ = false, asked_presets_ = false;
    std::optional<bool> left_;
    unsigned looks_ = 0;
    Position position_, fields_;
    std::optional<double> age_;
    std::string link_, state_, complaint_;
    std::vector<std::string> presets_;
};
