// open() and ioctl() of the host process, ahead of the C library's: what concerns a simulated SPI device goes to its
// board, everything else is passed on untouched.
#include "spidev/seam.h"

#include "spidev/ports.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <sys/ioctl.h>

// Under names of their own here, as the C library's headers rename some of them for the size of files and of times.
#define SEAM(declaration, symbol) __attribute__((visibility("default"))) declaration __asm__(symbol)
extern "C" {
SEAM(int seam_open(const char *path, int flags, ...), "open");
SEAM(int seam_open64(const char *path, int flags, ...), "open64");
SEAM(int seam_open_2(const char *path, int flags), "__open_2");
SEAM(int seam_open64_2(const char *path, int flags), "__open64_2");
SEAM(int seam_ioctl(int fd, unsigned long request, ...), "ioctl");
SEAM(int seam_ioctl_time64(int fd, unsigned long request, ...), "__ioctl_time64");
}

namespace {

using Open = int(const char *path, int flags, ...);
using Ioctl = int(int fd, unsigned long request, ...);

// What would have been called without us: the C library's function, or a sanitizer's in front of it.
template <typename Function>
Function *behind(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::atomic<SpidevObserver> observer{nullptr};

int open_through(Open *real, const char *path, int flags, mode_t mode)
{
    int fd = -1;
    const bool simulated = spidev_seam_open(path, flags, &fd);
    if (!simulated)
        fd = real(path, flags, mode);
    if (fd >= 0)
        spidev_ports::note(path, fd, simulated);
    return fd;
}

// A transfer with somebody who wants to know of it.
void tell(int fd, unsigned long request, const void *arg, int result)
{
    SpidevObserver told = observer.load(std::memory_order_acquire);
    if (told == nullptr || request != SPI_IOC_MESSAGE(1) || arg == nullptr)
        return;
    const int error = errno;
    if (const int port = spidev_ports::of(fd); port >= 0)
        told(static_cast<unsigned>(port), *static_cast<const spi_ioc_transfer *>(arg), result, error);
    errno = error;
}

int ioctl_through(Ioctl *real, int fd, unsigned long request, void *arg)
{
    if (_IOC_TYPE(request) != SPI_IOC_MAGIC)
        return real(fd, request, arg);
    int result = -1;
    if (!spidev_seam_ioctl(fd, request, arg, &result))
        result = real(fd, request, arg);
    tell(fd, request, arg, result);
    return result;
}

} // namespace

// The last argument, which is there only when a file may be made.
#define TAKE_MODE(mode, flags)                                                                                         \
    mode_t mode = 0;                                                                                                   \
    if (((flags) & (O_CREAT | (O_TMPFILE & ~O_DIRECTORY))) != 0) {                                                     \
        va_list rest;                                                                                                  \
        va_start(rest, flags);                                                                                         \
        (mode) = va_arg(rest, mode_t);                                                                                 \
        va_end(rest);                                                                                                  \
    }

#define TAKE_ARGUMENT(arg, before)                                                                                     \
    va_list rest;                                                                                                      \
    va_start(rest, before);                                                                                            \
    void *const arg = va_arg(rest, void *);                                                                            \
    va_end(rest)

int seam_open(const char *path, int flags, ...)
{
    static Open *const real = behind<Open>("open");
    TAKE_MODE(mode, flags)
    return open_through(real, path, flags, mode);
}

int seam_open64(const char *path, int flags, ...)
{
    static Open *const real = behind<Open>("open64");
    TAKE_MODE(mode, flags)
    return open_through(real, path, flags, mode);
}

// What open() becomes in hardened builds where no file may be made.
int seam_open_2(const char *path, int flags)
{
    static auto *const real = behind<Open>("open");
    return open_through(real, path, flags, 0);
}

int seam_open64_2(const char *path, int flags)
{
    static auto *const real = behind<Open>("open64");
    return open_through(real, path, flags, 0);
}

int seam_ioctl(int fd, unsigned long request, ...)
{
    static auto *const real = behind<Ioctl>("ioctl");
    TAKE_ARGUMENT(arg, request);
    return ioctl_through(real, fd, request, arg);
}

// What ioctl() becomes on 32-bit machines with 64-bit times.
int seam_ioctl_time64(int fd, unsigned long request, ...)
{
    static auto *const real = behind<Ioctl>("__ioctl_time64");
    TAKE_ARGUMENT(arg, request);
    return ioctl_through(real, fd, request, arg);
}

void spidev_seam_observe(SpidevObserver told)
{
    observer.store(told, std::memory_order_release);
}
