#include "ptzorvel/ptzd/trace_file.h"

#include "clean_text.h"
#include "ptzorvel/common/regular_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr char kParameters[] = "parameters.conf";

std::string clock_text()
{
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    char text[32] = "";
    if (gmtime_r(&now, &fields) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields);
    return text;
}

// A file of the configuration as remarks. Nobody is waited for, whatever stands in its place.
void quote_file(std::string &text, const fs::path &path)
{
    constexpr std::size_t kMost = 65536;
    const std::string name = printable(path.filename().string());
    std::string problem;
    const auto content = read_regular_file(path, kMost, problem);
    if (!content)
        text += "# " + name + " " + problem + " and is left out\n";
    std::istringstream lines(content.value_or(""));
    for (std::string line; std::getline(lines, line);)
        text += "# conf " + name + " " + printable(line) + "\n";
}

std::string time_text(std::int64_t us)
{
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%06lld", static_cast<long long>(us / 1'000'000),
                  static_cast<long long>(us % 1'000'000));
    return text;
}

} // namespace

TraceFile::TraceFile(std::string path, std::uint64_t most_bytes, std::string config_folder, std::string state_folder)
    : path_(std::move(path)), most_bytes_(most_bytes), config_folder_(std::move(config_folder)),
      state_folder_(std::move(state_folder))
{
}

std::string TraceFile::head() const
{
    std::string text =
        "# ptzd trace 1: seconds port sender length bytes\n# ptzd " PTZD_VERSION ", " + clock_text() + "\n";
    std::error_code error;
    std::vector<fs::path> files;
    for (const auto &entry : fs::directory_iterator(config_folder_, error))
        if (entry.path().extension() == ".conf" && entry.path().filename() != kParameters)
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    if (const fs::path kept = fs::path(state_folder_) / kParameters; fs::exists(kept, error))
        files.push_back(kept);
    for (const fs::path &file : files)
        quote_file(text, file);
    return text;
}

std::string TraceFile::open()
{
    struct stat info {};
    const bool there = lstat(path_.c_str(), &info) == 0;
    turns_ = !there || S_ISREG(info.st_mode);
    if (there && turns_)
        std::rename(path_.c_str(), (path_ + ".1").c_str());
    fd_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0640);
    if (fd_ < 0)
        return path_ + ": " + g_strerror(errno);
    size_ = 0;
    text_.clear();
    problem_.clear();
    if (write_text(head()))
        return "";
    close();
    return path_ + ": " + problem_;
}

void TraceFile::close()
{
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = -1;
}

void TraceFile::add(const TraceRecord &record)
{
    text_ += time_text(record.us);
    if (record.kind == TraceRecord::Kind::burst) {
        add_burst(record);
        return;
    }
    text_ += ' ';
    text_.append(record.bytes.data(), record.first);
    text_ += '\n';
}

void TraceFile::add_burst(const TraceRecord &record)
{
    const std::string port = " port" + std::to_string(record.port);
    text_ += port + " host " + std::to_string(record.length) + " ";
    add_bytes(record.bytes.data(), record.first);
    text_ += time_text(record.us) + port;
    if (record.result < 0) {
        text_ += " error " + std::to_string(-record.result) + "\n";
        return;
    }
    text_ += " block " + std::to_string(record.result) + " ";
    add_bytes(record.bytes.data() + record.first, record.second);
}

void TraceFile::add_bytes(const char *bytes, std::size_t size)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    const std::size_t at = text_.size();
    text_.resize(at + 2 * size + 1, '\n');
    for (std::size_t i = 0; i < size; ++i) {
        const auto value = static_cast<unsigned char>(bytes[i]);
        text_[at + 2 * i] = kDigits[value >> 4];
        text_[at + 2 * i + 1] = kDigits[value & 15];
    }
}

void TraceFile::add_lost(std::int64_t us, unsigned records)
{
    text_ += "# " + time_text(us) + " " + std::to_string(records) + " records are missing here\n";
}

bool TraceFile::write()
{
    if (text_.empty())
        return true;
    if (turns_ && most_bytes_ != 0 && size_ + text_.size() > most_bytes_ / 2) {
        const std::string waiting = std::exchange(text_, {});
        close();
        problem_ = open();
        if (!problem_.empty())
            return false;
        text_ = waiting;
    }
    if (!write_text(text_))
        return false;
    text_.clear();
    return true;
}

bool TraceFile::write_text(const std::string &text)
{
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(fd_, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            problem_ = g_strerror(errno);
            return false;
        }
        done += static_cast<std::size_t>(written);
        size_ += static_cast<std::size_t>(written);
    }
    return true;
}
