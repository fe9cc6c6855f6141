#include "ptzorvel/ptzd/bus_relay.h"

#include "glib_owned.h"

#include <gio/gio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <malloc.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr std::size_t kHeaderBytes = 16;               // tell how long a message is
constexpr std::size_t kRush = std::size_t{256} * 1024; // many calls
constexpr int kRestMs = 1000;
constexpr std::size_t kPart = std::size_t{64} * 1024; // taken at a time

template <typename Bytes>
void append(Bytes &to, const unsigned char *begin, std::size_t size)
{
    to.insert(to.end(), begin, begin + size);
}

// What has come, at most as much as there is room for; nothing when the other side has ended.
std::optional<std::span<const unsigned char>> take(int fd, std::span<unsigned char> room)
{
    const ssize_t got = ::recv(fd, room.data(), room.size(), MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR))
        return std::nullopt;
    return room.first(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

// Writes as much as goes now; false when the other side has ended.
bool give(int fd, std::vector<unsigned char> &bytes)
{
    const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0)
        return errno == EAGAIN || errno == EINTR;
    bytes.erase(bytes.begin(), bytes.begin() + sent);
    return true;
}

// Whether GDBus will be able to decode it: what the daemon carries can only be nested too deeply for that.
bool decodes(unsigned char *bytes, std::size_t size)
{
    static constexpr std::string_view kContainers = "av({";
    constexpr std::ptrdiff_t kMany = 48; // GDBus takes 64 within each other
    if (std::count_if(bytes, bytes + size, [](unsigned char byte) {
            return kContainers.find(static_cast<char>(byte)) != std::string_view::npos;
        }) < kMany)
        return true; // as nearly always
    GDBusMessage *message = g_dbus_message_new_from_blob(bytes, size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
    if (message == nullptr)
        return false;
    g_object_unref(message);
    return true;
}

} // namespace

BusRelay::Descriptor::~Descriptor()
{
    if (fd_ >= 0)
        ::close(fd_);
}

std::unique_ptr<BusRelay> BusRelay::create(std::string &problem)
{
    GErrorSlot error;
    const GText address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
    const GOwned<GIOStream, g_object_unref> stream(
        address != nullptr ? g_dbus_address_get_stream_sync(address.get(), nullptr, nullptr, error) : nullptr);
    if (stream == nullptr) {
        problem = error->message;
        return nullptr;
    }
    std::unique_ptr<BusRelay> relay(new BusRelay);
    relay->bus_.take(::dup(g_socket_get_fd(g_socket_connection_get_socket(G_SOCKET_CONNECTION(stream.get())))));
    if (!relay->listen(problem))
        return nullptr;
    relay->thread_ = std::thread([raw = relay.get()] { raw->run(); });
    return relay;
}

BusRelay::~BusRelay()
{
    // Wakes the thread wherever it waits.
    ::shutdown(listener_.get(), SHUT_RDWR);
    ::shutdown(bus_.get(), SHUT_RDWR);
    if (thread_.joinable())
        thread_.join();
}

bool BusRelay::listen(std::string &problem)
{
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    socklen_t size = sizeof(sa_family_t); // the kernel finds a free name, outside every folder
    listener_.take(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    auto *generic = reinterpret_cast<sockaddr *>(&name);
    if (bus_.get() < 0 || listener_.get() < 0 || ::bind(listener_.get(), generic, size) != 0 ||
        ::listen(listener_.get(), 1) != 0) {
        problem = std::strerror(errno);
        return false;
    }
    size = sizeof name;
    ::getsockname(listener_.get(), generic, &size);
    const std::size_t length = size - offsetof(sockaddr_un, sun_path) - 1;
    address_ = "unix:abstract=" + std::string(name.sun_path + 1, length);
    return true;
}

bool BusRelay::accept_own()
{
    for (;;) {
        const int fd = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0 && errno != EINTR)
            return false;
        ucred peer{};
        socklen_t size = sizeof peer;
        const bool known = fd >= 0 && ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
        if (known && peer.pid == ::getpid()) {
            gdbus_.take(fd);
            return true;
        }
        if (fd >= 0)
            ::close(fd);
    }
}

