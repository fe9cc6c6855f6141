#include "sim/journal.h"

#include "sim/trace.h"

namespace sim {
namespace {

constexpr std::size_t kKept = 4096;

} // namespace

bool Journal::open_trace(const std::string &path)
{
    trace_.reset(std::fopen(path.c_str(), "we"));
    if (!trace_)
        return false;
    // A line at a time, so that the file can be read while the simulator runs.
    std::setvbuf(trace_.get(), nullptr, _IOLBF, 1 << 13);
    std::fputs(kTraceHeader, trace_.get());
    return true;
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
    if (heard_.size() < kKept)
        heard_.push_back(std::move(text));
}

void Journal::note(std::int64_t now, Detail detail, std::string_view text)
{
    if (print_)
        print_(detail, now, text);
    if (trace_)
        std::fprintf(trace_.get(), "# %s %.*s\n", trace_time(now).c_str(), static_cast<int>(text.size()), text.data());
}

void Journal::burst(std::int64_t now, unsigned port, bool from_host, std::span<const std::uint8_t> bytes)
{
    if (trace_)
        std::fputs(trace_line(now, port, from_host, bytes).c_str(), trace_.get());
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
