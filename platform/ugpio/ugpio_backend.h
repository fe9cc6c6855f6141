// The two kinds of lines behind the C interface: kernel GPIO and a simulated board's.
#ifndef UGPIO_UGPIO_BACKEND_H
#define UGPIO_UGPIO_BACKEND_H

#include <cerrno>
#include <string>

namespace ugpio_internal {
struct Backend;
}

struct ugpio {
    const ugpio_internal::Backend *backend;
    int line;      // kernel: GPIO number; board: index in its line table
    int fd;        // kernel: value file; board: edge descriptor; -1 while there is none
    bool open;     // between ugpio_full_open and ugpio_close
    unsigned edge; // as given to ugpio_set_edge
    bool pooled;
};

namespace ugpio_internal {

inline int fail(int error)
{
    errno = error;
    return -1;
}

// Every function returns 0 or more, or -1 with errno; none lets an exception out into the C caller.
struct Backend {
    int (*find_number)(int number) noexcept; // gives the `line` of a handle
    int (*find_name)(const char *name) noexcept;
    int (*knows_name)(const char *name) noexcept; // 1 or 0
    int (*set_direction)(int line, unsigned flags) noexcept;
    int (*open)(ugpio &handle) noexcept;
    int (*read)(ugpio &handle) noexcept;
    int (*set_edge)(ugpio &handle, unsigned flags) noexcept;
    int (*make_fd)(ugpio &handle) noexcept; // a descriptor for the caller
};

extern const Backend kKernelBackend;
extern const Backend kBoardBackend;

// What the GPIO character device tells about one chip, and one of its lines.
struct ChipReader {
    int (*chip)(const char *path, std::string &label, unsigned &lines);
    int (*line)(const char *path, unsigned offset, std::string &name);
};
extern const ChipReader kCharacterDevice;

// The kernel's number of the line called `name`: the chips of `dev_root` are searched for it, the chip's first number
// is the sysfs chip of the same label and size below `sysfs_root`. ENOENT when there is none.
int find_kernel_line(const char *name, const std::string &dev_root, const std::string &sysfs_root,
                     const ChipReader &reader);

} // namespace ugpio_internal

#endif
