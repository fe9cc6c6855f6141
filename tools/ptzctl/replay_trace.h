// A trace as a replay needs it.
#pragma once

#include "sim/trace.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

// Something of the trace that has its place in the order: what the host did with what came of it, a level that the
// block showed, a request.
struct ReplayEvent {
    std::size_t number = 0; // of its line
    sim::TraceLine line{};
    sim::TraceLine answer{}; // to a burst of the host
    bool by_host() const
    {
        return line.from_host && (line.kind == sim::TraceLine::Kind::burst || line.kind == sim::TraceLine::Kind::level);
    }
    // "Pan position 10000 (10.000 deg)", for a message
    std::string words() const;
    // "line 239, 3.904541 s"
    std::string place() const;
};

struct ReplayTrace {
    // Reads it; "-": standard input. Throws Failure when it cannot be read, or when it does not begin with the camera
    // off.
    explicit ReplayTrace(const std::string &path);

    std::vector<ReplayEvent> events;
    std::map<std::string, std::string> files; // the configuration, by name
    // What the image services told the driver, in order, by service and property; none: nobody has recorded it.
    std::map<std::string, std::deque<std::string>> told;
    std::size_t requests = 0;
    bool is_ptzds = false; // with requests, and what was told
    bool big_endian = false;
    std::size_t cut_at = 0; // the line within which it ends; 0: it is whole

  private:
    void add_remark(std::string_view text);
    void add(const sim::TraceLine &line, std::size_t number);
    std::map<unsigned, ReplayEvent> open_; // bursts without their answers, by port
};
