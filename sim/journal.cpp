#include "sim/journal.h"

#include "sim/trace.h"

namespace sim {
namespace {

constexpr std::size_t kKept = 4096;

} // namespace

bool Journal::open_trace(const std::string &path, bool big_endian, std::uint64_t most_bytes)
{
    trace_path_ = path;
    trace_big_endian_ = big_endian;
    most_trace_bytes_ = most_bytes;
    return begin_trace();
}

bool Journal::begin_trace()
{
    trace_.reset(std::fopen(trace_path_.c_str(), "we"));
    if (!trace_)
        return false;
    // A line at a time, so that the file can be read while the simulator runs.
    std::setvbuf(trace_.get(), nullptr, _IOLBF, 1 << 13);
    trace_bytes_ = 0;
    write_trace(trace_header(trace_big_endian_));
    return true;
}

void Journal::write_trace(const std::string &text)
{
    if (!trace_)
        return;
    std::fputs(text.c_str(), trace_.get());
    trace_bytes_ += text.size();
    if (most_trace_bytes_ == 0 || trace_bytes_ < most_trace_bytes_ / 2)
        return;
    std::rename(trace_path_.c_str(), (trace_path_ + ".1").c_str());
    if (!begin_trace() && print_)
        print_(Detail::offences, 0, "the trace cannot be gone on with");
}

void Journal::offence(std::int64_t now, std::string_view name, std::string_view detail)
{
    const auto found = offences_.find(name);
    if (found != offences_.end())
        ++found->second;
    else
        offences_.emplace(name, 1);
    note(now, Detail::offences, "OFFENCE " + std::string(name) + ": " + std::string(detail));
}

void Journal::record(std::int64_t now, const Record &record)
{
    if (record.row)
        ++records_[static_cast<std::size_t>(record.row->id)];
    std::string text = describe(record);
    note(now, Detail::records, text);
    last_records_[static_cast<std::size_t>(record_count_++ % kLast)] = {now, text};
    if (heard_.size() < kKept)
        heard_.push_back(std::move(text));
}

void Journal::note(std::int64_t now, Detail detail, std::string_view text)
{
    if (print_)
        print_(detail, now, text);
    if (trace_)
        write_trace("# " + trace_time(now) + " " + std::string(text) + "\n");
}

void Journal::burst(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes)
{
    if (trace_)
        write_trace(trace_line(now, port, from_host, bytes));
}

void Journal::level(std::int64_t now, Line line, bool from_host, bool high)
{
    if (print_ && from_host) // what the block does is told as its state
        print_(Detail::everything, now, std::string("line ") + row(line).name + (high ? " high" : " low"));
    if (trace_)
        write_trace(trace_level(now, row(line).name, from_host, high));
}

void Journal::command(std::int64_t now, std::string_view line)
{
    if (trace_)
        write_trace(trace_command(now, line));
}

void Journal::progress(std::int64_t now, unsigned percent)
{
    const unsigned tens = percent / 10 * 10;
    if (progress_)
        progress_(percent);
    else if (tens != 0 && tens != printed_tens_)
        note(now, Detail::records, "firmware transfer " + std::to_string(tens) + " %");
    printed_tens_ = tens;
}

void Journal::progress_ended()
{
    if (progress_)
        progress_(std::nullopt);
}

void Journal::packet(std::span<const std::uint8_t> payload)
{
    if (packets_.size() < kKept)
        packets_.emplace_back(payload.begin(), payload.end());
}

std::vector<HeardRecord> Journal::last_records() const
{
    std::vector<HeardRecord> last;
    for (std::uint64_t i = record_count_ < kLast ? 0 : record_count_ - kLast; i < record_count_; ++i)
        last.push_back(last_records_[static_cast<std::size_t>(i % kLast)]);
    return last;
}

Counts Journal::records() const
{
    Counts counts;
    for (std::size_t i = 0; i < kRecCount; ++i) {
        if (records_[i] != 0)
            counts.emplace(row(static_cast<Rec>(i)).name, records_[i]);
    }
    return counts;
}

} // namespace sim
