#include "ptzorvel/ptzd/presets.h"

#include "ptzorvel/ptzd/state_file.h"

#include <algorithm>
#include <iterator>
#include <syslog.h>
#include <utility>

namespace {

AxisMask axes_of(const Preset &preset)
{
    AxisMask axes = 0;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        axes |= preset.position[axis] ? axis_bit(axis) : 0;
    return axes;
}

bool contains(const std::vector<std::string> &names, const std::string &name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

Presets::Presets(Service service, const std::string &folder)
    : service_(std::move(service)), keeper_(folder, kPresetFile, "Presets")
{
    remove_stray_state_files(folder, kPresetFile);
    std::string problem;
    const GKeyFileOwned file = read_state_file(folder, kPresetFile, problem);
    std::vector<std::string> problems;
    if (!problem.empty())
        problems.push_back(problem);
    if (file != nullptr)
        list_ = PresetList::from_file(file.get(), problems);
    for (const std::string &line : problems)
        syslog(LOG_WARNING, "Kept presets are not used: %s", line.c_str());
    if (problems.empty())
        keeper_.is_safe(list_.text());
    else
        syslog(LOG_WARNING,
               "The next change of the presets writes %s/%s anew, without what is not used: whoever wants "
               "it copies the file before",
               folder.c_str(), kPresetFile);
}

void Presets::change(const CallPtr &call, const Change &change)
{
    if (const auto error = change(list_)) {
        call->refuse(*error);
        return;
    }
    service_.emit(kPresetsInterface, "Changed", nullptr);
    look(positions_);
    keeper_.save(list_.text(), [call](const std::string &problem) {
        if (problem.empty())
            call->answer();
        else
            call->refuse({ErrorKind::not_kept, "The presets are changed, which is lost when the service ends: they "
                                               "could not be kept. " +
                                                   problem});
    });
}

bool Presets::take_part(const std::string &client, guint32 part, guint32 parts, std::vector<Preset> presets,
                        std::vector<Preset> &whole)
{
    if (part == 0)
        coming_ = {client, parts, 0, {}};
    const bool its_turn = coming_.client == client && coming_.parts == parts && coming_.next == part && part < parts &&
                          coming_.presets.size() + presets.size() <= PresetList::kMost;
    if (!its_turn)
        return false;
    std::move(presets.begin(), presets.end(), std::back_inserter(coming_.presets));
    if (++coming_.next == parts)
        whole = std::exchange(coming_, {}).presets;
    return true;
}

void Presets::drop_parts(const std::string &client)
{
    if (coming_.client == client)
        coming_ = {};
}

std::vector<std::string> Presets::within(const AxisPositions &positions, const AxisTolerances &tolerances) const
{
    std::vector<std::string> names;
    for (const Preset &preset : all())
        if (is_at(preset, positions, tolerances))
            names.push_back(preset.name);
    return names;
}

void Presets::look(const AxisPositions &positions)
{
    positions_ = positions;
    const AxisTolerances tolerances = default_tolerances();
    const AxisMask moving = service_.moving();
    std::vector<std::string> now;
    for (const Preset &preset : all()) {
        // Who only passes by has not reached it.
        const bool stands = (moving & axes_of(preset)) == 0 || contains(on_, preset.name);
        if (stands && is_at(preset, positions, tolerances))
            now.push_back(preset.name);
    }
    const std::vector<std::string> before = std::exchange(on_, now);
    for (const std::string &name : before)
        if (!contains(now, name))
            tell("Left", name);
    for (const std::string &name : now)
        if (!contains(before, name))
            tell("Reached", name);
}

void Presets::tell(const char *signal, const std::string &name)
{
    service_.emit(kPresetsInterface, signal, g_variant_new("(s)", name.c_str()));
}
