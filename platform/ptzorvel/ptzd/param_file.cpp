#include "ptzorvel/ptzd/param_file.h"

#include "glib_owned.h"
#include "ptzorvel/common/regular_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostBytes = 1 << 20;
constexpr char kFileName[] = "parameters.conf";
constexpr char kTemporary[] = "parameters.conf.XXXXXX"; // the last six are anything

std::string file_in(const std::string &folder)
{
    return folder + "/" + kFileName;
}

bool write_whole(int fd, const std::string &text)
{
    for (std::size_t at = 0; at < text.size();) {
        const ssize_t written = write(fd, text.data() + at, text.size() - at);
        if (written < 0 && errno != EINTR)
            return false;
        at += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

bool sync_whole(int fd)
{
    int result = 0;
    do {
        result = fsync(fd);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// A name is safe when the folder that has it is.
bool sync_folder(const std::string &folder)
{
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fd >= 0 && sync_whole(fd);
    const int error = errno;
    if (fd >= 0)
        close(fd);
    errno = error;
    return synced;
}

// Written beside the old one, which it then replaces: there is always a whole file. False with errno.
bool replace_file(const std::string &folder, const std::string &text)
{
    std::string temporary = folder + "/" + kTemporary;
    const int fd = g_mkstemp_full(temporary.data(), O_WRONLY | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = write_whole(fd, text) && sync_whole(fd);
    const int error = errno;
    close(fd);
    errno = error;
    if (written && std::rename(temporary.c_str(), file_in(folder).c_str()) == 0)
        return sync_folder(folder);
    const int reason = errno;
    unlink(temporary.c_str());
    errno = reason;
    return false;
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
    const std::string path = file_in(folder);
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT)
        return;
    std::string problem;
    const auto text = read_regular_file(path, kMostBytes, problem);
    const GKeyFileOwned file(g_key_file_new());
    GErrorSlot error;
    if (text && !g_key_file_load_from_data(file.get(), text->data(), text->size(), G_KEY_FILE_NONE, error))
        problem = std::string("is no key file: ") + error->message;
    if (!problem.empty()) {
        syslog(LOG_WARNING, "Kept parameters are not used: %s %s", path.c_str(), problem.c_str());
        return;
    }
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

std::string write_params(const std::string &folder, const std::string &text)
{
    if (folder.empty())
        return "";
    if (g_mkdir_with_parents(folder.c_str(), 0755) == 0 && replace_file(folder, text))
        return "";
    return file_in(folder) + " cannot be written: " + g_strerror(errno) + ".";
}

void remove_stray_params(const std::string &folder)
{
    constexpr std::size_t kLength = std::size(kTemporary) - 1;
    constexpr char kPrefix[] = "parameters.conf.";
    const GOwned<GDir, g_dir_close> files(folder.empty() ? nullptr : g_dir_open(folder.c_str(), 0, nullptr));
    while (const char *name = files ? g_dir_read_name(files.get()) : nullptr)
        if (std::string_view(name).size() == kLength && g_str_has_prefix(name, kPrefix))
            unlink((folder + "/" + name).c_str());
}
