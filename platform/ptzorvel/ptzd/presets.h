// The presets in service: kept over restarts in DIR/presets.conf, and told to the bus when the camera stands on one.
#pragma once

#include "ptzorvel/ptzd/preset_list.h"
#include "ptzorvel/ptzd/state_keeper.h"

#include <functional>
#include <string>
#include <vector>

inline constexpr char kPresetsInterface[] = "com.orna.PTZ.Presets";
inline constexpr char kPresetFile[] = "presets.conf";

class Presets {
  public:
    // What the service does for it. Main thread, as everything here.
    struct Service {
        std::function<void(const char *interface, const char *signal, GVariant *parameters)> emit;
        std::function<AxisMask()> moving; // as the property Moving has it
    };
    // Reads what is kept in that folder; empty: nothing is kept.
    Presets(Service service, const std::string &folder);

    const std::vector<Preset> &all() const { return list_.all(); }
    const Preset *find(const std::string &name) const { return list_.find(name); }

    // A change of the list: what stands against it, or nothing.
    using Change = std::function<std::optional<CallError>(PresetList &list)>;
    // Makes it and answers the call: when the list is safe on the disk, or could not be kept; or refuses it.
    void change(const CallPtr &call, const Change &change);

    // A list comes in several calls of one client, from part 0 on. The presets of the last of `parts` and of those
    // before it are `whole` then. False when it is another's turn, or not this part's: nothing comes of the parts.
    bool take_part(const std::string &client, guint32 part, guint32 parts, std::vector<Preset> presets,
                   std::vector<Preset> &whole);
    // The client has begun something that is none.
    void drop_parts(const std::string &client);

    // Where the camera is now: tells which preset was reached or left.
    void look(const AxisPositions &positions);
    // Those on which it stands. Within these tolerances, wherever it is now, whether it moves or not.
    const std::vector<std::string> &on() const { return on_; }
    std::vector<std::string> within(const AxisPositions &positions, const AxisTolerances &tolerances) const;

  private:
    struct Coming {
        std::string client;
        guint32 parts = 0, next = 0;
        std::vector<Preset> presets;
    };
    void tell(const char *signal, const std::string &name);

    const Service service_;
    PresetList list_;
    AxisPositions positions_;     // as last looked at
    std::vector<std::string> on_; // in the list's order
    Coming coming_;
    StateKeeper keeper_;
};
