#include "ptzorvel/ptzd/service_manager.h"

#include "ptzorvel/ptz_driver.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::uint64_t kUsualPatienceUs = 60'000'000; // where the manager has no watchdog
constexpr std::uint64_t kLongestPauseUs = 5'000'000;   // between two looks

// The number in a variable of the environment; 0: none.
std::uint64_t number_in(const char *variable)
{
    const char *value = std::getenv(variable);
    const std::string_view text = value != nullptr ? value : "";
    std::uint64_t number = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc() && end == text.data() + text.size() ? number : 0;
}

std::uint64_t watchdog_us()
{
    const std::uint64_t us = number_in("WATCHDOG_USEC");
    const bool other =
        std::getenv("WATCHDOG_PID") != nullptr && number_in("WATCHDOG_PID") != static_cast<std::uint64_t>(::getpid());
    return us != 0 && !other ? us : kUsualPatienceUs;
}

// Lines for the manager, which nobody misses where there is none. Its own library has them too, and brings a megabyte
// of others along for what systemd's journal needs.
void notify(const std::string &lines)
{
    const char *path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    const std::size_t length = path != nullptr ? std::strlen(path) : 0;
    if (length < 2 || length >= sizeof address.sun_path || (path[0] != '/' && path[0] != '@'))
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length);
    if (path[0] == '@') // a name outside every folder
        address.sun_path[0] = '\0';
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return;
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
    ::sendto(fd, lines.data(), lines.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr *>(&address), size);
    ::close(fd);
}

} // namespace

ServiceManager::ServiceManager(TaskQueue &queue, DriverHost &host, const Deadlines &deadlines)
    : queue_(queue), host_(host), deadlines_(deadlines), patience_us_(watchdog_us()),
      timer_(static_cast<double>(std::min<std::uint64_t>(patience_us_ / 4, kLongestPauseUs)), [this] { return look(); })
{
    if (g_getenv("NOTIFY_SOCKET") != nullptr)
        timer_.start();
}

void ServiceManager::state_changed(int state, const char *words)
{
    const bool starts =
        state == PTZ_STATE_NOT_OPENED || state == PTZ_STATE_INITIALISING || state == PTZ_STATE_UPGRADING;
    const bool becomes_ready = !starts && !ready_.exchange(true);
    notify((becomes_ready ? "READY=1\nSTATUS=Camera: " : "STATUS=Camera: ") + std::string(words));
}

void ServiceManager::end()
{
    notify("STOPPING=1");
}

bool ServiceManager::look()
{
    const unsigned waits = host_.waits();
    const bool waited = std::exchange(waits_, waits) != waits;
    const bool came_round = came_round_.exchange(false);
    if (came_round)
        queue_.post([this] { came_round_ = true; }, TaskQueue::Lane::urgent);
    else if (!waited)
        return true;
    std::string text = "WATCHDOG=1";
    if (!ready_ || deadlines_.waits_for_upgrade())
        text += "\nEXTEND_TIMEOUT_USEC=" + std::to_string(patience_us_);
    notify(text);
    return true;
}
