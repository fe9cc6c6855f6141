// Kernel GPIO: levels and edges through the sysfs value files, names through the GPIO character devices.
#include "ugpio/ugpio.h"
#include "ugpio/ugpio_backend.h"

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/gpio.h>
#include <memory>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ugpio_internal {
namespace {

// Another folder may stand in the place of the kernel's.
std::string root(const char *variable, const char *usual)
{
    const char *other = std::getenv(variable);
    return other && *other ? other : usual;
}

std::string sysfs_root()
{
    return root("UGPIO_SYSFS_ROOT", "/sys/class/gpio");
}

std::string attribute(int number, const char *name)
{
    return sysfs_root() + "/gpio" + std::to_string(number) + "/" + name;
}

int write_text(const std::string &path, const std::string &text)
{
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    const ssize_t written = write(fd, text.data(), text.size());
    const int error = errno;
    close(fd);
    return written == static_cast<ssize_t>(text.size()) ? 0 : fail(written < 0 ? error : EIO);
}

std::string read_text(const std::string &path)
{
    char text[128];
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    const ssize_t got = read(fd, text, sizeof text);
    close(fd);
    std::string result(text, got > 0 ? static_cast<std::size_t>(got) : 0);
    while (!result.empty() && result.back() == '\n')
        result.pop_back();
    return result;
}

// An exported line is root's at first; the device manager hands it over to the service's group a moment later.
int handed_over(int number)
{
    constexpr int LOOKS = 200, PAUSE_MS = 10;
    const std::string direction = attribute(number, "direction");
    for (int look = 0; look < LOOKS && access(direction.c_str(), W_OK) != 0 && errno == EACCES; ++look)
        poll(nullptr, 0, PAUSE_MS);
    return number;
}

// Exports the line if it is not yet. It stays exported: the kernel guarantees an output's level only that long.
int find_number(int number) noexcept
{
    if (access(attribute(number, "value").c_str(), F_OK) == 0)
        return number;
    // EBUSY: somebody exported it between the two lines.
    if (write_text(sysfs_root() + "/export", std::to_string(number)) != 0 && errno != EBUSY)
        return -1;
    return handed_over(number);
}

int find_name(const char *name) noexcept
{
    const int number = find_kernel_line(name, root("UGPIO_DEV_ROOT", "/dev"), sysfs_root(), kCharacterDevice);
    return number < 0 ? -1 : find_number(number);
}

int knows_name(const char *name) noexcept
{
    const int number = find_kernel_line(name, root("UGPIO_DEV_ROOT", "/dev"), sysfs_root(), kCharacterDevice);
    if (number < 0)
        return errno == ENOENT ? 0 : -1;
    return 1;
}

int set_direction(int line, unsigned flags) noexcept
{
    const char *direction = flags == UGPIO_OUT_HIGH ? "high" : flags == UGPIO_OUT_LOW ? "low" : "in";
    return write_text(attribute(line, "direction"), direction);
}

int open_value(ugpio &handle) noexcept
{
    handle.fd = open(attribute(handle.line, "value").c_str(), O_RDONLY | O_CLOEXEC);
    return handle.fd < 0 ? -1 : 0;
}

int read_value(ugpio &handle) noexcept
{
    char text = 0;
    const ssize_t got = pread(handle.fd, &text, 1, 0);
    if (got != 1)
        return got < 0 ? -1 : fail(EIO);
    return text == '1' ? 1 : 0;
}

int set_edge(ugpio &handle, unsigned flags) noexcept
{
    return write_text(attribute(handle.line, "edge"), flags == UGPIO_EDGE_RISING ? "rising" : "none");
}

// A duplicate shares the open file, so that reading the level through the handle takes the notification back.
int make_fd(ugpio &handle) noexcept
{
    return fcntl(handle.fd, F_DUPFD_CLOEXEC, 0);
}

struct CloseDir {
    void operator()(DIR *dir) const { closedir(dir); }
};
using Directory = std::unique_ptr<DIR, CloseDir>;

int with_chip(const char *path, unsigned long request, void *arg)
{
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    const int result = ioctl(fd, request, arg);
    close(fd);
    return result;
}

int read_chip(const char *path, std::string &label, unsigned &lines)
{
    gpiochip_info info{};
    if (with_chip(path, GPIO_GET_CHIPINFO_IOCTL, &info) < 0)
        return -1;
    label.assign(info.label, strnlen(info.label, sizeof info.label));
    lines = info.lines;
    return 0;
}

int read_line(const char *path, unsigned offset, std::string &name)
{
    gpio_v2_line_info info{};
    info.offset = offset;
    if (with_chip(path, GPIO_V2_GET_LINEINFO_IOCTL, &info) < 0)
        return -1;
    name.assign(info.name, strnlen(info.name, sizeof info.name));
    return 0;
}

// First kernel number of the chip with that label and size.
int chip_base(const std::string &sysfs, const std::string &label, unsigned lines)
{
    const Directory dir(opendir(sysfs.c_str()));
    while (const dirent *entry = dir ? readdir(dir.get()) : nullptr) {
        if (std::strncmp(entry->d_name, "gpiochip", 8) != 0)
            continue;
        std::string chip = sysfs;
        chip.append("/").append(entry->d_name);
        if (read_text(chip + "/label") == label && read_text(chip + "/ngpio") == std::to_string(lines))
            return std::atoi(read_text(chip + "/base").c_str());
    }
    return -1;
}

} // namespace

int find_kernel_line(const char *name, const std::string &dev_root, const std::string &sysfs_root,
                     const ChipReader &reader)
{
    const Directory dir(opendir(dev_root.c_str()));
    while (const dirent *entry = dir ? readdir(dir.get()) : nullptr) {
        const std::string chip = dev_root + "/" + entry->d_name;
        std::string label;
        unsigned lines = 0;
        if (std::strncmp(entry->d_name, "gpiochip", 8) != 0 || reader.chip(chip.c_str(), label, lines) < 0)
            continue;
        for (unsigned offset = 0; offset < lines; ++offset) {
            std::string line_name;
            if (reader.line(chip.c_str(), offset, line_name) < 0 || line_name != name)
                continue;
            const int base = chip_base(sysfs_root, label, lines);
            return base < 0 ? fail(ENOENT) : base + static_cast<int>(offset);
        }
    }
    return fail(ENOENT);
}

const ChipReader kCharacterDevice{read_chip, read_line};
const Backend kKernelBackend{find_number, find_name,  knows_name, set_direction,
                             open_value,  read_value, set_edge,   make_fd};

} // namespace ugpio_internal
