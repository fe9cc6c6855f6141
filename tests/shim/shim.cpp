// Loaded into ptzd ahead of the C library, it lets one call of one place fail, as the test says in the shared page.
//
// Whose calls count: all of our own code, and those of others that are about regular files. The rest of GLib is left
// out: it ends the process by itself where its wake-up descriptors or its own poll() fail. An spidev ioctl is no call
// of the C library on a simulated board but sendmsg(), ppoll() and recvmsg() of ptzd's seam, and its open() is socket()
// and connect(): those count, and fail the ioctl or the open in turn. dirent's functions and the loader call inside the
// C library, past every shim. An error is one that the call can have: only what waits or writes is interrupted (no
// regular file makes its open() wait), only what makes a descriptor runs out of them, only what makes a file grow out
// of room, poll() out of memory.
#include "tests/shim/page.h"
#include "tests/support/shared_page.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Call {
    const char *name;
    const void *from;
    std::array<int, 4> errors;
};

struct Caller {
    std::atomic<const void *> address;
    bool own;
    std::uint32_t site;
};

constexpr int kNoDescriptor = -1, kNeverCounts = -2;

shim::Page *page = nullptr;
std::string_view root;   // of the build: what lies there is ours
std::string_view folder; // of the board
std::mutex mutex;        // over new places
std::array<Caller, 512> callers;

std::uint32_t site_named(const std::string &name, const Call &call)
{
    std::uint32_t site = 0;
    while (site < page->used && name != page->sites[site].name.data())
        ++site;
    if (site == page->used) {
        name.copy(page->sites.at(site).name.data(), page->sites[site].name.size() - 1);
        page->sites[site].errors = call.errors;
        ++page->used;
    }
    return site;
}

const Caller &caller_of(const Call &call)
{
    for (Caller &caller : callers) {
        if (caller.address == nullptr) {
            const std::lock_guard lock(mutex);
            Dl_info about{};
            if (caller.address == nullptr && dladdr(call.from, &about) != 0) {
                const std::string_view file = about.dli_fname;
                const auto offset = static_cast<const char *>(call.from) - static_cast<const char *>(about.dli_fbase);
                char name[64];
                std::snprintf(name, sizeof name, "%s %.30s+0x%tx", call.name, about.dli_fname + file.rfind('/') + 1,
                              offset);
                caller.own = file.starts_with(root);
                caller.site = site_named(name, call);
                caller.address = call.from;
            }
        }
        if (caller.address == call.from)
            return caller;
    }
    std::abort();
}

bool fails(std::uint32_t site)
{
    const std::uint32_t number = ++page->sites[site].calls;
    if (site != page->site || number != page->nth)
        return false;
    ++page->struck;
    errno = page->error;
    return true;
}

bool is_file(int fd)
{
    struct stat about {};
    const int error = errno;
    // Past ThreadSanitizer, which would take this look at a descriptor for one of the caller's.
    const bool file = syscall(SYS_fstat, fd, &about) == 0 && S_ISREG(about.st_mode);
    errno = error;
    return file;
}

// GLib writes from within signal handlers too, which may not wait for the lock over places: to no file.
int file_or_never(int fd)
{
    return is_file(fd) ? fd : kNeverCounts;
}

bool strikes(const Call &call, int fd)
{
    if (page == nullptr || page->armed == 0 || fd == kNeverCounts)
        return false;
    const Caller &caller = caller_of(call);
    return (caller.own || is_file(fd)) && fails(caller.site);
}

// Every open() comes by way of ptzd's seam: not the caller but the file tells one place from another.
bool strikes(const Call &call, const char *path)
{
    if (page == nullptr || page->armed == 0 || !std::string_view(path).starts_with(folder))
        return false;
    std::string name = std::string(call.name) + " ." + (path + folder.size());
    if (const std::size_t end = name.find(".conf."); end != std::string::npos)
        name.resize(end + 5); // what is written to take a file's place has any name behind its own
    std::unique_lock lock(mutex);
    const std::uint32_t site = site_named(name, call);
    lock.unlock();
    return fails(site);
}

