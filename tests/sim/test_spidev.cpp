// The SPI seam from the host's side.
#include "sim_fixture.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
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

TEST_F(Spidev, ATransferWaitsThoughTheDescriptorDoesNotBlock)
{
    power_up();
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(parse_answer(spi->burst(Bytes(1024))).good);
    // Without buffers zeros go out and the answer is dropped.
    spi->transfer.tx_buf = spi->transfer.rx_buf = 0;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_MESSAGE(1), &spi->transfer), 1024);
}

TEST_F(Spidev, ABoardThatDiesDuringATransferIsNotWaitedFor)
{
    // A listener that takes the request and hangs up without an answer.
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder.file("deaf");
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    std::thread peer([listener] {
        char bytes[2048];
        const int fd = accept(listener, nullptr, nullptr);
        EXPECT_GT(recv(fd, bytes, sizeof bytes, 0), 0);
        close(fd);
    });
    const int fd = spidev_open(path.c_str(), O_RDWR);
    std::uint32_t mode = 0;
    EXPECT_EQ(spidev_ioctl(fd, SPI_IOC_RD_MODE32, &mode), -1);
    EXPECT_EQ(errno, ESHUTDOWN);
    peer.join();
    EXPECT_EQ(spidev_ioctl(fd, SPI_IOC_RD_MODE32, &mode), -1);
    EXPECT_TRUE(errno == ESHUTDOWN || errno == EPIPE) << errno;
    close(fd);
    close(listener);
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
