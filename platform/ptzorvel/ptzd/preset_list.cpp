#include "ptzorvel/ptzd/preset_list.h"

#include "glib_owned.h"
#include "ptzorvel/common/quote.h"
#include "ptzorvel/ptzd/calls.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace {

constexpr char kNameKey[] = "Name";
constexpr char kGroup[] = "Preset ";

std::string shortest_text(double number)
{
    char text[40];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::optional<CallError> preset_error(const Preset &preset)
{
    if (auto error = check_preset_name(preset.name))
        return error;
    bool has_axis = false;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        has_axis = has_axis || preset.position[axis];
        if (preset.position[axis])
            if (auto error = check_place(kAxes[axis], *preset.position[axis], kAxes[axis].absolute))
                return error;
    }
    if (!has_axis)
        return CallError{ErrorKind::invalid_argument, "it has no place of any axis; it needs one at least."};
    if (preset.settings.size() > PresetList::kMostSettings)
        return CallError{ErrorKind::invalid_argument,
                         "it has more than " + std::to_string(PresetList::kMostSettings) + " settings."};
    return std::nullopt;
}

std::optional<CallError> check_preset(const Preset &preset)
{
    const auto error = preset_error(preset);
    return error ? std::optional(of_preset(preset, *error)) : std::nullopt;
}

// What a key of the file says goes into the preset.
void read_key(GKeyFile *file, const char *group, const char *key, Preset &preset)
{
    const GText value(g_key_file_get_string(file, group, key, nullptr));
    const std::string text = value != nullptr ? value.get() : "";
    if (std::string_view(key) == kNameKey) {
        preset.name = text;
        return;
    }
    if (const auto axis = find_axis(key)) {
        char *end = nullptr;
        const double place = g_ascii_strtod(text.c_str(), &end);
        preset.position[*axis] = text.empty() || *end != '\0' ? NAN : place;
    } else {
        preset.settings[key] = text;
    }
}

} // namespace

CallError of_preset(const Preset &preset, const CallError &error)
{
    return {error.kind, "Preset " + quoted(preset.name) + ": " + error.text};
}

CallError unknown_preset(const std::string &name)
{
    return {ErrorKind::unknown_preset, "There is no preset " + quoted(name) + "; 'ptzctl preset list' names them all."};
}

AxisTolerances default_tolerances()
{
    AxisTolerances tolerances{};
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        tolerances[axis] = kAxes[axis].tolerance;
    return tolerances;
}

bool is_at(const Preset &preset, const AxisPositions &positions, const AxisTolerances &tolerances)
{
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (preset.position[axis] &&
            !(positions[axis] && std::fabs(*positions[axis] - *preset.position[axis]) <= tolerances[axis]))
            return false;
    return true;
}

std::optional<CallError> check_preset_name(const std::string &name)
{
    if (name.empty())
        return CallError{ErrorKind::invalid_argument, "A preset needs a name."};
    if (name.size() > PresetList::kLongestName)
        return CallError{ErrorKind::invalid_argument,
                         "The name " + quoted(name) + " is longer than 64 bytes, which is the most."};
    return check_text("name", name);
}

std::pair<std::string, std::string> setting_names(const std::string &name)
{
    const std::size_t dot = std::min(name.find('.'), name.size());
    return {name.substr(0, dot), dot < name.size() ? name.substr(dot + 1) : ""};
}

std::optional<CallError> check_setting(ParamStore *params, const std::string &name, const std::string &value)
{
    const auto [group, parameter] = setting_names(name);
    const PTZDynamicalProperties *properties = params != nullptr ? params->group(group) : nullptr;
    const auto info = properties != nullptr ? properties->find(parameter) : std::nullopt;
    if (!info)
        return CallError{ErrorKind::unknown_parameter,
                         "There is no parameter " + quoted(name) + "; 'ptzctl params list' names them all."};
    const GVariantOwned text(g_variant_ref_sink(g_variant_new_string(value.c_str())));
    ParamValue wanted;
    return check_parameter(info, group, parameter, text.get(), wanted);
}

