// Lines in sysfs: which number a chip's line has, and which folder is a line's.
//
// The kernel knows chips twice: by the character device, bus/gpio/devices/gpiochip0, which has the names, and by the
// first number, class/gpio/gpiochip32, which has the lines' numbers. Labels and sizes do not tell which is which, as
// chips of one kind share them; their devices do. The device of class/gpio/gpiochip32 is the hardware, below which the
// character device stands, or the character device itself when there is none. A line, once exported, has its character
// device as its device. It is called gpio37, or as the chip's driver calls it.
#include "ugpio/ugpio_backend.h"
#include "ugpio/ugpio_kernel.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>

namespace ugpio_internal {
namespace {

struct SysfsChip {
    std::string device; // real path
    int first;          // kernel number
    unsigned lines;
};

std::string in_class(const std::string &file)
{
    return sysfs_root() + "/class/gpio/" + file;
}

// Empty when there is no such file.
std::string real_path(const std::string &path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), std::free);
    return real ? real.get() : "";
}

std::string last_part(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

int read_number(const std::string &path)
{
    char text[16] = {};
    const OwnedFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return fd && read(fd.get(), text, sizeof text - 1) > 0 ? std::atoi(text) : -1;
}

std::vector<SysfsChip> sysfs_chips()
{
    std::vector<SysfsChip> chips;
    const OwnedDir dir(opendir(in_class("").c_str()));
    while (const dirent *entry = dir ? readdir(dir.get()) : nullptr) {
        if (std::strncmp(entry->d_name, "gpiochip", 8) != 0)
            continue;
        const std::string chip = in_class(entry->d_name);
        const int first = read_number(chip + "/base"), lines = read_number(chip + "/ngpio");
        if (first >= 0 && lines > 0)
            chips.push_back({real_path(chip + "/device"), first, static_cast<unsigned>(lines)});
    }
    return chips;
}

// Whether the chip may be the character device called `name`. All chips on one piece of hardware may; their lines tell,
// once exported.
bool may_be(const SysfsChip &chip, const std::string &name)
{
    const std::string device = real_path(sysfs_root() + "/bus/gpio/devices/" + name);
    return !device.empty() && (chip.device == device || chip.device == device.substr(0, device.rfind('/')));
}

// The character devices that the chip may be.
std::vector<std::string> devices_of(const SysfsChip &chip)
{
    std::vector<std::string> names;
    const OwnedDir dir(opendir((sysfs_root() + "/bus/gpio/devices").c_str()));
    while (const dirent *entry = dir ? readdir(dir.get()) : nullptr) {
        unsigned lines = 0;
        if (may_be(chip, entry->d_name) && (read_chip(entry->d_name, lines) < 0 || lines == chip.lines))
            names.emplace_back(entry->d_name);
    }
    return names;
}

// The folder of the exported line of that name, when it is one of `chip` (any, when empty); else empty.
std::string exported(const std::string &name, const std::string &chip)
{
    const std::string folder = real_path(in_class(name));
    if (folder.empty() || access((folder + "/value").c_str(), F_OK) != 0)
        return {};
    return chip.empty() || last_part(real_path(folder + "/device")) == chip ? folder : std::string();
}

// An exported line is root's at first; the device manager hands it over to the service's group a moment later.
void await_hand_over(const std::string &folder)
{
    constexpr int LOOKS = 200, PAUSE_MS = 10;
    for (int look = 0; look < LOOKS && access((folder + "/direction").c_str(), W_OK) != 0 && errno == EACCES; ++look)
        poll(nullptr, 0, PAUSE_MS);
}

std::string entry_of(int number)
{
    return "gpio" + std::to_string(number);
}

int write_number(const char *file, int number)
{
    return kernel_calls.write(in_class(file).c_str(), std::to_string(number).c_str());
}

// A line that is exported and called as its driver calls it.
int find_own_name(int number, std::string &folder)
{
    for (const SysfsChip &chip : sysfs_chips()) {
        const int offset = number - chip.first;
        if (offset < 0 || offset >= static_cast<int>(chip.lines))
            continue;
        std::string name;
        const std::vector<std::string> devices = devices_of(chip);
        if (devices.size() > 1)
            return fail(ENOTUNIQ); // it may be a line of either
        if (devices.empty())
            return fail(ENOENT);
        if (read_line_name(devices[0], static_cast<unsigned>(offset), name) < 0)
            return -1;
        folder = name.empty() ? "" : exported(name, devices[0]);
    }
    return folder.empty() ? fail(ENOENT) : 0;
}

} // namespace

bool has_sysfs_lines()
{
    return access(in_class("export").c_str(), F_OK) == 0;
}

int export_number(int number, std::string &folder)
{
    folder = exported(entry_of(number), "");
    if (!folder.empty())
        return 0;
    // EBUSY: it is exported under another name or by somebody else just now, or somebody holds it.
    const int error = write_number("export", number) < 0 ? errno : 0;
    folder = exported(entry_of(number), "");
    if (!folder.empty() || find_own_name(number, folder) == 0) {
        await_hand_over(folder);
        return 0;
    }
    if (error != 0)
        return fail(error);
    const int unknown = errno;
    write_number("unexport", number);
    return fail(unknown);
}

int export_named(const char *name, const ChipLine &line, std::string &folder)
{
    int error = ENOENT;
    for (const SysfsChip &chip : sysfs_chips()) {
        if (chip.lines != line.chip_lines || !may_be(chip, line.chip))
            continue;
        const int number = chip.first + static_cast<int>(line.offset);
        folder = exported(entry_of(number), line.chip);
        if (!folder.empty())
            return 0;
        const bool made = write_number("export", number) >= 0;
        if (!made)
            error = errno;
        for (const std::string &entry : {entry_of(number), std::string(name)}) {
            folder = exported(entry, line.chip);
            if (folder.empty())
                continue;
            await_hand_over(folder);
            return 0;
        }
        if (made) // a line of the other chip
            write_number("unexport", number);
    }
    return fail(error);
}

} // namespace ugpio_internal
