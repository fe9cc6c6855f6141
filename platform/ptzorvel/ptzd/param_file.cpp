#include "ptzorvel/ptzd/param_file.h"

#include "glib_owned.h"

#include <syslog.h>

namespace {

std::string file_in(const std::string &folder)
{
    return folder + "/parameters.conf";
}

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
    if (folder.empty())
        return;
    const GKeyFileOwned file(g_key_file_new());
    GErrorSlot error;
    if (!g_key_file_load_from_file(file.get(), file_in(folder).c_str(), G_KEY_FILE_NONE, error)) {
        if (!g_error_matches(error.get(), G_FILE_ERROR, G_FILE_ERROR_NOENT))
            syslog(LOG_WARNING, "Kept parameters are not used: %s: %s", file_in(folder).c_str(), error->message);
        return;
    }
    for (PTZDynamicalProperties *group : store.groups())
        for (const ParamInfo &info : group->list())
            load_param(file.get(), *group, info);
}

void save_params(const std::string &folder, const ParamStore &store)
{
    if (folder.empty())
        return;
    const GKeyFileOwned file(g_key_file_new());
    for (const PTZDynamicalProperties *group : store.groups())
        for (const ParamInfo &info : group->list())
            if (info.writable && differs_from_default(info))
                g_key_file_set_string(file.get(), info.group.c_str(), info.name.c_str(),
                                      param_value_to_text(info.value).c_str());
    g_mkdir_with_parents(folder.c_str(), 0755); // what is wrong with it shows when the file is written
    GErrorSlot error;
    // Written beside the old one, which it then replaces: there is always a whole file.
    if (!g_key_file_save_to_file(file.get(), file_in(folder).c_str(), error)) {
        syslog(LOG_WARNING, "Parameters are not kept: %s", error->message);
    }
}
