#include "replay_trace.h"

#include "failure.h"
#include "trace_reader.h"

#include <algorithm>

using Kind = sim::TraceLine::Kind;

namespace {

std::string_view take_word(std::string_view &text)
{
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

} // namespace

std::string ReplayEvent::words() const
{
    std::string text;
    for (const std::string &each : sim::decode_trace_line(line))
        text += (text.empty() ? "" : ", ") + each;
    return printable(text.empty() ? "a read of the status" : text);
}

std::string ReplayEvent::place() const
{
    return "line " + std::to_string(number) + ", " + sim::trace_time(line.us) + " s";
}

ReplayTrace::ReplayTrace(const std::string &path)
{
    TraceReader reader(path, false);
    std::string_view text;
    sim::TraceLine line;
    while (reader.next(text)) {
        if (text.empty() || text[0] == '#')
            add_remark(text);
        else if (sim::parse_trace_line(text, line))
            add(line, reader.number());
        else
            throw Failure(EXIT_REFUSED, "NoTrace",
                          "line " + std::to_string(reader.number()) + " is not one of a trace; nothing was replayed");
    }
    if (reader.is_cut())
        cut_at = reader.number() + 1;
    const auto first = std::find_if(events.begin(), events.end(), [](const auto &event) { return event.by_host(); });
    if (first == events.end() || first->line.kind != Kind::level)
        throw Failure(EXIT_REFUSED, "NoStart",
                      "the trace does not begin with the camera off; a replay needs all from the start of ptzd, which "
                      "is what ptzd --trace FILE writes (once it has turned: cat FILE.1 FILE)");
}

void ReplayTrace::add_remark(std::string_view text)
{
    if (const auto order = sim::trace_byte_order(text))
        big_endian = *order;
    is_ptzds = is_ptzds || text.starts_with("# ptzd trace ");
    constexpr std::string_view kConfig = "# conf ";
    // The head of the next file says it again.
    if (!text.starts_with(kConfig) || !events.empty())
        return;
    text.remove_prefix(kConfig.size());
    const std::string name(take_word(text));
    if (name.find('/') == std::string::npos && name.ends_with(".conf"))
        files[name] += std::string(text) + "\n";
}

void ReplayTrace::add(const sim::TraceLine &line, std::size_t number)
{
    switch (line.kind) {
    case Kind::told:
        told[line.name].push_back(line.text);
        return;
    case Kind::command:
        return;
    case Kind::error:
    case Kind::burst:
        if (line.kind == Kind::burst && line.from_host) {
            open_[line.port] = {number, line, {}};
        } else if (auto burst = open_.extract(line.port)) {
            burst.mapped().answer = line;
            events.push_back(std::move(burst.mapped()));
        }
        return;
    case Kind::call:
        if (line.name == "SetTrace")
            return;
        requests++;
        break;
    default:
        break;
    }
    events.push_back({number, line, {}});
}
