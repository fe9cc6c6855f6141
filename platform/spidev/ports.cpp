#include "spidev/ports.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace spidev_ports {
namespace {

struct Port {
    std::atomic<int> fd{-1};
    std::array<char, PATH_MAX> path{};
};

std::mutex mutex; // of those that open
std::array<Port, 8> ports;

bool is_spi_device(const char *path, int fd)
{
    constexpr unsigned kSpidevMajor = 153;
    struct stat info {};
    return std::strncmp(path, "/dev/", 5) == 0 && fstat(fd, &info) == 0 && S_ISCHR(info.st_mode) &&
           major(info.st_rdev) == kSpidevMajor;
}

} // namespace

void note(const char *path, int fd, bool simulated)
{
    const int error = errno;
    if ((simulated || is_spi_device(path, fd)) && std::strlen(path) < PATH_MAX) {
        const std::lock_guard lock(mutex);
        for (Port &port : ports) // a number that another device had
            if (port.fd == fd)
                port.fd = -1;
        for (Port &port : ports) {
            if (port.path[0] != '\0' && std::strcmp(port.path.data(), path) != 0)
                continue;
            std::strcpy(port.path.data(), path);
            port.fd.store(fd, std::memory_order_release);
            break;
        }
    }
    errno = error;
}

int of(int fd)
{
    for (std::size_t i = 0; i < ports.size(); ++i)
        if (ports[i].fd.load(std::memory_order_acquire) == fd)
            return static_cast<int>(i);
    return -1;
}

} // namespace spidev_ports
