// How open() and ioctl() of a host process reach a simulated SPI device. The driver calls the C library's names and
// knows nothing of this; the host (ptzd, a test) has spidev_host_dep linked in, which puts seam.cpp ahead of the C
// library and link.cpp behind it.
#pragma once

struct spi_ioc_transfer;

// Opening `path`: false when it is no simulated device, and then the C library opens it. Otherwise *fd is a descriptor
// for the caller to close(), closed on exec, or -1 with errno.
bool spidev_seam_open(const char *path, int flags, int *fd);

// An spidev request on `fd`: false when that is no connection to a simulated device. Otherwise *result is what ioctl()
// would return (bytes clocked for a message), or -1 with errno: ENOTTY for a request that is not carried, EMSGSIZE
// above 4096 bytes, ESHUTDOWN or EPIPE when the board went away, ETIMEDOUT when it keeps silent for 10 seconds.
bool spidev_seam_ioctl(int fd, unsigned long request, void *arg, int *result);

// Told of every transfer of the process once it is over, simulated or not, on the thread that made it: the port,
// counted from 0 in the order in which the devices were first opened; what ioctl() returns; and errno when that is
// negative.
using SpidevObserver = void (*)(unsigned port, const spi_ioc_transfer &transfer, int result, int error);
// Null: nobody is told.
void spidev_seam_observe(SpidevObserver observer);
