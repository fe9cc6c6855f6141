#include "bench/allocations.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>

namespace {

// Constant initialisation: the functions below run before anything else in the process.
constinit thread_local bool counting = false;
constinit thread_local Allocations counts{};

void *module_of(void *address, const char **name)
{
    Dl_info info{};
    if (dladdr(address, &info) == 0)
        return nullptr;
    *name = info.dli_fname;
    return info.dli_fbase;
}

// Whom an allocation with these callers, innermost first, belongs to: the first that is no library of the machine.
std::int64_t &account(void *const *callers, void *const *end)
{
    const char *name = nullptr;
    void *const program = module_of(reinterpret_cast<void *>(&allocations_start), &name);
    for (; callers != end; ++callers) {
        void *const module = module_of(*callers, &name);
        if (module == program)
            break;
        if (module != nullptr && std::strncmp(name, "/lib", 4) != 0 && std::strncmp(name, "/usr/", 5) != 0)
            return counts.stand_ins;
    }
    return counts.driver;
}

[[gnu::noinline]] void note(void *caller)
{
    if (!counting)
        return;
    counting = false; // what looking at the stack allocates is not the driver's
    std::array<void *, 48> frames{};
    void **const end = frames.data() + backtrace(frames.data(), static_cast<int>(frames.size()));
    ++account(std::find(frames.data(), end, caller), end);
    counting = true;
}

} // namespace

void allocations_start()
{
    void *frame = nullptr;
    backtrace(&frame, 1); // the first one loads a library
    counts = {};
    counting = true;
}

Allocations allocations_stop()
{
    counting = false;
    return counts;
}

// The process's allocator: the C library's, and a look at who calls it.
extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);

[[gnu::visibility("default")]] void *malloc(std::size_t size) noexcept
{
    note(__builtin_return_address(0));
    return __libc_malloc(size);
}

[[gnu::visibility("default")]] void *calloc(std::size_t count, std::size_t size) noexcept
{
    note(__builtin_return_address(0));
    return __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void *realloc(void *memory, std::size_t size) noexcept
{
    note(__builtin_return_address(0));
    return __libc_realloc(memory, size);
}

[[gnu::visibility("default")]] void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    note(__builtin_return_address(0));
    return __libc_memalign(alignment, size);
}

[[gnu::visibility("default")]] int posix_memalign(void **memory, std::size_t alignment, std::size_t size) noexcept
{
    note(__builtin_return_address(0));
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}
}
