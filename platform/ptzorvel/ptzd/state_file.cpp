#include "ptzorvel/ptzd/state_file.h"

#include "ptzorvel/common/regular_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kMostBytes = 1 << 20;
constexpr char kTemporary[] = ".XXXXXX"; // after the file's name; the last six are anything

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

// A name is safe when the folder that has it is.
bool sync_folder(const std::string &folder)
{
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fd >= 0 && fsync(fd) == 0;
    const int error = errno;
    if (fd >= 0)
        close(fd);
    errno = error;
    return synced;
}

// Every folder that is made gets safe, or the file in it would not be.
bool make_folder(const std::string &folder)
{
    if (mkdir(folder.c_str(), 0755) != 0) {
        if (errno != ENOENT)
            return errno == EEXIST; // what is wrong with it shows when the file is made
        const std::string parent = std::filesystem::path(folder).parent_path();
        if (parent.empty() || !make_folder(parent) || mkdir(folder.c_str(), 0755) != 0)
            return false;
    }
    const std::string parent = std::filesystem::path(folder).parent_path();
    return sync_folder(parent.empty() ? "." : parent);
}

// Written beside the old one, which it then replaces. False with errno.
bool replace_file(const std::string &folder, const std::string &name, const std::string &text)
{
    const std::string file = folder + "/" + name;
    std::string temporary = file + kTemporary;
    const int fd = g_mkstemp_full(temporary.data(), O_WRONLY | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = write_whole(fd, text) && fsync(fd) == 0;
    const int error = errno;
    close(fd);
    errno = error;
    if (written && std::rename(temporary.c_str(), file.c_str()) == 0)
        return sync_folder(folder);
    const int reason = errno;
    unlink(temporary.c_str());
    errno = reason;
    return false;
}

} // namespace

GKeyFileOwned read_state_file(const std::string &folder, const std::string &name, std::string &problem)
{
    const std::string path = folder + "/" + name;
    if (folder.empty() || (access(path.c_str(), F_OK) != 0 && errno == ENOENT))
        return nullptr;
    GKeyFileOwned file(g_key_file_new());
    GErrorSlot error;
    std::string why;
    const auto text = read_regular_file(path, kMostBytes, why);
    if (text && g_key_file_load_from_data(file.get(), text->data(), text->size(), G_KEY_FILE_NONE, error))
        return file;
    problem = path + (text ? std::string(" is no key file: ") + error->message : " " + why);
    return nullptr;
}

std::string write_state_file(const std::string &folder, const std::string &name, const std::string &text)
{
    if (folder.empty())
        return "";
    if (make_folder(folder) && replace_file(folder, name, text))
        return "";
    return folder + "/" + name + " cannot be written: " + g_strerror(errno) + ".";
}

void remove_stray_state_files(const std::string &folder, const std::string &name)
{
    const std::string prefix = name + ".";
    const GOwned<GDir, g_dir_close> files(folder.empty() ? nullptr : g_dir_open(folder.c_str(), 0, nullptr));
    while (const char *found = files ? g_dir_read_name(files.get()) : nullptr)
        if (std::string_view(found).size() == name.size() + sizeof kTemporary - 1 &&
            g_str_has_prefix(found, prefix.c_str()))
            unlink((folder + "/" + found).c_str());
}
