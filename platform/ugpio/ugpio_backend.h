// The two kinds of lines behind the C interface: kernel GPIO and a simulated board's.
#ifndef UGPIO_UGPIO_BACKEND_H
#define UGPIO_UGPIO_BACKEND_H

#include <cerrno>

namespace ugpio_internal {
struct Backend;
}

struct ugpio {
    const ugpio_internal::Backend *backend;
    int line;      // index in the kernel backend's table of lines, or in the board's
    int fd;        // value file or, of a board or a character device, edge descriptor; -1 while there is none
    bool open;     // between ugpio_full_open and ugpio_close
    unsigned edge; // as given to ugpio_set_edge
    bool pooled;
    bool found_now; // by the backend, and nothing was read yet: what it is on need not be looked at again
};

namespace ugpio_internal {

inline int fail(int error)
{
    errno = error;
    return -1;
}

// Every function returns 0 or more, or -1 with errno; none lets an exception out into the C caller.
struct Backend {
    // `board`: the folder of a simulated board. Gives the `line` of a handle.
    int (*find_number)(const char *board, int number) noexcept;
    int (*find_name)(const char *board, const char *name) noexcept;
    int (*knows_name)(const char *board, const char *name) noexcept; // 1 or 0
    int (*set_direction)(int line, unsigned flags) noexcept;
    int (*open)(ugpio &handle) noexcept;
    int (*read)(ugpio &handle) noexcept;
    int (*set_edge)(ugpio &handle, unsigned flags) noexcept;
    int (*make_fd)(ugpio &handle) noexcept; // a descriptor for the caller
};

extern const Backend kKernelBackend;
extern const Backend kBoardBackend;

} // namespace ugpio_internal

#endif
