// A file descriptor held for one operation, and closed at its end.
#pragma once

#include <cerrno>
#include <cstddef>
#include <unistd.h>

class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

    // Reads until `size` bytes are there, the file ends or fails; interrupted calls are repeated. The bytes read.
    std::size_t read_up_to(void *buffer, std::size_t size) const
    {
        return repeat(size,
                      [&](std::size_t done) { return read(fd_, static_cast<char *>(buffer) + done, size - done); });
    }

    // Writes all `size` bytes, unless the file fails. The bytes written.
    std::size_t write_all(const void *buffer, std::size_t size) const
    {
        return repeat(
            size, [&](std::size_t done) { return write(fd_, static_cast<const char *>(buffer) + done, size - done); });
    }

  private:
    template <typename Step>
    static std::size_t repeat(std::size_t size, Step step)
    {
        std::size_t done = 0;
        while (done < size) {
            const ssize_t count = step(done);
            if (count > 0)
                done += static_cast<std::size_t>(count);
            else if (count == 0 || errno != EINTR)
                break;
        }
        return done;
    }

    const int fd_;
};
