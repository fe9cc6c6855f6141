// The presets: places of some axes under a name, with values of parameters that belong to them, and their file.
#pragma once

#include "ptzorvel/common/param_store.h"
#include "ptzorvel/ptzd/axes.h"
#include "ptzorvel/ptzd/call.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

struct Preset {
    std::string name;
    AxisPositions position;                      // one axis at least
    std::map<std::string, std::string> settings; // values by "GROUP.NAME", as texts
};

// How far from its place each axis may be.
using AxisTolerances = std::array<double, AXIS_COUNT>;
AxisTolerances default_tolerances();

// Whether every axis of the preset is where it belongs; one whose position is not known is not.
bool is_at(const Preset &preset, const AxisPositions &positions, const AxisTolerances &tolerances);

class PresetList {
  public:
    static constexpr std::size_t kMost = 256;
    static constexpr std::size_t kLongestName = 64;                    // bytes
    static constexpr std::size_t kMostSettings = 32;                   // of one preset
    static constexpr std::size_t kMostBytes = std::size_t{512} * 1024; // of the file

    // In the order in which they were first set.
    const std::vector<Preset> &all() const { return presets_; }
    const Preset *find(const std::string &name) const;

    // Puts the presets into the list, each in the place of one of its name; `alone`: those that are there go. What is
    // wrong with one of them or stands against it, and then none is put; or nothing. So the next two.
    std::optional<CallError> put(std::vector<Preset> presets, bool alone = false);
    std::optional<CallError> remove(const std::string &name);
    std::optional<CallError> rename(const std::string &name, const std::string &to);

    // Its file, a key file; and the list that such a file has, without what is spoilt, of a name that was there before,
    // or too many in it, for which `problems` gets a line each.
    std::string text() const;
    static PresetList from_file(GKeyFile *file, std::vector<std::string> &problems);

  private:
    std::vector<Preset> presets_;
};

// An error with the preset's name in front.
CallError of_preset(const Preset &preset, const CallError &error);
// What is said to the name of none.
CallError unknown_preset(const std::string &name);

// What is wrong with a name for a preset, with the name of a parameter and a value for it; or nothing.
std::optional<CallError> check_preset_name(const std::string &name);
std::optional<CallError> check_setting(ParamStore *params, const std::string &name, const std::string &value);
// "GROUP.NAME" apart.
std::pair<std::string, std::string> setting_names(const std::string &name);
