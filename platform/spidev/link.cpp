// The far side of the seam: a connection to a simulated board in the place of an spidev node.
#include "spidev/seam.h"

#include "spidev/wire.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <linux/spi/spidev.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using spidev_wire::Op;
using spidev_wire::Reply;
using spidev_wire::Request;

// How long an answer may be overdue, and how long a call lasts at most.
constexpr std::int64_t kPeerTimeoutNs = 10'000'000'000;
// So many answers to earlier requests may come ahead of one; more are no answers.
constexpr int kMostLate = 64;
constexpr std::int32_t kLastErrno = 4095; // as the kernel has it
// A board that is awake answers within some 20 us: asking again and again is far quicker then than being woken up, but
// not for long, as it may be waiting for this very processor. One that was not asked for longer than kAwakeNs is
// asleep, and its answer is slept for, too.
constexpr std::int64_t kSpinNs = 30'000;
constexpr std::int64_t kAwakeNs = 1'000'000;
// Waking up takes this long at least and at most.
constexpr std::int64_t kShortestWakeNs = 20'000, kLongestWakeNs = 500'000;

// When a board has answered last, and how long waking up takes at present.
std::atomic<std::int64_t> answered_ns{0};
std::atomic<std::int64_t> wake_ns{kLongestWakeNs};

int fail(int error)
{
    errno = error;
    return -1;
}

std::int64_t monotonic_ns()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

timespec timespec_of(std::int64_t ns)
{
    timespec time{}; // whose fields are narrower than this on 32-bit machines
    time.tv_sec = static_cast<decltype(time.tv_sec)>(ns / 1'000'000'000);
    time.tv_nsec = static_cast<decltype(time.tv_nsec)>(ns % 1'000'000'000);
    return time;
}

bool is_board(int fd)
{
    int type = 0;
    socklen_t size = sizeof type;
    return getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET;
}

int connect_board(const char *path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t length = std::strlen(path);
    if (length >= sizeof address.sun_path)
        return fail(ENAMETOOLONG);
    std::memcpy(address.sun_path, path, length);
    const int fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0)
        return -1;
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const int error = errno;
        close(fd);
        return fail(error);
    }
    return fd;
}

// 0 once the descriptor is ready for `events` or has hung up, -1 with errno after an error or that time (ETIMEDOUT).
int wait_ready(int fd, short events, std::int64_t timeout_ns)
{
    pollfd entry{fd, events, 0};
    const timespec timeout = timespec_of(timeout_ns);
    int ready = 0;
    do {
        ready = ppoll(&entry, 1, &timeout, nullptr);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0)
        return fail(ETIMEDOUT);
    return ready < 0 ? -1 : 0;
}

// Lets time pass until the answer may be there: 0, or -1 with errno when it will not come any more.
int await_answer(int fd, const Request &request)
{
    const bool awake = request.sent_ns < answered_ns.load(std::memory_order_relaxed) + kAwakeNs;
    return awake && monotonic_ns() < request.sent_ns + kSpinNs ? 0 : wait_ready(fd, POLLIN, kPeerTimeoutNs);
}

// Returns at `end`, on CLOCK_MONOTONIC: asleep until so long before it as waking up takes. What that is follows the
// machine, up at once and down slowly.
void wait_until(std::int64_t end)
{
    const std::int64_t expected = wake_ns.load(std::memory_order_relaxed);
    const std::int64_t wake = end - expected;
    const timespec until = timespec_of(wake);
    std::int64_t now = monotonic_ns();
    const bool sleeps = now < wake;
    while (now < wake) {
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
        now = monotonic_ns();
    }
    if (sleeps)
        wake_ns.store(std::clamp(std::max(now - wake, expected - expected / 16), kShortestWakeNs, kLongestWakeNs),
                      std::memory_order_relaxed);
    while (monotonic_ns() < end) {
    }
}

