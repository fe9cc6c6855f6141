// The two libraries through which the host reaches the board or, without one, the kernel.
#include "sim_fixture.h"

#include "spidev/wire.h"
#include "ugpio/ugpio.h"

#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

// What open() and ioctl() become in hardened builds and on 32-bit machines.
extern "C" {
int __open_2(const char *path, int flags);   // NOLINT
int __open64_2(const char *path, int flags); // NOLINT
int other_ioctl(int fd, unsigned long request, ...) __asm__("__ioctl_time64");
}

namespace {

using Seams = BoardTest;

void expect_failure(bool failed, int error)
{
    EXPECT_TRUE(failed);
    EXPECT_EQ(errno, error);
}

TEST_F(Seams, ABoardIsASocketAndEverythingElseTheKernels)
{
    std::uint32_t word = 0;
    const int port = open(folder.file("spi0").c_str(), O_RDWR | O_CLOEXEC);
    const int kernel = open("/dev/null", O_RDWR);
    umask(022);
    const int made = open(folder.file("made").c_str(), O_RDWR | O_CREAT | O_EXCL, 0604);
    transfer.len = 5000;
    expect_failure(ioctl(port, SPI_IOC_MESSAGE(1), &transfer) == -1, EMSGSIZE);
    EXPECT_EQ(ioctl(kernel, SPI_IOC_RD_MODE32, &word), -1);
    EXPECT_TRUE(errno == ENOTTY || errno == ENOSYS) << errno; // ENOSYS: emulators of another machine's kernel
    struct stat info {};
    EXPECT_EQ(fstat(made, &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0604u);
    int pending = -1;
    EXPECT_EQ(ioctl(port, FIONREAD, &pending), 0); // no request of an SPI device
    EXPECT_EQ(pending, 0);
    EXPECT_EQ(fcntl(port, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    const std::string path = folder.file("spi1");
    const int others[] = {open64(path.c_str(), O_RDWR), __open_2(path.c_str(), O_RDWR),
                          __open64_2(path.c_str(), O_RDWR)};
    for (const int fd : others) {
        EXPECT_EQ(other_ioctl(fd, SPI_IOC_RD_MODE32, &word), 0);
        expect_failure(ioctl(fd, SPI_IOC_RD_LSB_FIRST, &word) == -1, ENOTTY);
        expect_failure(ioctl(fd, SPI_IOC_RD_MODE32, nullptr) == -1, EFAULT);
        close(fd);
    }
    for (const int fd : {port, kernel, made})
        close(fd);
}

TEST(SpidevLink, ABoardThatWillNotAnswerIsNotWaitedFor)
{
    int ends[2];
    std::uint32_t mode = 0;
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    ASSERT_EQ(write(ends[1], "no answer", 9), 9);
    expect_failure(ioctl(ends[0], SPI_IOC_RD_MODE32, &mode) == -1, EPROTO);
    const spidev_wire::Reply earlier{};
    for (int i = 0; i < 65; ++i)
        EXPECT_GT(send(ends[1], &earlier, sizeof earlier, 0), 0);
    expect_failure(ioctl(ends[0], SPI_IOC_RD_MODE32, &mode) == -1, EPROTO); // the answer is not among so many
    ASSERT_EQ(shutdown(ends[1], SHUT_WR), 0);
    expect_failure(ioctl(ends[0], SPI_IOC_RD_MODE32, &mode) == -1, ESHUTDOWN);
    close(ends[0]);
    close(ends[1]);
}

TEST_F(Seams, WhatDoesNotExistIsRefused)
{
    std::vector<ugpio *> handles(20); // more than are kept ready
    for (ugpio *&handle : handles)
        handle = ugpio_request(40, nullptr);
    expect_failure(!ugpio_request_named("cam_sofa"), ENOENT);
    expect_failure(ugpio_get_value(handles[0]) == -1, EBADF); // not opened
    for (ugpio *handle : handles) {
        EXPECT_EQ(ugpio_full_open(handle), 0);
        EXPECT_EQ(ugpio_get_value(handle), 1);
        ugpio_free(handle);
    }
    for (ugpio *line : {ugpio_request(-1, nullptr), ugpio_request_named(""), ugpio_request_one(40, 7, nullptr)})
        expect_failure(line == nullptr, EINVAL);
    for (const int result : {ugpio_get_value(nullptr), ugpio_full_open(nullptr), ugpio_set_edge(nullptr, 0),
                             ugpio_fd(nullptr), ugpio_close(nullptr)})
        expect_failure(result == -1, EINVAL);
    ugpio_free(nullptr);
    board.command("fault gpio-drive cam_reset");
    EXPECT_EQ(drive_line("cam_reset", true), -1);
    ugpio *line = ugpio_request_one(40, UGPIO_IN, nullptr);
    EXPECT_EQ(ugpio_full_open(line) + ugpio_full_open(line), 0);
    expect_failure(ugpio_fd(line) == -1, EINVAL); // without an edge
    EXPECT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    for (const std::string &path : {std::string(200, 'x'), std::string()}) { // no board there, and none at all
        const Environment other("PTZ_BOARD", path);
        EXPECT_EQ(ugpio_request(40, nullptr), nullptr);
        EXPECT_EQ(errno == ENAMETOOLONG, !path.empty());
        EXPECT_EQ(ugpio_get_value(line), 1); // a line that is held stays with its board
    }
    board.stop();
    expect_failure(ugpio_get_value(line) == -1, ENOENT); // and has the level of a board that is there
    ugpio_free(line);
}

TEST_F(Seams, AnEdgeIsPendingUntilTheLevelIsRead)
{
    ugpio *line = ugpio_request_named("imc_req");
    ASSERT_EQ(ugpio_full_open(line), 0);
    ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    const int fd = ugpio_fd(line);
    const auto expect_edge = [&](bool pending, int level) {
        pollfd entry{fd, POLLPRI, 0};
        EXPECT_EQ(poll(&entry, 1, pending ? 1000 : 0) == 1 && (entry.revents & POLLPRI) != 0, pending);
        EXPECT_EQ(ugpio_get_value(line), level);
    };
    expect_edge(true, 1); // from the start
    expect_edge(false, 1);
    status(); // falls and rises
    expect_edge(true, 1);
    board.command("fault drop-edge");
    status();
    expect_edge(false, 1);
    drive_line("cam_reset", false); // a falling edge is none
    expect_edge(false, 0);
    // The descriptor is the caller's: it outlives the handle.
    ugpio_free(line);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    close(fd);
}

} // namespace
