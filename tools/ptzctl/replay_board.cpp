#include "replay_board.h"

#include "failure.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using Kind = sim::TraceLine::Kind;

ReplayBoard::ReplayBoard(const ReplayTrace &trace) : trace_(trace)
{
    hello_.magic = ugpio_wire::kMagic;
    for (const ReplayEvent &event : trace.events)
        if (event.line.kind == Kind::level)
            add_line(event.line.name);
    for (const sim::LineRow &row : sim::kLines) // which the driver may look for without a use
        add_line(row.name);
}

ReplayBoard::~ReplayBoard()
{
    if (!thread_.joinable())
        return;
    server_.stop();
    thread_.join();
    folder_.close();
}

void ReplayBoard::add_line(const std::string &name)
{
    constexpr int kNoNumber = 1000;
    for (std::size_t i = 0; i < hello_.count; ++i)
        if (name == hello_.lines[i].name.data())
            return;
    if (hello_.count == hello_.lines.size())
        return;
    ugpio_wire::LineInfo &line = hello_.lines[hello_.count];
    char *end = nullptr;
    const long number = std::strtol(name.c_str(), &end, 10);
    line.number = *end == '\0' ? static_cast<std::int32_t>(number) : kNoNumber + static_cast<int>(hello_.count);
    std::strncpy(line.name.data(), name.c_str(), line.name.size() - 1);
    hello_.count++;
}

void ReplayBoard::start(const std::string &folder)
{
    sim::CameraOptions camera;
    camera.big_endian = trace_.big_endian;
    auto problem = folder_.open(folder, camera, false);
    if (!problem && !folder_.write_sensor("40000\n"))
        problem = "cannot write the temperature of the board";
    if (!problem)
        problem = server_.open(folder_.gpio_socket(), folder_.spi_socket(0), folder_.spi_socket(1));
    if (problem)
        throw Failure(EXIT_REFUSED, "Board", "no board for the replay: " + printable(*problem));
    step();
    thread_ = std::thread([this] { server_.run(); });
}

std::vector<const ReplayEvent *> ReplayBoard::due()
{
    const std::lock_guard lock(mutex_);
    return std::exchange(due_, {});
}

ReplayBoard::State ReplayBoard::state()
{
    const std::lock_guard lock(mutex_);
    const bool finished = at_ == trace_.events.size();
    return {finished, difference_, at_, idle_reads_, finished ? nullptr : &trace_.events[at_]};
}

bool ReplayBoard::has_act_left()
{
    const std::lock_guard lock(mutex_);
    return std::any_of(trace_.events.begin() + static_cast<std::ptrdiff_t>(at_), trace_.events.end(),
                       [](const ReplayEvent &event) { return event.by_host() && !sim::is_status_read(event.line); });
}

void ReplayBoard::take_place(const ReplayEvent &event)
{
    if (event.line.kind == Kind::burst) { // a read that the host leaves out
        last_[event.line.port] = event.answer;
    } else if (event.line.kind == Kind::level) {
        for (std::size_t i = 0; i < hello_.count; ++i)
            if (event.line.name == hello_.lines[i].name.data())
                lines_.set(static_cast<sim::Line>(i), event.line.number != 0);
    } else {
        due_.push_back(&event);
    }
}

// Up to what the host has to do next, everything comes by itself.
void ReplayBoard::step()
{
    for (; at_ < trace_.events.size() && !trace_.events[at_].by_host(); ++at_)
        take_place(trace_.events[at_]);
    idle_reads_ = 0;
}

// The next thing that the host did besides reading; null when there is none.
const ReplayEvent *ReplayBoard::next_act()
{
    for (; at_ < trace_.events.size(); ++at_) {
        const ReplayEvent &event = trace_.events[at_];
        if (event.by_host() && !sim::is_status_read(event.line))
            return &event;
        take_place(event);
    }
    return nullptr;
}

void ReplayBoard::compare(const ReplayEvent *wanted, const sim::TraceLine &done)
{
    if (wanted == nullptr) // after its end
        return;
    const sim::TraceLine &line = wanted->line;
    const bool same = line.kind == done.kind && line.bytes == done.bytes && line.port == done.port &&
                      line.name == done.name && line.number == done.number;
    if (same) {
        at_++;
        step();
        return;
    }
    difference_ = wanted->place() + ": in the trace the driver sends \"" + wanted->words() + "\", now it sends \"" +
                  ReplayEvent{0, done, {}}.words() + "\"";
    if (wanted->words() == ReplayEvent{0, done, {}}.words())
        difference_ += ", in other bytes";
}

int ReplayBoard::drive(std::uint32_t line, bool high)
{
    const std::lock_guard lock(mutex_);
    if (line >= hello_.count)
        return -ENOENT;
    lines_.set(static_cast<sim::Line>(line), high);
    sim::TraceLine done;
    done.kind = Kind::level;
    done.from_host = true;
    done.name = hello_.lines[line].name.data();
    done.number = high ? 1 : 0;
    if (difference_.empty())
        compare(next_act(), done);
    return 0;
}

int ReplayBoard::read(std::uint32_t line)
{
    const std::lock_guard lock(mutex_);
    return line < hello_.count && lines_.shown(static_cast<sim::Line>(line)) ? 1 : 0;
}

sim::Fd ReplayBoard::open_edge(std::uint32_t line, int &slave)
{
    const std::lock_guard lock(mutex_);
    return line < hello_.count ? lines_.open_edge(static_cast<sim::Line>(line), slave) : sim::Fd();
}

void ReplayBoard::close_edge(int slave)
{
    const std::lock_guard lock(mutex_);
    lines_.close_edge(slave);
}

sim::Requests::Transferred ReplayBoard::give(const sim::TraceLine &answer, std::span<std::uint8_t> bytes) const
{
    std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
    if (answer.kind == Kind::error)
        return {-answer.number, 0};
    const std::size_t count = std::min(bytes.size(), answer.bytes.size());
    std::copy_n(answer.bytes.begin(), count, bytes.begin());
    return {static_cast<std::int32_t>(count), 0};
}

sim::Requests::Transferred ReplayBoard::transfer(unsigned port, const spidev_wire::Request &, std::uint32_t,
                                                 std::span<const std::uint8_t> host, std::span<std::uint8_t> answer)
{
    const std::lock_guard lock(mutex_);
    sim::TraceLine done;
    done.from_host = true;
    done.port = port;
    done.bytes.assign(host.begin(), host.end());
    const bool reads = sim::is_status_read(done);
    const bool is_over = !difference_.empty() || at_ == trace_.events.size();
    const ReplayEvent *wanted = is_over ? nullptr : reads ? &trace_.events[at_] : next_act();
    if (wanted != nullptr && wanted->line.kind == Kind::burst && wanted->line.port == port &&
        (!reads || sim::is_status_read(wanted->line)))
        last_[port] = wanted->answer;
    if (!reads) {
        if (!is_over)
            compare(wanted, done);
    } else if (wanted != nullptr && wanted->line.port == port && sim::is_status_read(wanted->line)) {
        at_++;
        step();
    } else {
        idle_reads_++;
    }
    sim::TraceLine nothing;
    nothing.bytes.assign(answer.size(), 0);
    const auto last = last_.find(port);
    return give(last != last_.end() ? last->second : nothing, answer);
}