int send_request(int fd, const Request &request, const void *data)
{
    std::array<iovec, 2> parts{
        {{const_cast<Request *>(&request), sizeof request}, {const_cast<void *>(data), data ? request.length : 0}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    for (;;) {
        if (sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0)
            return 0;
        if (errno == EAGAIN) {
            if (wait_ready(fd, POLLOUT, kPeerTimeoutNs) != 0)
                return -1;
        } else if (errno != EINTR) {
            return -1;
        }
    }
}

// Whether a board can have said that of this request.
bool is_answer(const Request &request, const Reply &reply)
{
    return reply.status >= -kLastErrno && reply.status <= static_cast<std::int32_t>(request.length) &&
           reply.busy_ns <= kPeerTimeoutNs;
}

// Receives the answer to a request; answers to earlier ones that timed out are dropped. The data part goes to `data`
// when that is given.
int receive_reply(int fd, const Request &request, Reply &reply, void *data)
{
    std::array<iovec, 2> parts{{{&reply, sizeof reply}, {data, data ? request.length : 0}}};
    for (int late = 0; late <= kMostLate;) {
        msghdr message{};
        message.msg_iov = parts.data();
        message.msg_iovlen = parts.size();
        const ssize_t got = recvmsg(fd, &message, MSG_DONTWAIT);
        if (got == 0 || (got < 0 && errno == ECONNRESET))
            return fail(ESHUTDOWN);
        if (got > 0 && static_cast<std::size_t>(got) < sizeof reply)
            return fail(EPROTO);
        if (got > 0 && reply.sequence == request.sequence)
            return is_answer(request, reply) ? 0 : fail(EPROTO);
        if (got > 0)
            late++;
        else if ((errno != EAGAIN && errno != EINTR) || await_answer(fd, request) != 0)
            return -1;
    }
    return fail(EPROTO);
}

int exchange(int fd, Request request, const void *tx, void *rx, std::uint32_t *value)
{
    static std::atomic<std::uint32_t> next_sequence{1};
    request.sequence = next_sequence.fetch_add(1, std::memory_order_relaxed);
    request.sent_ns = monotonic_ns();
    Reply reply{};
    if (send_request(fd, request, tx) != 0)
        return -1;
    if (receive_reply(fd, request, reply, rx) != 0)
        return -1;
    answered_ns.store(monotonic_ns(), std::memory_order_relaxed);
    if (reply.busy_ns > 0)
        wait_until(request.sent_ns + reply.busy_ns); // a board whose wire takes its time
    if (reply.status < 0)
        return fail(-reply.status);
    if (value)
        *value = reply.value;
    return reply.status;
}

int transfer(int fd, const spi_ioc_transfer &spi)
{
    static constexpr std::array<std::uint8_t, spidev_wire::kMaxTransfer> kZeros{};
    if (spi.len > spidev_wire::kMaxTransfer)
        return fail(EMSGSIZE);
    Request request{};
    request.op = Op::transfer;
    request.length = spi.len;
    request.speed_hz = spi.speed_hz;
    request.delay_usecs = spi.delay_usecs;
    request.bits_per_word = spi.bits_per_word;
    request.cs_change = spi.cs_change;
    request.tx_nbits = spi.tx_nbits;
    request.rx_nbits = spi.rx_nbits;
    request.word_delay_usecs = spi.word_delay_usecs;
    const void *tx = spi.tx_buf ? reinterpret_cast<const void *>(spi.tx_buf) : kZeros.data();
    return exchange(fd, request, tx, reinterpret_cast<void *>(spi.rx_buf), nullptr);
}

int set_value(int fd, Op op, std::uint32_t value)
{
    Request request{};
    request.op = op;
    request.value = value;
    return exchange(fd, request, nullptr, nullptr, nullptr);
}

template <typename T>
int get_value(int fd, Op op, void *arg)
{
    Request request{};
    request.op = op;
    std::uint32_t value = 0;
    const int result = exchange(fd, request, nullptr, nullptr, &value);
    if (result >= 0)
        *static_cast<T *>(arg) = static_cast<T>(value);
    return result;
}

int board_ioctl(int fd, unsigned long request, void *arg)
{
    switch (request) {
    case SPI_IOC_WR_MODE32:
        return set_value(fd, Op::set_mode, *static_cast<std::uint32_t *>(arg));
    case SPI_IOC_RD_MODE32:
        return get_value<std::uint32_t>(fd, Op::get_mode, arg);
    case SPI_IOC_WR_BITS_PER_WORD:
        return set_value(fd, Op::set_bits, *static_cast<std::uint8_t *>(arg));
    case SPI_IOC_RD_BITS_PER_WORD:
        return get_value<std::uint8_t>(fd, Op::get_bits, arg);
    case SPI_IOC_WR_MAX_SPEED_HZ:
        return set_value(fd, Op::set_speed, *static_cast<std::uint32_t *>(arg));
    case SPI_IOC_RD_MAX_SPEED_HZ:
        return get_value<std::uint32_t>(fd, Op::get_speed, arg);
    case SPI_IOC_MESSAGE(1):
        return transfer(fd, *static_cast<const spi_ioc_transfer *>(arg));
    default:
        return fail(ENOTTY);
    }
}

} // namespace

bool spidev_seam_open(const char *path, int, int *fd)
{
    struct stat info {};
    if (path == nullptr || stat(path, &info) != 0 || !S_ISSOCK(info.st_mode))
        return false;
    *fd = connect_board(path);
    return true;
}

bool spidev_seam_ioctl(int fd, unsigned long request, void *arg, int *result)
{
    if (!is_board(fd))
        return false;
    *result = arg != nullptr ? board_ioctl(fd, request, arg) : fail(EFAULT);
    return true;
}
