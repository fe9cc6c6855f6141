#include "bench/wire.h"

#include <cstdarg>
#include <ctime>
#include <linux/spi/spidev.h>

namespace {

WireMeter meter;

} // namespace

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

WireMeter wire_meter()
{
    return meter;
}

// The linker leads the driver's calls to the first of these, and the second to the device.
extern "C" int __wrap_ioctl(int fd, unsigned long request, ...);
extern "C" int __real_ioctl(int fd, unsigned long request, ...);

int __wrap_ioctl(int fd, unsigned long request, ...)
{
    va_list rest;
    va_start(rest, request);
    void *const arg = va_arg(rest, void *);
    va_end(rest);
    const std::int64_t start = monotonic_ns();
    const int result = __real_ioctl(fd, request, arg);
    if (request != SPI_IOC_MESSAGE(1) || result < 0)
        return result;
    const auto *transfer = static_cast<const spi_ioc_transfer *>(arg);
    ++meter.bursts;
    meter.wire_ns += std::int64_t{transfer->len} * 8 * 1'000'000'000 / transfer->speed_hz;
    meter.call_ns += monotonic_ns() - start;
    return result;
}
