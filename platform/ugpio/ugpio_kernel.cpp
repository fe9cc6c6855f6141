// Kernel GPIO behind the C interface: sysfs where the kernel has it, else the character devices. What a name or number
// leads to is found once and kept; when it is there no more, because its chip went or the line was taken back, it is
// found again.
#include "ugpio/ugpio_kernel.h"

#include "ugpio/ugpio.h"
#include "ugpio/ugpio_backend.h"

#include <deque>
#include <fcntl.h>

namespace ugpio_internal {
namespace {

struct Line {
    const int number;       // -1 for a name
    const std::string name; // empty for a number
    // Where it was found: neither before and after that.
    std::string folder; // of a line in sysfs
    OwnedFd fd;         // holds a line that has none
    std::unique_ptr<EdgeWatcher> watcher;
};

struct Lines {
    std::mutex mutex;
    std::deque<Line> all; // a handle has the index
};

// Never destroyed: other libraries' threads may still read lines while the process ends.
Lines &lines()
{
    static auto &instance = *new Lines;
    return instance;
}

int find(Line &line)
{
    if (!line.folder.empty() || line.fd)
        return 0;
    const bool sysfs = has_sysfs_lines();
    if (line.number >= 0)
        return sysfs ? export_number(line.number, line.folder) : fail(EOPNOTSUPP); // numbers are those of sysfs
    ChipLine found;
    if (find_named_line(line.name.c_str(), found) < 0)
        return -1;
    if (sysfs)
        return export_named(line.name.c_str(), found, line.folder);
    line.fd = OwnedFd(take_line(found));
    return line.fd ? 0 : -1;
}

void forget(Line &line)
{
    line.folder.clear();
    line.watcher.reset(); // before the line that it watches
    line.fd = OwnedFd();
}

int find_line(int number, const char *name)
{
    const std::lock_guard lock(lines().mutex);
    std::deque<Line> &all = lines().all;
    std::size_t i = 0;
    while (i < all.size() && (all[i].number != number || all[i].name != name))
        ++i;
    if (i == all.size())
        all.push_back({number, name, {}, OwnedFd(), nullptr});
    return find(all[i]) < 0 ? -1 : static_cast<int>(i);
}

int find_number(const char *, int number) noexcept
{
    return find_line(number, "");
}

int find_name(const char *, const char *name) noexcept
{
    return find_line(-1, name);
}

int knows_name(const char *, const char *name) noexcept
{
    ChipLine found;
    if (find_named_line(name, found) == 0)
        return 1;
    return errno == ENOENT ? 0 : -1;
}

// Does something with a line where it was found and, when it is there no more, once again where it is now.
template <typename Use>
int on_line(int index, Use use)
{
    const std::lock_guard lock(lines().mutex);
    Line &line = lines().all[static_cast<std::size_t>(index)];
    int result = find(line) < 0 ? -1 : use(line);
    if (result < 0 && (errno == ENOENT || errno == ENODEV)) {
        forget(line);
        result = find(line) < 0 ? -1 : use(line);
    }
    return result;
}

int write_attribute(const Line &line, const char *name, const char *text)
{
    return kernel_calls.write((line.folder + "/" + name).c_str(), text) < 0 ? -1 : 0;
}

int set_direction(int index, unsigned flags) noexcept
{
    return on_line(index, [flags](const Line &line) {
        const bool high = flags == UGPIO_OUT_HIGH, low = flags == UGPIO_OUT_LOW;
        if (line.fd)
            return use_line(line.fd.get(), high ? LineUse::high : low ? LineUse::low : LineUse::input);
        return write_attribute(line, "direction", high ? "high" : low ? "low" : "in");
    });
}

int open_line(ugpio &handle) noexcept
{
    return on_line(handle.line, [&handle](const Line &line) {
        if (line.fd)
            return 0;
        handle.fd = open((line.folder + "/value").c_str(), O_RDONLY | O_CLOEXEC);
        return handle.fd < 0 ? -1 : 0;
    });
}

int read_value_file(int fd)
{
    char text = 0;
    const ssize_t got = pread(fd, &text, 1, 0);
    if (got != 1)
        return got < 0 ? -1 : fail(EIO);
    return text == '1' ? 1 : 0;
}

int read_level(ugpio &handle) noexcept
{
    return on_line(handle.line, [&handle](const Line &line) {
        if (!line.fd)
            return read_value_file(handle.fd);
        // The notification first: an edge between the two is then notified again rather than lost.
        char status = 0;
        while (handle.fd >= 0 && read(handle.fd, &status, 1) == 1) {
        }
        return read_line_level(line.fd.get());
    });
}

int set_edge(ugpio &handle, unsigned flags) noexcept
{
    return on_line(handle.line, [flags](const Line &line) {
        const bool rising = flags == UGPIO_EDGE_RISING;
        if (line.fd)
            return use_line(line.fd.get(), rising ? LineUse::edges : LineUse::input);
        return write_attribute(line, "edge", rising ? "rising" : "none");
    });
}

// A duplicate shares the open file, so that reading the level through the handle takes the notification back.
int make_fd(ugpio &handle) noexcept
{
    return on_line(handle.line, [&handle](Line &line) {
        if (line.fd && handle.fd < 0) {
            if (!line.watcher)
                line.watcher = EdgeWatcher::start(line.fd.get());
            handle.fd = line.watcher ? line.watcher->add().release() : -1;
        }
        return handle.fd < 0 ? -1 : fcntl(handle.fd, F_DUPFD_CLOEXEC, 0);
    });
}

} // namespace

const Backend kKernelBackend{find_number, find_name,  knows_name, set_direction,
                             open_line,   read_level, set_edge,   make_fd};

} // namespace ugpio_internal
