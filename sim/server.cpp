#include "sim/server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <sys/un.h>

namespace sim {
namespace {

// Sends one message, with a descriptor when `passed` is one. A host that does not take it is not waited for.
bool send_message(int fd, const void *data, std::size_t size, int passed)
{
    iovec part{const_cast<void *>(data), size};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    if (passed >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        cmsghdr *header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(header), &passed, sizeof passed);
    }
    return sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT) == static_cast<ssize_t>(size);
}

} // namespace

bool Server::watch(int fd, Source source)
{
    epoll_event event{};
    // The hang-up that ends an edge descriptor is always reported.
    event.events = source.kind == Kind::edge ? 0u : static_cast<std::uint32_t>(EPOLLIN);
    event.data.fd = fd;
    if (epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0)
        return false;
    sources_.insert_or_assign(fd, std::move(source));
    return true;
}

std::optional<std::string> Server::listen_on(const std::string &path, Kind kind, unsigned port)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    Fd fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd || bind(fd.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(fd.get(), 16) != 0)
        return "Cannot listen on " + path + ": " + std::strerror(errno);
    const int number = fd.get();
    watch(number, {kind, port, std::move(fd)});
    return std::nullopt;
}

std::optional<std::string> Server::open(const std::string &gpio_path, const std::string &spi0_path,
                                        const std::string &spi1_path)
{
    epoll_ = Fd(epoll_create1(EPOLL_CLOEXEC));
    Fd timer(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    Fd waker(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC));
    timer_ = timer.get();
    waker_ = waker.get();
    if (!epoll_ || !watch(timer_, {Kind::timer, 0, std::move(timer)}) ||
        !watch(waker_, {Kind::waker, 0, std::move(waker)}))
        return std::string("Cannot watch the sockets: ") + std::strerror(errno);
    if (auto problem = listen_on(gpio_path, Kind::gpio_listener, 0))
        return problem;
    if (auto problem = listen_on(spi0_path, Kind::spi_listener, 0))
        return problem;
    return listen_on(spi1_path, Kind::spi_listener, 1);
}

void Server::run()
{
    stop_ = false;
    set_timer();
    while (!stop_) {
        std::array<epoll_event, 16> events{};
        const int count = epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), -1);
        for (int i = 0; i < count; ++i)
            serve(events[static_cast<std::size_t>(i)].data.fd);
        set_timer();
    }
}

void Server::stop()
{
    const std::uint64_t stop = std::uint64_t{1} << 32;
    [[maybe_unused]] const ssize_t written = write(waker_, &stop, sizeof stop);
}

void Server::wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(waker_, &one, sizeof one);
}

void Server::set_timer()
{
    const std::optional<std::int64_t> wait = requests_.idle();
    itimerspec when{};
    if (wait) {
        const std::int64_t ns = *wait > 0 ? *wait : 1;
        // The fields are narrower on 32-bit machines.
        when.it_value.tv_sec = static_cast<decltype(when.it_value.tv_sec)>(ns / 1'000'000'000);
        when.it_value.tv_nsec = static_cast<decltype(when.it_value.tv_nsec)>(ns % 1'000'000'000);
    }
    timerfd_settime(timer_, 0, &when, nullptr);
}

void Server::serve(int fd)
{
    const auto found = sources_.find(fd);
    if (found == sources_.end())
        return;
    const Source &source = found->second;
    std::uint64_t count = 0;
    switch (source.kind) {
    case Kind::gpio_listener:
    case Kind::spi_listener:
        accept_host(fd, source);
        break;
    case Kind::gpio:
        if (!serve_gpio(fd))
            forget(fd);
        break;
    case Kind::spi:
        if (!serve_spi(fd, source.port))
            forget(fd);
        break;
    case Kind::edge:
        forget(fd);
        requests_.close_edge(fd);
        break;
    case Kind::timer:
    case Kind::waker:
        if (read(fd, &count, sizeof count) == sizeof count && source.kind == Kind::waker && count >> 32 != 0)
            stop_ = true;
        break;
    }
}

void Server::forget(int fd)
{
    epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr);
    sources_.erase(fd);
}

void Server::accept_host(int listener, const Source &source)
{
    Fd fd(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!fd)
        return;
    const int number = fd.get();
    const bool gpio = source.kind == Kind::gpio_listener;
    if (gpio) {
        const ugpio_wire::Hello hello = requests_.hello();
        if (!send_message(number, &hello, sizeof hello, requests_.lines_page()))
            return;
    }
    watch(number, {gpio ? Kind::gpio : Kind::spi, source.port, std::move(fd)});
}

bool Server::serve_gpio(int fd)
{
    ugpio_wire::Request request{};
    const ssize_t got = recv(fd, &request, sizeof request, 0);
    if (got != sizeof request)
        return got < 0 && errno == EAGAIN;
    ugpio_wire::Reply reply{request.sequence, 0};
    Fd edge;
    int slave = -1;
    switch (request.op) {
    case ugpio_wire::Op::drive:
        reply.status = requests_.drive(request.line, request.level != 0);
        break;
    case ugpio_wire::Op::claim:
        reply.status = requests_.claim(request.line);
        break;
    case ugpio_wire::Op::read:
        reply.status = requests_.read(request.line);
        break;
    case ugpio_wire::Op::edge:
        edge = requests_.open_edge(request.line, slave);
        if (edge)
            watch(slave, {Kind::edge, 0, Fd()});
        else
            reply.status = -EIO;
        break;
    default:
        return false;
    }
    return send_message(fd, &reply, sizeof reply, edge.get());
}

bool Server::serve_spi(int fd, unsigned port)
{
    spidev_wire::Request request{};
    std::array<iovec, 2> parts{{{&request, sizeof request}, {host_bytes_.data(), host_bytes_.size()}}};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = parts.size();
    const ssize_t got = recvmsg(fd, &message, 0);
    if (got < 0)
        return errno == EAGAIN || errno == EINTR;
    const std::size_t data = request.op == spidev_wire::Op::transfer ? request.length : 0;
    if (data > host_bytes_.size() || static_cast<std::size_t>(got) != sizeof request + data)
        return false;

    spidev_wire::Reply reply{request.sequence, 0, 0, static_cast<std::uint32_t>(data), 0};
    if (request.op == spidev_wire::Op::transfer) {
        const Requests::Transferred done =
            requests_.transfer(port, request, devices_[port].mode, std::span(host_bytes_).first(data),
                               std::span(answer_bytes_).first(data));
        reply.status = done.status;
        reply.busy_ns = done.busy_ns;
    } else {
        answer_spi(port, request, reply);
    }
    parts = {{{&reply, sizeof reply}, {answer_bytes_.data(), data}}};
    return sendmsg(fd, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
}

void Server::answer_spi(unsigned port, const spidev_wire::Request &request, spidev_wire::Reply &reply)
{
    using spidev_wire::Op;
    SpiDevice &device = devices_[port];
    reply.status = requests_.set_up();
    if (reply.status < 0)
        return;
    switch (request.op) {
    case Op::set_mode:
        device.mode = request.value;
        break;
    case Op::get_mode:
        reply.value = device.mode;
        break;
    case Op::set_bits:
        device.bits = request.value;
        break;
    case Op::get_bits:
        reply.value = device.bits;
        break;
    case Op::set_speed:
        if (request.value == 0)
            reply.status = -EINVAL;
        else
            device.speed_hz = request.value;
        break;
    case Op::get_speed:
        reply.value = device.speed_hz;
        break;
    default:
        reply.status = -ENOTTY;
    }
}

} // namespace sim
