// Edges of a line that was taken from its character device, as exceptionally ready descriptors.
#include "ugpio/ugpio_backend.h"
#include "ugpio/ugpio_kernel.h"

#include <csignal>
#include <fcntl.h>
#include <linux/gpio.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>

namespace ugpio_internal {
namespace {

// Makes the master exceptionally ready until it is read.
void raise(const OwnedFd &slave)
{
    tcflush(slave.get(), TCIFLUSH);
}

// Whether the master and all its duplicates are closed.
bool is_hung_up(const OwnedFd &slave)
{
    pollfd entry{slave.get(), 0, 0};
    return poll(&entry, 1, 0) > 0;
}

} // namespace

std::unique_ptr<EdgeWatcher> EdgeWatcher::start(int line)
{
    OwnedFd stop(eventfd(0, EFD_CLOEXEC));
    if (!stop)
        return nullptr;
    std::unique_ptr<EdgeWatcher> watcher(new EdgeWatcher(line, std::move(stop)));
    try {
        watcher->thread_ = std::thread([raw = watcher.get()] { raw->run(); });
    } catch (const std::system_error &error) {
        errno = error.code().value();
        return nullptr;
    }
    return watcher;
}

EdgeWatcher::~EdgeWatcher()
{
    eventfd_write(stop_.get(), 1);
    if (thread_.joinable())
        thread_.join();
}

OwnedFd EdgeWatcher::add()
{
    OwnedFd master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    int unlock = 0, packets = 1;
    if (!master || ioctl(master.get(), TIOCSPTLCK, &unlock) != 0 || ioctl(master.get(), TIOCPKT, &packets) != 0)
        return OwnedFd();
    OwnedFd slave(ioctl(master.get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!slave)
        return OwnedFd();
    const std::lock_guard lock(mutex_);
    std::erase_if(slaves_, is_hung_up);
    raise(slave);
    slaves_.push_back(std::move(slave));
    return master;
}

void EdgeWatcher::run()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr); // they are the host's
    for (;;) {
        pollfd entries[] = {{line_, POLLIN, 0}, {stop_.get(), POLLIN, 0}};
        if (poll(entries, 2, -1) < 0 && errno != EINTR)
            return;
        if (entries[1].revents != 0)
            return;
        gpio_v2_line_event events[16];
        // Without POLLIN the chip has gone.
        if (entries[0].revents != 0 && ((entries[0].revents & POLLIN) == 0 || read(line_, events, sizeof events) <= 0))
            return;
        if (entries[0].revents != 0)
            raise_all();
    }
}

void EdgeWatcher::raise_all()
{
    const std::lock_guard lock(mutex_);
    for (const OwnedFd &slave : slaves_)
        raise(slave);
}

} // namespace ugpio_internal
