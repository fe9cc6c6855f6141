// Lines of the simulated board that $PTZ_BOARD names: one connection per process, made when it is first needed and
// again when it broke.
#include "ugpio/ugpio.h"
#include "ugpio/ugpio_backend.h"
#include "ugpio/ugpio_wire.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace ugpio_internal {
namespace {

using namespace ugpio_wire;

constexpr int kPeerTimeoutMs = 3'000;

// The result of the call, which is made again for as long as signals interrupt it.
template <typename Call>
auto uninterrupted(Call call)
{
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR)
            return result;
    }
}

// One message received, with the descriptor that came along in `passed` (-1 without one). 0, or -1 with errno; the peer
// gone is ESHUTDOWN.
int receive(int fd, void *data, std::size_t size, int &passed)
{
    passed = -1;
    pollfd entry{fd, POLLIN, 0};
    const int ready = uninterrupted([&] { return poll(&entry, 1, kPeerTimeoutMs); });
    if (ready <= 0)
        return ready == 0 ? fail(ETIMEDOUT) : -1;

    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))];
    iovec part{data, size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const ssize_t got = uninterrupted([&] { return recvmsg(fd, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC); });
    const cmsghdr *header = got >= 0 ? CMSG_FIRSTHDR(&message) : nullptr;
    if (header && header->cmsg_type == SCM_RIGHTS)
        std::memcpy(&passed, CMSG_DATA(header), sizeof passed);
    if (got == static_cast<ssize_t>(size))
        return 0;
    if (passed >= 0)
        close(passed);
    passed = -1;
    return fail(got == 0 ? ESHUTDOWN : got > 0 ? EPROTO : errno);
}

class Connection {
  public:
    // The connection's lock is held by the caller of every member.
    std::mutex mutex;

    // To the board of that folder: 0, or -1 with errno. Without a folder: to the one that the lines in use are of.
    int ensure(const char *board = nullptr)
    {
        if (fd_ >= 0 && (!board || std::strcmp(board_, board) == 0) && alive())
            return 0;
        drop();
        return connect_to(board ? board : board_);
    }

    // Whether it is made; it may have broken since ensure().
    bool connected() const { return fd_ >= 0; }
    const Hello &hello() const { return hello_; }
    int level(unsigned line) const { return page_->level[line].load(std::memory_order_acquire) ? 1 : 0; }
    bool asked(unsigned line) const { return page_->asked[line].load(std::memory_order_acquire) != 0; }

    // The board's answer, 0 or more (and a descriptor when one came along), or -1 with errno.
    int call(Op op, unsigned line, unsigned level, int *passed)
    {
        const Request request{++sequence_, op, line, level};
        if (uninterrupted([&] { return send(fd_, &request, sizeof request, MSG_NOSIGNAL); }) != sizeof request)
            return give_up();
        for (;;) {
            Reply reply{};
            int fd = -1;
            if (receive(fd_, &reply, sizeof reply, fd) != 0)
                return give_up();
            const bool mine = reply.sequence == request.sequence;
            if (fd >= 0 && (!mine || !passed))
                close(fd);
            if (!mine)
                continue;
            if (passed)
                *passed = fd;
            return reply.status < 0 ? fail(-reply.status) : reply.status;
        }
    }

  private:
    bool alive() const
    {
        char byte = 0;
        const ssize_t got = recv(fd_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
        return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
    }

    int give_up()
    {
        const int error = errno;
        drop();
        return fail(error);
    }

    void drop()
    {
        if (fd_ >= 0)
            close(fd_);
        if (page_)
            munmap(const_cast<LevelPage *>(page_), sizeof(LevelPage));
        fd_ = -1;
        page_ = nullptr;
    }

    int connect_to(const char *board)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        constexpr char kSocket[] = "/gpio";
        const std::size_t length = std::strlen(board);
        if (length + sizeof kSocket > sizeof address.sun_path)
            return fail(ENAMETOOLONG);
        std::memmove(board_, board, length + 1); // it may be this text itself
        std::memcpy(address.sun_path, board, length);
        std::memcpy(address.sun_path + length, kSocket, sizeof kSocket);
        fd_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (fd_ < 0)
            return -1;
        int page = -1;
        if (connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
            receive(fd_, &hello_, sizeof hello_, page) != 0)
            return give_up();
        void *memory = MAP_FAILED;
        if (page >= 0 && hello_.magic == kMagic && hello_.count <= kMaxLines)
            memory = mmap(nullptr, sizeof(LevelPage), PROT_READ, MAP_SHARED, page, 0);
        if (page >= 0)
            close(page);
        if (memory == MAP_FAILED) {
            errno = EPROTO;
            return give_up();
        }
        page_ = static_cast<const LevelPage *>(memory);
        return 0;
    }

