#include "trace_reader.h"

#include "failure.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;
constexpr std::size_t kLongest = std::size_t{1} << 20; // more is no line of a trace

Failure no_trace(const std::string &path, const std::string &why)
{
    return {EXIT_REFUSED, "NoTrace",
            "cannot read the trace '" + printable(path) + "': " + why +
                "; krx-sim --trace FILE and ptzd --trace FILE write one"};
}

} // namespace

TraceReader::TraceReader(std::string path, bool follows) : path_(std::move(path)), follows_(follows)
{
    fd_ = path_ == "-" ? STDIN_FILENO : open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0)
        throw no_trace(path_, std::strerror(errno));
    if (!fill() && !follows_ && path_ != "-")
        throw no_trace(path_, "it is empty");
}

TraceReader::~TraceReader()
{
    if (fd_ > STDIN_FILENO)
        close(fd_);
}

bool TraceReader::fill()
{
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(at_));
    scanned_ -= at_;
    at_ = 0;
    const std::size_t held = buffer_.size();
    buffer_.resize(held + kPiece);
    ssize_t got = 0;
    do {
        got = read(fd_, buffer_.data() + held, kPiece);
    } while (got < 0 && errno == EINTR);
    const int error = errno;
    buffer_.resize(held + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got < 0)
        throw no_trace(path_, std::strerror(error));
    return got > 0 || (follows_ && turn());
}

// Whether another file has taken the place of this one, or this one began anew.
bool TraceReader::turn()
{
    struct stat open_one {};
    struct stat named {};
    if (path_ == "-" || fstat(fd_, &open_one) != 0 || stat(path_.c_str(), &named) != 0)
        return false;
    if (open_one.st_ino == named.st_ino && open_one.st_dev == named.st_dev) {
        if (lseek(fd_, 0, SEEK_CUR) <= open_one.st_size)
            return false;
        return lseek(fd_, 0, SEEK_SET) == 0;
    }
    const int next = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (next < 0)
        return false;
    // What came into the former one between the last look and its end.
    const std::size_t held = buffer_.size();
    buffer_.resize(held + kPiece);
    const ssize_t got = read(fd_, buffer_.data() + held, kPiece);
    buffer_.resize(held + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got > 0) {
        close(next);
        return true;
    }
    close(fd_);
    fd_ = next;
    return true;
}

bool TraceReader::next(std::string_view &line)
{
    for (;;) {
        const char *from = buffer_.data() + scanned_;
        const auto *end = static_cast<const char *>(std::memchr(from, '\n', buffer_.size() - scanned_));
        const bool is_long = end == nullptr && buffer_.size() - at_ > kLongest;
        if (end != nullptr || is_long) {
            const std::size_t stop = end != nullptr ? static_cast<std::size_t>(end - buffer_.data()) : buffer_.size();
            line = {buffer_.data() + at_, stop - at_};
            at_ = scanned_ = stop + (end != nullptr ? 1 : 0);
            number_++;
            return true;
        }
        scanned_ = buffer_.size();
        if (!fill())
            return false;
    }
}
