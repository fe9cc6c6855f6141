// Loaded ahead of ptzd's libraries: notes into the file BURST_TIMES when it gives each burst to the simulated link, as
// 64-bit numbers of microseconds, negative for one that carries something. The simulator's own trace would delay its
// answers.
#include "spidev/wire.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void note(const msghdr &message)
{
    static const int file = open(std::getenv("BURST_TIMES"), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    spidev_wire::Request request{};
    if (message.msg_iovlen != 2 || message.msg_iov[0].iov_len != sizeof request)
        return;
    std::memcpy(&request, message.msg_iov[0].iov_base, sizeof request);
    if (request.op != spidev_wire::Op::transfer)
        return;
    std::uint16_t length = 0; // of what the frame carries
    std::memcpy(&length, message.msg_iov[1].iov_base, sizeof length);
    const std::int64_t time = request.sent_ns / 1000 * (length == 0 ? 1 : -1);
    if (write(file, &time, sizeof time) != sizeof time)
        std::abort();
}

} // namespace

extern "C" [[gnu::visibility("default")]] ssize_t sendmsg(int fd, const msghdr *message, int flags)
{
    static const auto next = reinterpret_cast<decltype(&sendmsg)>(dlsym(RTLD_NEXT, "sendmsg"));
    note(*message);
    return next(fd, message, flags);
}