    int fd_ = -1;
    const LevelPage *page_ = nullptr;
    Hello hello_{};
    std::uint32_t sequence_ = 0;
    char board_[sizeof sockaddr_un{}.sun_path] = {};
};

// Never destroyed: other libraries' threads may still read lines while the process ends.
Connection &connection()
{
    static auto &instance = *new Connection;
    return instance;
}

template <typename Match>
int find_line(const char *folder, Match match)
{
    Connection &board = connection();
    const std::lock_guard lock(board.mutex);
    if (board.ensure(folder) != 0)
        return -1;
    static unsigned last = 0; // most are asked for again and again
    const unsigned count = board.hello().count;
    unsigned i = last < count && match(board.hello().lines[last]) ? last : 0;
    while (i < count && !match(board.hello().lines[i]))
        ++i;
    if (i == count)
        return fail(ENOENT);
    last = i;
    const bool refused = board.asked(i) && board.call(Op::claim, i, 0, nullptr) < 0;
    return refused ? -1 : static_cast<int>(i);
}

int find_number(const char *folder, int number) noexcept
{
    return find_line(folder, [number](const LineInfo &line) { return line.number == number; });
}

int find_name(const char *folder, const char *name) noexcept
{
    return find_line(folder,
                     [name](const LineInfo &line) { return std::strncmp(line.name.data(), name, kNameSize) == 0; });
}

int knows_name(const char *folder, const char *name) noexcept
{
    Connection &board = connection();
    const std::lock_guard lock(board.mutex);
    if (board.ensure(folder) != 0)
        return -1;
    for (unsigned i = 0; i < board.hello().count; ++i) {
        if (std::strncmp(board.hello().lines[i].name.data(), name, kNameSize) == 0)
            return 1;
    }
    return 0;
}

int set_direction(int line, unsigned flags) noexcept
{
    Connection &board = connection();
    const std::lock_guard lock(board.mutex);
    if (flags == UGPIO_IN)
        return 0;
    if (board.ensure() != 0)
        return -1;
    return board.call(Op::drive, static_cast<unsigned>(line), flags == UGPIO_OUT_HIGH ? 1 : 0, nullptr);
}

int open_line(ugpio &) noexcept
{
    return 0;
}

int read_level(ugpio &handle) noexcept
{
    // The notification first: an edge between the two is then notified again rather than lost.
    char status = 0;
    if (handle.fd >= 0)
        while (uninterrupted([&] { return read(handle.fd, &status, 1); }) == 1) {
        }
    Connection &board = connection();
    const std::lock_guard lock(board.mutex);
    const bool is_there = std::exchange(handle.found_now, false) && board.connected();
    if (!is_there && board.ensure() != 0)
        return -1;
    const auto line = static_cast<unsigned>(handle.line);
    if (line >= board.hello().count)
        return fail(ENOENT);
    return board.asked(line) ? board.call(Op::read, line, 0, nullptr) : board.level(line);
}

int set_edge(ugpio &, unsigned) noexcept
{
    return 0;
}

int make_fd(ugpio &handle) noexcept
{
    if (handle.edge != UGPIO_EDGE_RISING)
        return fail(EINVAL);
    if (handle.fd < 0) {
        Connection &board = connection();
        const std::lock_guard lock(board.mutex);
        if (board.ensure() != 0 || board.call(Op::edge, static_cast<unsigned>(handle.line), 0, &handle.fd) != 0)
            return -1;
        if (handle.fd < 0)
            return fail(EPROTO);
    }
    return fcntl(handle.fd, F_DUPFD_CLOEXEC, 0);
}

} // namespace

const Backend kBoardBackend{find_number, find_name,  knows_name, set_direction,
                            open_line,   read_level, set_edge,   make_fd};

} // namespace ugpio_internal