const Preset *PresetList::find(const std::string &name) const
{
    const auto found =
        std::find_if(presets_.begin(), presets_.end(), [&](const Preset &preset) { return preset.name == name; });
    return found != presets_.end() ? &*found : nullptr;
}

std::optional<CallError> PresetList::put(std::vector<Preset> presets, bool alone)
{
    PresetList all;
    if (!alone)
        all.presets_ = presets_;
    for (Preset &preset : presets) {
        if (auto error = check_preset(preset))
            return error;
        const Preset *same = all.find(preset.name);
        if (same != nullptr)
            all.presets_[static_cast<std::size_t>(same - all.presets_.data())] = std::move(preset);
        else
            all.presets_.push_back(std::move(preset));
    }
    if (all.presets_.size() > kMost)
        return CallError{ErrorKind::limits_exceeded, "That would be more than " + std::to_string(kMost) +
                                                         " presets, which is the most; remove some first."};
    if (all.text().size() > kMostBytes)
        return CallError{ErrorKind::limits_exceeded, "The presets would take more than 512 kB, which is the most; "
                                                     "remove some, or let them have fewer settings."};
    presets_.swap(all.presets_);
    return std::nullopt;
}

std::optional<CallError> PresetList::remove(const std::string &name)
{
    const auto is_it = [&](const Preset &preset) { return preset.name == name; };
    return std::erase_if(presets_, is_it) != 0 ? std::nullopt : std::optional(unknown_preset(name));
}

std::optional<CallError> PresetList::rename(const std::string &name, const std::string &to)
{
    const Preset *preset = find(name);
    if (preset == nullptr)
        return unknown_preset(name);
    if (auto error = check_preset_name(to))
        return error;
    if (to != name && find(to) != nullptr)
        return CallError{ErrorKind::invalid_argument,
                         "There is a preset " + quoted(to) + " already; remove that one first."};
    presets_[static_cast<std::size_t>(preset - presets_.data())].name = to;
    return std::nullopt;
}

std::string PresetList::text() const
{
    const GKeyFileOwned file(g_key_file_new());
    for (std::size_t i = 0; i < presets_.size(); i++) {
        const std::string group = kGroup + std::to_string(i + 1);
        g_key_file_set_string(file.get(), group.c_str(), kNameKey, presets_[i].name.c_str());
        for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
            if (const auto &place = presets_[i].position[axis])
                g_key_file_set_string(file.get(), group.c_str(), kAxes[axis].name, shortest_text(*place).c_str());
        for (const auto &[name, value] : presets_[i].settings)
            g_key_file_set_string(file.get(), group.c_str(), name.c_str(), value.c_str());
    }
    return GText(g_key_file_to_data(file.get(), nullptr, nullptr)).get();
}

PresetList PresetList::from_file(GKeyFile *file, std::vector<std::string> &problems)
{
    PresetList list;
    const GTexts groups(g_key_file_get_groups(file, nullptr));
    for (char **group = groups.get(); *group != nullptr; group++) {
        Preset preset;
        const GTexts keys(g_key_file_get_keys(file, *group, nullptr, nullptr));
        for (char **key = keys.get(); key != nullptr && *key != nullptr; key++)
            read_key(file, *group, *key, preset);
        const auto leave_out = [&](const std::string &why) {
            problems.push_back(of_preset(preset, {ErrorKind::invalid_argument, why}).text);
        };
        if (const auto error = check_preset(preset))
            problems.push_back(error->text);
        else if (list.find(preset.name) != nullptr)
            leave_out("there is one of that name before it.");
        else if (list.presets_.size() >= kMost)
            leave_out("there are " + std::to_string(kMost) + " before it, which is the most.");
        else
            list.presets_.push_back(std::move(preset));
    }
    return list;
}
