#include "ptzorvel/ptzd/param_file.h"

#include "glib_owned.h"
#include "ptzorvel/ptzd/state_file.h"

#include <syslog.h>

namespace {

void load_param(GKeyFile *file, PTZDynamicalProperties &group, const ParamInfo &info)
{
    const char *group_name = info.group.c_str();
    const char *name = info.name.c_str();
    if (!info.writable || g_key_file_has_key(file, group_name, name, nullptr) == FALSE)
        return;
    const GText text(g_key_file_get_string(file, group_name, name, nullptr));
    const auto value = text != nullptr ? param_value_from_text(info.kind, text.get()) : std::nullopt;
    const std::string refusal = value ? group.set(info.name, *value)
                                      : "it is not a value of kind " + std::string(param_kind_name(info.kind)) + ".";
    if (!refusal.empty())
        syslog(LOG_WARNING, "The kept value of %s.%s is not used: %s", group_name, name, refusal.c_str());
}

// An empty default is no value, from which an empty text differs.
bool differs_from_default(const ParamInfo &info)
{
    return !std::holds_alternative<std::monostate>(info.value) &&
           (info.default_text.empty() || param_value_to_text(info.value) != info.default_text);
}

} // namespace

std::string default_state_folder()
{
    // The service manager may give several folders, separated by colons.
    if (const char *folders = g_getenv("STATE_DIRECTORY"); folders != nullptr && *folders != '\0')
        return std::string(folders).substr(0, std::string(folders).find(':'));
    if (const char *board = g_getenv("PTZ_BOARD"); board != nullptr && *board != '\0')
        return board;
    return "/var/lib/ptz";
}

void load_params(const std::string &folder, ParamStore &store)
{
    std::string problem;
    const GKeyFileOwned file = read_state_file(folder, kParamFile, problem);
    if (!problem.empty())
        syslog(LOG_WARNING, "Kept parameters are not used: %s", problem.c_str());
    if (file == nullptr)
        return;
    for (PTZDynamicalProperties *group : store.groups())
        for (const ParamInfo &info : group->list())
            load_param(file.get(), *group, info);
}

std::string params_text(const ParamStore &store)
{
    const GKeyFileOwned file(g_key_file_new());
    for (const PTZDynamicalProperties *group : store.groups())
        for (const ParamInfo &info : group->list())
            if (info.writable && differs_from_default(info))
                g_key_file_set_string(file.get(), info.group.c_str(), info.name.c_str(),
                                      param_value_to_text(info.value).c_str());
    return GText(g_key_file_to_data(file.get(), nullptr, nullptr)).get();
}

void remove_stray_params(const std::string &folder)
{
    remove_stray_state_files(folder, kParamFile);
}
