// Joins the far side of the kernel module camera_board to a simulated board, of which it is a host like any other: what
// the kernel asks goes there, rising edges come back. One thread; prints "ready".
//   PTZ_BOARD=FOLDER bridge
#include "ugpio/ugpio.h"
extern "C" {
#include "module/far_side.h"
}

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr unsigned kFirstNumber = 32; // the simulated board's number of the chip's line 0
constexpr std::size_t kMost = 65536;  // bytes of a transfer

struct Line {
    unsigned offset;
    ugpio *handle = nullptr;
    int edges = -1;
};
std::array<Line, 9> lines{{{5}, {8}, {9}, {10}, {11}, {12}, {13}, {14}, {15}}};

struct Port {
    int fd = -1;
    std::uint32_t mode = 0;
};
std::array<Port, 2> ports;
int far_side = -1;

[[noreturn]] void die(const std::string &what)
{
    std::fprintf(stderr, "bridge: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

void answer(const far_question &question, int value, const std::uint8_t *data, std::size_t size)
{
    static std::array<std::uint8_t, sizeof(far_answer) + kMost> bytes;
    const far_answer head{question.kind, question.sequence, 0, value};
    std::memcpy(bytes.data(), &head, sizeof head);
    if (size > 0)
        std::memcpy(bytes.data() + sizeof head, data, size);
    if (write(far_side, bytes.data(), sizeof head + size) < 0)
        die("an answer");
}

void tell_edge(const Line &line)
{
    const far_answer news{FAR_ROSE, 0, line.offset, 1};
    ugpio_get_value(line.handle); // takes the notification back
    if (write(far_side, &news, sizeof news) < 0)
        die("an edge");
}

int number_of(const far_question &question)
{
    return static_cast<int>(kFirstNumber + question.line);
}

// Through a handle of its own: what the edges are told through keeps its notification.
int look(const far_question &question)
{
    ugpio *const line = ugpio_request(number_of(question), "bridge");
    const int level = ugpio_full_open(line) < 0 ? 0 : ugpio_get_value(line);
    ugpio_free(line);
    return level;
}

int drive(const far_question &question)
{
    const unsigned level = question.value ? UGPIO_OUT_HIGH : UGPIO_OUT_LOW;
    ugpio *const line = ugpio_request_one(number_of(question), level, "bridge");
    const int status = line ? 0 : -errno;
    ugpio_free(line);
    return status;
}

void pass_transfer(const far_question &question, const std::uint8_t *out)
{
    static std::array<std::uint8_t, kMost> in;
    Port &port = ports[question.line & 1];
    std::uint32_t mode = question.mode;
    if (mode != port.mode && ioctl(port.fd, SPI_IOC_WR_MODE32, &mode) >= 0)
        port.mode = mode;
    spi_ioc_transfer transfer{};
    transfer.tx_buf = reinterpret_cast<std::uintptr_t>(out);
    transfer.rx_buf = reinterpret_cast<std::uintptr_t>(in.data());
    transfer.len = question.value;
    transfer.speed_hz = question.speed_hz;
    transfer.delay_usecs = question.delay_usecs;
    transfer.bits_per_word = question.bits_per_word;
    transfer.cs_change = question.cs_change;
    // The kernel puts 1 (single) where the host left 0.
    transfer.tx_nbits = question.tx_nbits == 1 ? 0 : question.tx_nbits;
    transfer.rx_nbits = question.rx_nbits == 1 ? 0 : question.rx_nbits;
    const int got = ioctl(port.fd, SPI_IOC_MESSAGE(1), &transfer);
    const int status = got < 0 ? -errno : 0;
    answer(question, status, in.data(), status == 0 ? question.value : 0);
}

void serve()
{
    alignas(far_question) static std::array<std::uint8_t, sizeof(far_question) + kMost> bytes;
    std::array<pollfd, 1 + lines.size()> watched{{{far_side, POLLIN, 0}}};
    for (std::size_t i = 0; i < lines.size(); ++i)
        watched[1 + i] = {lines[i].edges, POLLPRI, 0};
    for (;;) {
        if (poll(watched.data(), watched.size(), -1) < 0)
            die("poll");
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (watched[1 + i].revents != 0)
                tell_edge(lines[i]);
        }
        if (watched[0].revents == 0 || read(far_side, bytes.data(), bytes.size()) < 0)
            continue;
        far_question question{};
        std::memcpy(&question, bytes.data(), sizeof question);
        if (question.kind == FAR_TRANSFER)
            pass_transfer(question, bytes.data() + sizeof question);
        else
            answer(question, question.kind == FAR_DRIVE ? drive(question) : look(question), nullptr, 0);
    }
}

} // namespace

int main()
{
    const char *board = std::getenv("PTZ_BOARD");
    far_side = open("/dev/camera_board", O_RDWR | O_CLOEXEC);
    if (far_side < 0 || !board)
        die("/dev/camera_board");
    for (Line &line : lines) {
        line.handle = ugpio_request(static_cast<int>(kFirstNumber + line.offset), "bridge");
        if (ugpio_full_open(line.handle) < 0 || ugpio_set_edge(line.handle, UGPIO_EDGE_RISING) < 0 ||
            (line.edges = ugpio_fd(line.handle)) < 0)
            die("a line of " + std::string(board));
    }
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ports[i].fd = open((board + std::string("/spi") + std::to_string(i)).c_str(), O_RDWR | O_CLOEXEC);
        if (ports[i].fd < 0)
            die("a port of " + std::string(board));
    }
    std::puts("ready");
    std::fflush(stdout);
    serve();
}
