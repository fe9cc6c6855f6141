// The SPI seam from the host's side.
#include "sim_fixture.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Spidev = BoardTest;

TEST_F(Spidev, SettingsReadBackAndBelongToTheDevice)
{
    const SpiHost other(folder.file("spi1"));
    std::uint32_t speed = 500'000;
    EXPECT_EQ(spidev_ioctl(other.fd(), SPI_IOC_WR_MAX_SPEED_HZ, &speed), 0);
    for (const auto &[request, value] :
         {std::pair{SPI_IOC_RD_MODE32, 9u}, {SPI_IOC_RD_MAX_SPEED_HZ, 3'000'000u}, {SPI_IOC_RD_BITS_PER_WORD, 8u}}) {
        std::uint32_t word = 0;
        EXPECT_EQ(spidev_ioctl(spi->fd(), request, &word), 0);
        EXPECT_EQ(word, value);
    }
    EXPECT_EQ(fcntl(other.fd(), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(Spidev, WhatItDoesNotKnowIsRefused)
{
    std::uint32_t zero = 0;
    spi->transfer.len = 5000;
    const std::tuple<int, unsigned long, void *, int> cases[] = {
        {spi->fd(), SPI_IOC_MESSAGE(2), &zero, ENOTTY},
        {spi->fd(), SPI_IOC_RD_LSB_FIRST, &zero, ENOTTY},
        {spi->fd(), TIOCGWINSZ, &zero, ENOTTY},
        {spi->fd(), SPI_IOC_RD_MODE32, nullptr, EFAULT},
        {spi->fd(), SPI_IOC_WR_MAX_SPEED_HZ, &zero, EINVAL},
        {-1, SPI_IOC_RD_MODE32, &zero, EBADF},
        {spi->fd(), SPI_IOC_MESSAGE(1), &spi->transfer, EMSGSIZE}};
    for (const auto &[fd, request, argument, error] : cases) {
        EXPECT_EQ(spidev_ioctl(fd, request, argument), -1);
        EXPECT_EQ(errno, error);
    }
}

TEST_F(Spidev, WithoutBuffersZerosGoOutAndTheAnswerIsDropped)
{
    power_up();
    spi->transfer.len = 1024;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_MESSAGE(1), &spi->transfer), 1024);
}

TEST_F(Spidev, ABoardThatDiesDuringATransferIsNotWaitedFor)
{
    int ends[2];
    std::uint32_t mode = 0;
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    ASSERT_EQ(shutdown(ends[1], SHUT_WR), 0); // it takes a request, but will not answer
    EXPECT_EQ(spidev_ioctl(ends[0], SPI_IOC_RD_MODE32, &mode), -1);
    EXPECT_EQ(errno, ESHUTDOWN);
    close(ends[1]);
    EXPECT_EQ(spidev_ioctl(ends[0], SPI_IOC_RD_MODE32, &mode), -1);
    close(ends[0]);
}

TEST_F(Spidev, AnOrdinaryPathGoesToTheKernel)
{
    EXPECT_EQ(spidev_open(folder.file("none").c_str(), O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    const int fd = spidev_open("/dev/null", O_RDWR);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::uint32_t mode = 0;
    EXPECT_EQ(spidev_ioctl(fd, SPI_IOC_RD_MODE32, &mode), -1);
    EXPECT_EQ(errno, ENOTTY);
    close(fd);
}

} // namespace
