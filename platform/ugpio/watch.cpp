#include "ugpio/watch.h"

#include "ugpio/ugpio.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <mutex>

namespace {

using Name = std::array<char, 64>;

constexpr std::size_t kNone = SIZE_MAX;

struct Line {
    Name name{};
    int level = -1; // as last seen
};

struct Handle {
    const ugpio *handle = nullptr;
    std::size_t line = kNone;
};

std::atomic<UgpioWatcher> watcher{nullptr};
// The lines and handles of one camera. Held for a look at these alone, and as good as always by one thread.
std::mutex mutex;
std::array<Line, 32> lines;
std::array<Handle, 16> handles;

// The library's own function.
template <typename Function>
Function *behind(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

Name name_of(const char *name)
{
    Name copy{};
    std::snprintf(copy.data(), copy.size(), "%s", name);
    for (char &each : copy) // one word of a line
        if (each != '\0' && (each <= ' ' || each > '~'))
            each = '?';
    return copy;
}

Name name_of(int number)
{
    Name copy{};
    std::snprintf(copy.data(), copy.size(), "%d", number);
    return copy;
}

std::size_t find_line(const Name &name)
{
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].name[0] == '\0')
            lines[i].name = name;
        if (lines[i].name == name)
            return i;
    }
    return kNone;
}

ugpio *requested(ugpio *handle, const Name &name)
{
    if (handle == nullptr || watcher.load(std::memory_order_acquire) == nullptr)
        return handle;
    const std::lock_guard lock(mutex);
    for (Handle &each : handles) {
        if (each.handle == nullptr || each.handle == handle) {
            each = {handle, find_line(name)};
            break;
        }
    }
    return handle;
}

ugpio *requested(ugpio *handle, const Name &name, unsigned flags)
{
    UgpioWatcher told = watcher.load(std::memory_order_acquire);
    if (handle != nullptr && told != nullptr && flags != UGPIO_IN)
        told(name.data(), true, flags == UGPIO_OUT_HIGH);
    return requested(handle, name);
}

void seen(const ugpio *handle, int level)
{
    UgpioWatcher told = watcher.load(std::memory_order_acquire);
    if (told == nullptr || level < 0)
        return;
    const int error = errno;
    Name changed{};
    {
        const std::lock_guard lock(mutex);
        for (const Handle &each : handles) {
            if (each.handle != handle || each.line == kNone || lines[each.line].level == level)
                continue;
            lines[each.line].level = level;
            changed = lines[each.line].name;
        }
    }
    if (changed[0] != '\0')
        told(changed.data(), false, level != 0);
    errno = error;
}

void freed(const ugpio *handle)
{
    const std::lock_guard lock(mutex);
    for (Handle &each : handles)
        if (each.handle == handle)
            each = {};
}

} // namespace

ugpio *ugpio_request(int number, const char *label)
{
    static auto *const real = behind<decltype(ugpio_request)>("ugpio_request");
    return requested(real(number, label), name_of(number));
}

ugpio *ugpio_request_named(const char *name)
{
    static auto *const real = behind<decltype(ugpio_request_named)>("ugpio_request_named");
    ugpio *handle = real(name);
    return handle != nullptr ? requested(handle, name_of(name)) : nullptr;
}

ugpio *ugpio_request_one(int number, unsigned flags, const char *label)
{
    static auto *const real = behind<decltype(ugpio_request_one)>("ugpio_request_one");
    return requested(real(number, flags, label), name_of(number), flags);
}

ugpio *ugpio_request_one_named(const char *name, unsigned flags)
{
    static auto *const real = behind<decltype(ugpio_request_one_named)>("ugpio_request_one_named");
    ugpio *handle = real(name, flags);
    return handle != nullptr ? requested(handle, name_of(name), flags) : nullptr;
}

int ugpio_get_value(ugpio *line)
{
    static auto *const real = behind<decltype(ugpio_get_value)>("ugpio_get_value");
    const int level = real(line);
    seen(line, level);
    return level;
}

void ugpio_free(ugpio *line)
{
    static auto *const real = behind<decltype(ugpio_free)>("ugpio_free");
    if (line != nullptr)
        freed(line);
    real(line);
}

void ugpio_watch(UgpioWatcher told)
{
    const std::lock_guard lock(mutex);
    for (Line &line : lines)
        line.level = -1;
    watcher.store(told, std::memory_order_release);
}
