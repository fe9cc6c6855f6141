#include "ptzorvel/ptzd/param_file.h"

#include <glib.h>

#include <memory>
#include <syslog.h>

namespace {

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

std::string file_in(const std::string &folder)
{
    return folder + "/parameters.conf";
}

void load_param(GKeyFile *file, PTZDynamicalProperties &group, const ParamInfo &info)
{
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_key_file_get_string(file, info.group.c_str(), info.name.c_str(), nullptr), g_free);
    if (text == nullptr || !info.writable)
        return;
    const auto value = param_value_from_text(info.kind, text.get());
    const std::string refusal = value ? group.set(info.name, *value) : "not of its kind.";
    if (!refusal.empty())
        syslog(LOG_WARNING, "Kept value of %s.%s is not used: %s", info.group.c_str(), info.name.c_str(),
               refusal.c_str());
}

} // namespace

void load_params(const std::string &folder, ParamStore &store)
{
    if (folder.empty())
        return;
    const KeyFile file(g_key_file_new(), g_key_file_unref);
    GError *error = nullptr;
    if (!g_key_file_load_from_file(file.get(), file_in(folder).c_str(), G_KEY_FILE_NONE, &error)) {
        if (!g_error_matches(error, G_FILE_ERROR, G_FILE_ERROR_NOENT))
            syslog(LOG_WARNING, "Kept parameters are not used: %s: %s", file_in(folder).c_str(), error->message);
        g_error_free(error);
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
    const KeyFile file(g_key_file_new(), g_key_file_unref);
    for (const PTZDynamicalProperties *group : store.groups())
        for (const ParamInfo &info : group->list())
            if (info.writable && !std::holds_alternative<std::monostate>(info.value))
                g_key_file_set_string(file.get(), info.group.c_str(), info.name.c_str(),
                                      param_value_to_text(info.value).c_str());
    GError *error = nullptr;
    if (!g_key_file_save_to_file(file.get(), file_in(folder).c_str(), &error)) {
        syslog(LOG_WARNING, "Parameters are not kept: %s", error->message);
        g_error_free(error);
    }
}
