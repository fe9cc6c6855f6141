// Kernel GPIO: where a line is found, and how it is reached through sysfs or its chip's character device.
#ifndef UGPIO_UGPIO_KERNEL_H
#define UGPIO_UGPIO_KERNEL_H

#include <dirent.h>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ugpio_internal {

class OwnedFd {
  public:
    explicit OwnedFd(int fd = -1) : fd_(fd) {}
    OwnedFd(OwnedFd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    OwnedFd &operator=(OwnedFd &&other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~OwnedFd()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    int get() const { return fd_; }
    int release() { return std::exchange(fd_, -1); }
    explicit operator bool() const { return fd_ >= 0; }

  private:
    int fd_;
};

struct CloseDir {
    void operator()(DIR *dir) const { closedir(dir); }
};
using OwnedDir = std::unique_ptr<DIR, CloseDir>;

// What is asked of the kernel; 0 or more, or -1 with errno. Tests put a kernel of their own in its place.
struct KernelCalls {
    int (*chip)(const char *path, unsigned long request, void *arg); // ioctl() of a GPIO character device
    int (*line)(int fd, unsigned long request, void *arg);           // ioctl() of a line that was requested from one
    int (*write)(const char *path, const char *text);                // into a file of sysfs
};
extern KernelCalls kernel_calls;

// $UGPIO_SYSFS_ROOT or /sys, and $UGPIO_DEV_ROOT or /dev.
std::string sysfs_root();
std::string dev_root();

// ugpio_chips.cpp

struct ChipLine {
    std::string chip; // as in /dev, "gpiochip0"
    unsigned chip_lines;
    unsigned offset;
};
// The line called `name`, on the first chip that has one. ENOENT when there is none, or what kept a chip from being
// read that may have it.
int find_named_line(const char *name, ChipLine &found);
// How many lines the chip has, and what the line at `offset` is called, empty without a name.
int read_chip(const std::string &chip, unsigned &lines);
int read_line_name(const std::string &chip, unsigned offset, std::string &name);
// Takes the line as it is: a descriptor that holds it, with its level and direction, until it is closed.
int take_line(const ChipLine &line);
// Makes a line that was taken an input, with or without rising edges to read, or an output of that level.
enum class LineUse { input, edges, low, high };
int use_line(int fd, LineUse use);
int read_line_level(int fd);

// ugpio_sysfs.cpp

// Whether the kernel has lines in sysfs.
bool has_sysfs_lines();
// The folder of a line, which is exported if it is not yet. It stays exported: the kernel keeps an output's level only
// that long.
int export_number(int number, std::string &folder);
int export_named(const char *name, const ChipLine &line, std::string &folder);

// ugpio_edges.cpp

// Tells of the edges of a line that was taken. Its descriptor is *readable* after an edge, and select()'s third set
// does not see that: a thread reads the edges and hands them on to descriptors that become *exceptionally* ready. Those
// are masters of ptys in packet mode, which the flushing of their slaves makes so until they are read: of what a
// process can raise by itself the one that needs neither a network nor a kernel of 5.15 (out-of-band bytes).
class EdgeWatcher {
  public:
    // Starts the thread; null with errno on failure. `line` stays open until the watcher has gone.
    static std::unique_ptr<EdgeWatcher> start(int line);
    ~EdgeWatcher();
    EdgeWatcher(const EdgeWatcher &) = delete;
    // A descriptor of the caller's, ready once from the start.
    OwnedFd add();

  private:
    EdgeWatcher(int line, OwnedFd stop) : line_(line), stop_(std::move(stop)) {}
    void run();
    void raise_all();

    const int line_;
    const OwnedFd stop_;
    std::mutex mutex_;
    std::vector<OwnedFd> slaves_; // under the mutex
    std::thread thread_;
};

} // namespace ugpio_internal

#endif
