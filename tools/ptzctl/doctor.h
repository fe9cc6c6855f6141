// What keeps a camera from working on this machine, found out from outside: each check adds what it has found.
#pragma once

#include "service.h"

#include <memory>
#include <string>
#include <vector>

enum class Health { ok, warning, fault };

struct Finding {
    std::string subject; // what was looked at, one or two words
    Health health;
    std::string text; // what was found, one sentence without its end
    std::string next; // what to do about it; empty: nothing
};

class Doctor {
  public:
    // `ptzd`: the program that checks the configuration.
    explicit Doctor(std::string ptzd);

    // Every check, in the order of the way from the file to the picture.
    std::vector<Finding> examine();

  private:
    void ok(const char *subject, const std::string &text) { findings_.push_back({subject, Health::ok, text, ""}); }
    void warning(const char *subject, const std::string &text, const std::string &next)
    {
        findings_.push_back({subject, Health::warning, text, next});
    }
    void fault(const char *subject, const std::string &text, const std::string &next)
    {
        findings_.push_back({subject, Health::fault, text, next});
    }

    void look_at_configuration();
    void look_at_devices();
    void look_at_spidev_buffer();
    void look_at_groups();
    void look_at_settings();
    void look_at_firmware();
    void look_at_bus();
    void look_at_image_services();
    void look_at_camera();
    bool owned(const char *name);

    const std::string ptzd_;
    const std::string board_;  // folder of a simulated board; empty: a real one
    const std::string config_; // folder of the configuration
    std::unique_ptr<Service> service_;
    bool answers_ = false; // ptzd does
    std::vector<Finding> findings_;
};