template <typename Function>
Function *behind(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

__attribute__((constructor)) void begin()
{
    const char *file = std::getenv(shim::kVariable);
    const char *board = std::getenv("PTZ_BOARD");
    Dl_info about{};
    if (file == nullptr || board == nullptr || dladdr(reinterpret_cast<void *>(begin), &about) == 0)
        std::abort();
    auto *shared = map_page<shim::Page>(file);
    if (shared == nullptr)
        std::abort();
    folder = board; // both texts stay where they are
    root = about.dli_fname;
    root = root.substr(0, root.rfind("/tests/"));
    page = shared;
    struct sigaction count {};
    count.sa_handler = [](int) { ++page->signals; }; // and no SA_RESTART
    sigaction(SIGUSR1, &count, nullptr);
    rlimit most{};
    getrlimit(RLIMIT_NOFILE, &most);
    most.rlim_cur = most.rlim_max;
    setrlimit(RLIMIT_NOFILE, &most);
    for (std::uint32_t i = 0; i < page->ballast; ++i)
        if (open("/dev/null", O_RDWR | O_CLOEXEC) < 0)
            std::abort();
    page->loaded = static_cast<std::uint32_t>(getpid());
}

} // namespace

// Under names of their own here, as the C library's headers rename some of them. What is variable in number of
// arguments has them all: these machines pass them alike.
#define CALL(symbol, result, parameters, arguments, object, ...)                                                       \
    extern "C" __attribute__((visibility("default"))) result shim_##symbol parameters __asm__(#symbol);                \
    result shim_##symbol parameters                                                                                    \
    {                                                                                                                  \
        static auto *const real = behind<result parameters>(#symbol);                                                  \
        return strikes({#symbol, __builtin_return_address(0), {__VA_ARGS__}}, object) ? -1 : real arguments;           \
    }

CALL(open64, int, (const char *path, int flags, unsigned mode), (path, flags, mode), path, EIO, EMFILE)
CALL(read, ssize_t, (int fd, void *to, size_t size), (fd, to, size), fd, EINTR, EIO)
CALL(write, ssize_t, (int fd, const void *from, size_t size), (fd, from, size), file_or_never(fd), EINTR, EIO, ENOSPC)
CALL(pwrite64, ssize_t, (int fd, const void *from, size_t size, off_t at), (fd, from, size, at), fd, EIO, ENOSPC)
CALL(ftruncate64, int, (int fd, off_t size), (fd, size), fd, EIO)
CALL(fsync, int, (int fd), (fd), fd, EINTR, EIO, ENOSPC)
CALL(rename, int, (const char *from, const char *to), (from, to), from, EIO, ENOSPC)
CALL(flock, int, (int fd, int operation), (fd, operation), fd, EIO)
CALL(fcntl64, int, (int fd, int command, void *argument), (fd, command, argument), fd, EMFILE)
CALL(dup, int, (int fd), (fd), fd, EMFILE)
CALL(poll, int, (pollfd * entries, nfds_t count, int timeout_ms), (entries, count, timeout_ms), kNoDescriptor, EINTR,
     ENOMEM)
CALL(ppoll, int, (pollfd * entries, nfds_t count, const timespec *timeout, const sigset_t *mask),
     (entries, count, timeout, mask), kNoDescriptor, EINTR, ENOMEM)
CALL(socket, int, (int domain, int type, int protocol), (domain, type, protocol), kNoDescriptor, EMFILE)
CALL(connect, int, (int fd, const sockaddr *address, socklen_t size), (fd, address, size), fd, EIO)
CALL(accept4, int, (int fd, sockaddr *address, socklen_t *size, int flags), (fd, address, size, flags), fd, EINTR,
     EMFILE)
CALL(send, ssize_t, (int fd, const void *from, size_t size, int flags), (fd, from, size, flags), fd, EINTR, EIO)
CALL(sendmsg, ssize_t, (int fd, const msghdr *message, int flags), (fd, message, flags), fd, EINTR, EIO)
CALL(recv, ssize_t, (int fd, void *to, size_t size, int flags), (fd, to, size, flags), fd, EINTR, EIO)
CALL(recvmsg, ssize_t, (int fd, msghdr *message, int flags), (fd, message, flags), fd, EINTR, EIO)
