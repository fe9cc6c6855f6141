// The two files of a trace: lines are gathered, written in one piece, and a full file makes room for the next.
#pragma once

#include "ptzorvel/ptzd/trace_queue.h"

#include <string>

class TraceFile {
  public:
    // `most_bytes`: of both files; 0: no bound. The head of each has the configuration: the files of `config_folder`,
    // and the parameters that are kept in `state_folder`.
    TraceFile(std::string path, std::uint64_t most_bytes, std::string config_folder, std::string state_folder);
    ~TraceFile() { close(); }
    TraceFile(const TraceFile &) = delete;
    TraceFile &operator=(const TraceFile &) = delete;

    // Begins a file; the one that was there becomes PATH.1. Without its path in the way of anybody: what is no regular
    // file is written as it is, and without end. A sentence without its full stop when that cannot be done.
    std::string open();
    void close();

    // What is to be written next.
    void add(const TraceRecord &record);
    void add_lost(std::int64_t us, unsigned records);
    // Bytes of that.
    std::size_t waiting() const { return text_.size(); }
    // Writes it; false, and problem(), when the file takes no more.
    bool write();
    const std::string &problem() const { return problem_; }

  private:
    bool write_text(const std::string &text);
    void add_burst(const TraceRecord &record);
    void add_bytes(const char *bytes, std::size_t size);
    std::string head() const;

    const std::string path_;
    const std::uint64_t most_bytes_;
    const std::string config_folder_;
    const std::string state_folder_;
    int fd_ = -1;
    bool turns_ = false;
    std::uint64_t size_ = 0;
    std::string text_;
    std::string problem_;
};
