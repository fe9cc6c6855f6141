// The GPIO character devices: names of lines, and lines without sysfs.
#include "ugpio/ugpio_backend.h"
#include "ugpio/ugpio_kernel.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/gpio.h>
#include <set>
#include <sys/ioctl.h>

namespace ugpio_internal {
namespace {

// Tests put a folder of their own in the place of the kernel's.
std::string root(const char *variable, const char *usual)
{
    const char *other = std::getenv(variable);
    return other && *other ? other : usual;
}

int call_chip(const char *path, unsigned long request, void *arg)
{
    const OwnedFd fd(open(path, O_RDONLY | O_CLOEXEC));
    return fd ? ioctl(fd.get(), request, arg) : -1;
}

int call_line(int fd, unsigned long request, void *arg)
{
    return ioctl(fd, request, arg);
}

int write_file(const char *path, const char *text)
{
    const OwnedFd fd(open(path, O_WRONLY | O_CLOEXEC));
    return fd ? static_cast<int>(write(fd.get(), text, std::strlen(text))) : -1;
}

int call(const std::string &chip, unsigned long request, void *arg)
{
    return kernel_calls.chip((dev_root() + "/" + chip).c_str(), request, arg);
}

constexpr char kPrefix[] = "gpiochip";

// The numbers of the character devices, gpiochip0 first. Other names are links to one of them.
std::set<unsigned long> chip_numbers()
{
    std::set<unsigned long> numbers;
    const OwnedDir dir(opendir(dev_root().c_str()));
    while (const dirent *entry = dir ? readdir(dir.get()) : nullptr) {
        if (std::strncmp(entry->d_name, kPrefix, sizeof kPrefix - 1) != 0)
            continue;
        const char *digits = entry->d_name + sizeof kPrefix - 1;
        if (*digits && std::strspn(digits, "0123456789") == std::strlen(digits))
            numbers.insert(std::strtoul(digits, nullptr, 10));
    }
    return numbers;
}

// 1 when the chip has the line, 0 when it has not.
int search_chip(const char *name, ChipLine &line)
{
    if (read_chip(line.chip, line.chip_lines) < 0)
        return -1;
    std::string found;
    for (line.offset = 0; line.offset < line.chip_lines; ++line.offset) {
        if (read_line_name(line.chip, line.offset, found) < 0)
            return -1;
        if (found == name)
            return 1;
    }
    return 0;
}

} // namespace

KernelCalls kernel_calls{call_chip, call_line, write_file};

std::string sysfs_root()
{
    return root("UGPIO_SYSFS_ROOT", "/sys");
}

std::string dev_root()
{
    return root("UGPIO_DEV_ROOT", "/dev");
}

int find_named_line(const char *name, ChipLine &found)
{
    int error = ENOENT;
    for (const unsigned long number : chip_numbers()) {
        found.chip = kPrefix + std::to_string(number);
        const int result = search_chip(name, found);
        if (result > 0)
            return 0;
        if (result < 0 && error == ENOENT)
            error = errno;
    }
    return fail(error);
}

int read_chip(const std::string &chip, unsigned &lines)
{
    gpiochip_info info{};
    if (call(chip, GPIO_GET_CHIPINFO_IOCTL, &info) < 0)
        return -1;
    lines = info.lines;
    return 0;
}

int read_line_name(const std::string &chip, unsigned offset, std::string &name)
{
    gpio_v2_line_info info{};
    info.offset = offset;
    if (call(chip, GPIO_V2_GET_LINEINFO_IOCTL, &info) >= 0) {
        name.assign(info.name, strnlen(info.name, sizeof info.name));
        return 0;
    }
    if (errno != EINVAL && errno != ENOTTY)
        return -1;
    gpioline_info older{}; // of kernels before 5.10
    older.line_offset = offset;
    if (call(chip, GPIO_GET_LINEINFO_IOCTL, &older) < 0)
        return -1;
    name.assign(older.name, strnlen(older.name, sizeof older.name));
    return 0;
}

int take_line(const ChipLine &line)
{
    gpio_v2_line_request request{};
    request.offsets[0] = line.offset;
    request.num_lines = 1;
    std::strcpy(request.consumer, "ugpio");
    return call(line.chip, GPIO_V2_GET_LINE_IOCTL, &request) < 0 ? -1 : request.fd;
}

int use_line(int fd, LineUse use)
{
    gpio_v2_line_config config{};
    if (use == LineUse::input || use == LineUse::edges) {
        config.flags = GPIO_V2_LINE_FLAG_INPUT;
        if (use == LineUse::edges)
            config.flags |= GPIO_V2_LINE_FLAG_EDGE_RISING;
    } else {
        config.flags = GPIO_V2_LINE_FLAG_OUTPUT;
        config.num_attrs = 1;
        config.attrs[0].mask = 1;
        config.attrs[0].attr.id = GPIO_V2_LINE_ATTR_ID_OUTPUT_VALUES;
        config.attrs[0].attr.values = use == LineUse::high;
    }
    return kernel_calls.line(fd, GPIO_V2_LINE_SET_CONFIG_IOCTL, &config);
}

int read_line_level(int fd)
{
    gpio_v2_line_values values{0, 1};
    return kernel_calls.line(fd, GPIO_V2_LINE_GET_VALUES_IOCTL, &values) < 0 ? -1 : static_cast<int>(values.bits & 1);
}

} // namespace ugpio_internal
