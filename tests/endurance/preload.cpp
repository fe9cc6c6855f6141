// Lets a program's wall clock be set from outside, and counts its heap blocks.
#include "tests/endurance/page.h"
#include "tests/support/shared_page.h"

#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <sys/time.h>

extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void __libc_free(void *);
}

namespace {

Page before;
std::atomic<Page *> page{&before};

__attribute__((constructor)) void begin()
{
    const char *file = std::getenv(kPageVariable);
    Page *shared = file != nullptr ? map_page<Page>(file) : nullptr;
    if (shared == nullptr)
        return;
    shared->heap_blocks = before.heap_blocks.load();
    page = shared;
}

void *counted(void *block)
{
    if (block != nullptr)
        ++page.load()->heap_blocks;
    return block;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

void *malloc(size_t size)
{
    return counted(__libc_malloc(size));
}
void *calloc(size_t count, size_t size)
{
    return counted(__libc_calloc(count, size));
}
void *realloc(void *block, size_t size)
{
    return block != nullptr ? __libc_realloc(block, size) : malloc(size);
}
void free(void *block)
{
    if (block != nullptr)
        --page.load()->heap_blocks;
    __libc_free(block);
}

int clock_gettime(clockid_t clock, timespec *time)
{
    static const auto real = reinterpret_cast<decltype(&clock_gettime)>(dlsym(RTLD_NEXT, "clock_gettime"));
    const int result = real(clock, time);
    if (clock == CLOCK_REALTIME)
        time->tv_sec += static_cast<std::time_t>(page.load()->clock_step_s);
    return result;
}
int gettimeofday(timeval *time, void *)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}
}
#pragma GCC visibility pop
