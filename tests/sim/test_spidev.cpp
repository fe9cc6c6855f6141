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
    std::uint32_t word = 0;
    std::uint8_t byte = 0;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_RD_MODE32, &word), 0);
    EXPECT_EQ(word, 9u);
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_RD_MAX_SPEED_HZ, &word), 0);
    EXPECT_EQ(word, 3'000'000u);
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_RD_BITS_PER_WORD, &byte), 0);
    EXPECT_EQ(byte, 8);

    const int other = spidev_open(folder.file("spi1").c_str(), O_RDWR);
    ASSERT_GE(other, 0);
    EXPECT_EQ(fcntl(other, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(spidev_ioctl(other, SPI_IOC_RD_MODE32, &word), 0);
    EXPECT_EQ(word, 0u);
    word = 0;
    EXPECT_EQ(spidev_ioctl(other, SPI_IOC_WR_MAX_SPEED_HZ, &word), -1);
    EXPECT_EQ(errno, EINVAL);
    close(other);
}

TEST_F(Spidev, OtherRequestsAreNotKnown)
{
    int value = 0;
    for (const unsigned long request :
         {static_cast<unsigned long>(SPI_IOC_MESSAGE(2)), static_cast<unsigned long>(SPI_IOC_RD_LSB_FIRST),
          static_cast<unsigned long>(TIOCGWINSZ)}) {
        EXPECT_EQ(spidev_ioctl(spi->fd(), request, &value), -1);
        EXPECT_EQ(errno, ENOTTY);
    }
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_RD_MODE32, nullptr), -1);
    EXPECT_EQ(errno, EFAULT);
    EXPECT_EQ(spidev_ioctl(-1, SPI_IOC_RD_MODE32, &value), -1);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(Spidev, ATransferWaitsThoughTheDescriptorDoesNotBlock)
{
    power_up();
    ASSERT_EQ(fcntl(spi->fd(), F_SETFL, fcntl(spi->fd(), F_GETFL) | O_NONBLOCK), 0);
    for (int i = 0; i < 1000; ++i)
        ASSERT_TRUE(parse_answer(spi->burst(Bytes(1024))).good);
    // Without buffers zeros go out and the answer is dropped.
    spi->transfer.tx_buf = spi->transfer.rx_buf = 0;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_MESSAGE(1), &spi->transfer), 1024);
    spi->transfer.len = 5000;
    EXPECT_EQ(spidev_ioctl(spi->fd(), SPI_IOC_MESSAGE(1), &spi->transfer), -1);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST_F(Spidev, ABoardThatWentAwayIsAnErrorAndANewOneANewOpen)
{
    power_up();
    board.stop();
    EXPECT_EQ(spi->burst(Bytes(1024)), Bytes());
    EXPECT_TRUE(errno == ESHUTDOWN || errno == EPIPE) << errno;
    EXPECT_EQ(spidev_open(folder.file("spi0").c_str(), O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(board.start(), std::nullopt);
    spi = std::make_unique<SpiHost>(folder.file("spi0"));
    EXPECT_TRUE(parse_answer(spi->burst(Bytes(1024))).good);
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

TEST(SpidevNode, AnOrdinaryPathGoesToTheKernel)
{
    TempFolder folder;
    EXPECT_EQ(spidev_open(folder.file("none").c_str(), O_RDWR), -1);
    EXPECT_EQ(errno, ENOENT);
    const int fd = spidev_open("/dev/null", O_RDWR);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    std::uint32_t mode = 0;
    EXPECT_EQ(spidev_ioctl(fd, SPI_IOC_RD_MODE32, &mode), -1);
    EXPECT_EQ(errno, ENOTTY);
    close(fd);
}

} // namespace
