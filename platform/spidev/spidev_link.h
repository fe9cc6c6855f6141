/* Access to a Linux spidev node, or to a simulated board's stand-in for one (libspidev.so). */
#ifndef SPIDEV_SPIDEV_LINK_H
#define SPIDEV_SPIDEV_LINK_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Opens the spidev node `path` as open(2) does; O_CLOEXEC is always added. When `path` is a Unix socket of type
 * SOCK_SEQPACKET the descriptor is a connection to the simulated board that listens there.
 * Returns a descriptor that the caller releases with close(2), or -1 with errno. */
int spidev_open(const char *path, int flags);

/* As ioctl(2) on the descriptor. On a simulated board SPI_IOC_{WR,RD}_MODE32, _BITS_PER_WORD, _MAX_SPEED_HZ and
 * SPI_IOC_MESSAGE(1) are carried to the board, full duplex, and wait for its answer even when the descriptor is
 * O_NONBLOCK; any other request fails with ENOTTY. A board that went away gives ESHUTDOWN or EPIPE, one that keeps
 * silent ETIMEDOUT 10 seconds after its time. Returns 0 or more (bytes clocked for a message), or -1 with errno. */
int spidev_ioctl(int fd, unsigned long request, void *arg);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif
