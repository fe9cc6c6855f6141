// The lines of a trace, from a file that may still grow.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class TraceReader {
  public:
    // "-": standard input. `follows`: goes on when the file grows, and with the next one when its turn has come. Throws
    // Failure when there is nothing to read.
    TraceReader(std::string path, bool follows);
    ~TraceReader();
    TraceReader(const TraceReader &) = delete;
    TraceReader &operator=(const TraceReader &) = delete;

    // The next whole line, without its end, until the next call; false when there is none, or none yet.
    bool next(std::string_view &line);
    // Its number, from 1; over all files.
    std::size_t number() const { return number_; }
    // Whether the trace ended within a line: it was cut.
    bool is_cut() const { return at_ < buffer_.size(); }

  private:
    bool fill();
    bool turn();

    const std::string path_;
    const bool follows_;
    int fd_ = -1;
    std::size_t number_ = 0;
    std::vector<char> buffer_;
    std::size_t at_ = 0;      // what is read begins here
    std::size_t scanned_ = 0; // without an end of line
};
