// A board whose block does what a trace says, and which compares what a host does with it. The host may read the status
// more or less often than it did; everything else has to be as it was, and in that order.
#pragma once

#include "replay_trace.h"

#include "sim/board_folder.h"
#include "sim/lines.h"
#include "sim/server.h"

#include <mutex>
#include <optional>
#include <thread>

class ReplayBoard final : public sim::Requests {
  public:
    explicit ReplayBoard(const ReplayTrace &trace);
    ~ReplayBoard() override;

    // Serves hosts in the folder, where the configuration is: that of the trace, else the simulator's own. Throws
    // Failure.
    void start(const std::string &folder);

    // Requests, signals and the end, whose turn has come since the last call.
    std::vector<const ReplayEvent *> due();

    struct State {
        bool finished = false;             // all of the trace is done
        std::string difference;            // what the host did otherwise, in a sentence
        std::size_t progress = 0;          // events that are over
        std::size_t idle_reads = 0;        // of the status, since the last progress
        const ReplayEvent *next = nullptr; // what the host has to do
    };
    State state();
    // Whether the host still has something to do besides reading.
    bool has_act_left();

    int drive(std::uint32_t line, bool high) override;
    int claim(std::uint32_t) override { return 0; }
    int read(std::uint32_t line) override;
    sim::Fd open_edge(std::uint32_t line, int &slave) override;
    void close_edge(int slave) override;
    int lines_page() override { return lines_.page_fd(); }
    ugpio_wire::Hello hello() override { return hello_; }
    Transferred transfer(unsigned port, const spidev_wire::Request &request, std::uint32_t mode,
                         std::span<const std::uint8_t> host, std::span<std::uint8_t> answer) override;
    int set_up() override { return 0; }
    std::optional<std::int64_t> idle() override { return std::nullopt; }

  private:
    // All under the mutex.
    void add_line(const std::string &name);
    void step();
    void take_place(const ReplayEvent &event);
    const ReplayEvent *next_act();
    void compare(const ReplayEvent *wanted, const sim::TraceLine &done);
    Transferred give(const sim::TraceLine &answer, std::span<std::uint8_t> bytes) const;

    const ReplayTrace &trace_;
    std::mutex mutex_;
    sim::Lines lines_;
    ugpio_wire::Hello hello_{};
    std::size_t at_ = 0; // the event that is next
    std::size_t idle_reads_ = 0;
    std::string difference_;
    std::vector<const ReplayEvent *> due_;
    std::map<unsigned, sim::TraceLine> last_; // answers, by port
    sim::BoardFolder folder_;
    sim::Server server_{*this};
    std::thread thread_;
};