void BusRelay::run()
{
    const bool accepted = accept_own();
    if (!accepted) {
        if (errno != EINVAL) // which is said of a listener that was shut down
            syslog(LOG_ERR, "The way to the bus cannot be made: %s", std::strerror(errno));
        // Closes the listener, as who waits to be accepted hears of nothing less; its number stays taken for the end.
        ::dup2(bus_.get(), listener_.get());
        return;
    }
    ::shutdown(listener_.get(), SHUT_RDWR); // who comes later is refused, and does not wait
    while (carry()) {
    }
    // Both sides learn that it is over.
    ::shutdown(gdbus_.get(), SHUT_RDWR);
    ::shutdown(bus_.get(), SHUT_RDWR);
}

bool BusRelay::carry()
{
    // Nothing more is taken for a side that has not taken what there is.
    const auto events = [](bool in, bool out) { return static_cast<short>((in ? POLLIN : 0) | (out ? POLLOUT : 0)); };
    pollfd sides[] = {{gdbus_.get(), events(to_bus_.empty(), !to_gdbus_.empty()), 0},
                      {bus_.get(), events(to_gdbus_.empty(), !to_bus_.empty()), 0}};
    const int ready = ::poll(sides, 2, carried_ > kRush ? kRestMs : -1);
    if (ready < 0)
        return errno == EINTR;
    if (ready == 0) {
        carried_ = 0;
        ::malloc_trim(0); // what a rush of calls has left behind
        return true;
    }
    std::array<unsigned char, kPart> room; // the heap's would be cleared and given back for every message
    if ((sides[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && to_bus_.empty()) {
        const auto part = take(gdbus_.get(), room);
        if (!part)
            return false;
        if (begun_)
            to_bus_.assign(part->begin(), part->end());
        else
            say_hello({reinterpret_cast<const char *>(part->data()), part->size()});
    }
    if ((sides[1].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && to_gdbus_.empty()) {
        const auto part = take(bus_.get(), room);
        if (!part)
            return false;
        carried_ += part->size();
        if (begun_)
            let_through(*part);
        else
            to_gdbus_.assign(part->begin(), part->end());
    }
    return (to_bus_.empty() || give(bus_.get(), to_bus_)) && (to_gdbus_.empty() || give(gdbus_.get(), to_gdbus_));
}

void BusRelay::say_hello(std::string_view text)
{
    static constexpr std::string_view kNoDescriptors = "ERROR\r\n";
    greeting_ += text;
    for (std::size_t end = 0; !begun_ && (end = greeting_.find("\r\n")) != std::string::npos;) {
        const std::string line = greeting_.substr(0, end + 2);
        greeting_.erase(0, end + 2);
        begun_ = line == "BEGIN\r\n";
        const bool descriptors = line == "NEGOTIATE_UNIX_FD\r\n";
        Bytes &to = descriptors ? to_gdbus_ : to_bus_;
        const std::string_view said = descriptors ? kNoDescriptors : std::string_view(line);
        to.insert(to.end(), said.begin(), said.end());
    }
    if (begun_) // what follows are messages already
        to_bus_.insert(to_bus_.end(), greeting_.begin(), greeting_.end());
}

void BusRelay::let_through(std::span<const unsigned char> part)
{
    std::size_t at = std::min(skip_, part.size());
    skip_ -= at;
    append(message_, part.data() + at, part.size() - at);
    for (at = 0; message_.size() - at >= kHeaderBytes;) {
        unsigned char *begin = message_.data() + at;
        const std::size_t left = message_.size() - at;
        const gssize needed = g_dbus_message_bytes_needed(begin, left, nullptr);
        const std::size_t size = needed > 0 ? static_cast<std::size_t>(needed) : left;
        if (size > kLongestMessage) {
            skip_ = size - std::min(size, left);
            at += std::min(size, left);
            continue;
        }
        if (size > left)
            break;
        if (decodes(begin, size))
            append(to_gdbus_, begin, size);
        at += size;
    }
    message_.erase(message_.begin(), message_.begin() + static_cast<std::ptrdiff_t>(at));
}
