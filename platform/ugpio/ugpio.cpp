#include "ugpio/ugpio.h"

#include "ugpio/ugpio_backend.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <new>
#include <unistd.h>

using namespace ugpio_internal;

namespace {

// Lines are requested and released for every single level read, so the handles in use come from here; more than these
// at a time come from the heap.
struct Slot {
    std::atomic<bool> used{false};
    ugpio handle{};
};
std::array<Slot, 8> pool;

ugpio *new_handle(const Backend &backend, int line)
{
    const ugpio fresh{&backend, line, -1, false, UGPIO_EDGE_NONE, true, true};
    for (Slot &slot : pool) {
        if (!slot.used.exchange(true, std::memory_order_acquire)) {
            slot.handle = fresh;
            return &slot.handle;
        }
    }
    auto *handle = new (std::nothrow) ugpio(fresh);
    if (handle)
        handle->pooled = false;
    else
        errno = ENOMEM;
    return handle;
}

void release_handle(ugpio *handle)
{
    if (!handle->pooled) {
        delete handle;
        return;
    }
    for (Slot &slot : pool) {
        if (&slot.handle == handle)
            slot.used.store(false, std::memory_order_release);
    }
}

// The folder of the simulated board whose lines are meant, null for the kernel's.
const char *board_folder()
{
    const char *board = std::getenv("PTZ_BOARD");
    return board && *board ? board : nullptr;
}

const Backend &backend(const char *board)
{
    return board ? kBoardBackend : kKernelBackend;
}

// A line found and, when flags are given, put into that direction.
ugpio *request(const Backend &where, int line, const unsigned *flags)
{
    if (line < 0)
        return nullptr;
    if (flags && (*flags > UGPIO_OUT_HIGH || where.set_direction(line, *flags) < 0)) {
        if (*flags > UGPIO_OUT_HIGH)
            errno = EINVAL;
        return nullptr;
    }
    return new_handle(where, line);
}

ugpio *request_number(int number, const unsigned *flags)
{
    if (number < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const char *board = board_folder();
    const Backend &where = backend(board);
    return request(where, where.find_number(board, number), flags);
}

ugpio *request_name(const char *name, const unsigned *flags)
{
    if (!name || !*name) {
        errno = EINVAL;
        return nullptr;
    }
    const char *board = board_folder();
    const Backend &where = backend(board);
    return request(where, where.find_name(board, name), flags);
}

} // namespace

ugpio *ugpio_request(int number, const char *)
{
    return request_number(number, nullptr);
}

ugpio *ugpio_request_named(const char *name)
{
    return request_name(name, nullptr);
}

int ugpio_is_named(const char *name)
{
    const char *board = board_folder();
    return name && *name ? backend(board).knows_name(board, name) : 0;
}

ugpio *ugpio_request_one(int number, unsigned flags, const char *)
{
    return request_number(number, &flags);
}

ugpio *ugpio_request_one_named(const char *name, unsigned flags)
{
    return request_name(name, &flags);
}

int ugpio_full_open(ugpio *line)
{
    if (!line)
        return fail(EINVAL);
    if (line->open)
        return 0;
    if (line->backend->open(*line) < 0)
        return -1;
    line->open = true;
    return 0;
}

int ugpio_get_value(ugpio *line)
{
    if (!line || !line->open)
        return fail(line ? EBADF : EINVAL);
    return line->backend->read(*line);
}

int ugpio_set_edge(ugpio *line, unsigned flags)
{
    if (!line || (flags != UGPIO_EDGE_NONE && flags != UGPIO_EDGE_RISING))
        return fail(EINVAL);
    if (line->backend->set_edge(*line, flags) < 0)
        return -1;
    line->edge = flags;
    return 0;
}

int ugpio_fd(ugpio *line)
{
    if (!line || !line->open)
        return fail(line ? EBADF : EINVAL);
    return line->backend->make_fd(*line);
}

int ugpio_close(ugpio *line)
{
    if (!line)
        return fail(EINVAL);
    line->open = false;
    const int fd = line->fd;
    line->fd = -1;
    return fd >= 0 ? close(fd) : 0;
}

void ugpio_free(ugpio *line)
{
    if (!line)
        return;
    ugpio_close(line);
    release_handle(line);
}
