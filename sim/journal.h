// What the simulator saw: offences and records by name, the decoded words, the trace file and the printed lines.
#pragma once

#include "sim/lines.h"
#include "sim/records.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

using Counts = std::map<std::string, unsigned, std::less<>>;

// How much of it a person wants to read.
enum class Detail : std::uint8_t { offences, records, everything };

// A record that the block was sent, in words.
struct HeardRecord {
    std::int64_t us = 0;
    std::string text;
};

class Journal {
  public:
    static constexpr std::size_t kLast = 20;

    // Called for every line, with the simulator's lock held: it must not call back.
    using Print = std::function<void(Detail detail, std::int64_t us, std::string_view text)>;

    void set_print(Print print) { print_ = std::move(print); }
    // How far a firmware transfer is, in percent; none: it ended early. Called like Print. Without it every ten
    // percent are a printed line.
    using Progress = std::function<void(std::optional<unsigned> percent)>;
    void set_progress(Progress progress) { progress_ = std::move(progress); }
    // Starts the trace file; false and errno when it cannot be written. big_endian: how the block sends frame headers.
    // most_bytes: when the file has half of it, it becomes PATH.1 and a new one is begun; 0: it grows without end.
    bool open_trace(const std::string &path, bool big_endian, std::uint64_t most_bytes);

    void offence(std::int64_t now, std::string_view name, std::string_view detail);
    void record(std::int64_t now, const Record &record);
    void note(std::int64_t now, Detail detail, std::string_view text);
    // One burst in one direction, into the trace.
    void burst(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes);
    // The level of a line, driven by the host or shown to it; and a command that somebody gave.
    void level(std::int64_t now, Line line, bool from_host, bool high);
    void command(std::int64_t now, std::string_view line);
    void progress(std::int64_t now, unsigned percent);
    void progress_ended();
    // The payload of a packet that the host sent.
    void packet(std::span<const std::uint8_t> payload);

    const Counts &offences() const { return offences_; }
    void clear_offences() { offences_.clear(); }
    Counts records() const;
    // How many records there were so far, and the last of them, the oldest first.
    std::uint64_t record_count() const { return record_count_; }
    std::vector<HeardRecord> last_records() const;
    // Lines and packets gathered since the last call; only the first few thousand are kept.
    std::vector<std::string> take_heard() { return std::exchange(heard_, {}); }
    std::vector<std::vector<std::uint8_t>> take_packets() { return std::exchange(packets_, {}); }

  private:
    bool begin_trace();
    void write_trace(const std::string &text);

    struct CloseFile {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    Print print_;
    Progress progress_;
    unsigned printed_tens_ = 0;
    std::unique_ptr<std::FILE, CloseFile> trace_;
    std::string trace_path_;
    bool trace_big_endian_ = false;
    std::uint64_t most_trace_bytes_ = 0;
    std::uint64_t trace_bytes_ = 0; // in the file
    Counts offences_;
    std::array<unsigned, kRecCount> records_{};
    std::uint64_t record_count_ = 0;
    std::array<HeardRecord, kLast> last_records_{}; // number N is at N modulo kLast
    std::vector<std::string> heard_;
    std::vector<std::vector<std::uint8_t>> packets_;
};

} // namespace sim
