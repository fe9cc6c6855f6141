#include "ptzorvel/common/regular_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Close {
    void operator()(const int *fd) const { close(*fd); }
};

} // namespace

std::optional<std::string> read_regular_file(const std::string &path, std::size_t most, std::string &problem)
{
    // Opened so, a fifo waits for nobody.
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        problem = std::string("cannot be opened: ") + std::strerror(errno);
        return std::nullopt;
    }
    const std::unique_ptr<const int, Close> closer(&fd);
    struct stat about {};
    if (fstat(fd, &about) != 0 || !S_ISREG(about.st_mode)) {
        problem = "is no regular file";
        return std::nullopt;
    }
    std::string text(most + 1, '\0');
    std::size_t size = 0;
    while (size < text.size()) {
        const ssize_t got = read(fd, text.data() + size, text.size() - size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            problem = std::string("cannot be read: ") + std::strerror(errno);
            return std::nullopt;
        }
        if (got == 0)
            break;
        size += static_cast<std::size_t>(got);
    }
    if (size > most) {
        problem = "is too long";
        return std::nullopt;
    }
    text.resize(size);
    return text;
}
