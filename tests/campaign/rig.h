// One simulated board with its bus, and ptzd on it: what a worker of the campaign runs its cells on, one after another.
#pragma once

#include "tests/scenario/system_fixture.h"

#include <map>
#include <vector>

// How many of each thing ptzd holds.
struct Holdings {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    unsigned subscriptions = 0;
    std::size_t memory_kib = 0;
    unsigned tasks = 0; // of its command thread
};

class Rig : public SystemTest {
  public:
    using Settings = std::map<std::string, std::vector<int>>;
    static constexpr double kScale = 20;
    static constexpr unsigned kNewFirmware = 0x01020304;

    const double patience; // by what all bounds are multiplied, on a machine that has other things to do

    explicit Rig(double bounds_times = 1);
    ~Rig() override;
    void TestBody() override {}

    // Camera seconds, as the simulator and ptzd count them.
    double now() const { return static_cast<double>(g_get_monotonic_time()) / 1e6 * kScale; }
    // Serves the loop until the condition holds, for that many camera seconds at most, with patience; whether it does.
    bool wait(double seconds, const std::function<bool()> &condition)
    {
        return wait_exactly(seconds * patience, condition);
    }
    void pass(double seconds)
    {
        wait_exactly(seconds, [] { return false; });
    }

    // Leaves nothing of what was, and has a board without ptzd.
    void renew();
    // Has ptzd running, or not; what was wrong with that, or nothing.
    std::string have_running();
    std::string have_stopped();
    void begin_start();   // starts ptzd, does not wait
    void begin_upgrade(); // the same with a firmware image that it will want
    bool dead() const { return ptzd == nullptr || ptzd->ended(); }

    void command(const std::string &line) { sim_command(line); }
    double value(const char *what) { return sim_value(what); }
    unsigned strikes(const std::string &fault) { return sim_counts("Faults")[fault.substr(0, fault.find(' '))]; }
    std::string offences(const std::string &but); // those that `but` does not name
    Settings settings();                          // of the block, without what moves change
    Holdings holdings();
    bool transfer_runs() const { return sim->output().find("firmware transfer", transfer_from_) != std::string::npos; }
    // What both programs have printed, and what was told.
    std::string logs() const;
    Client &bus() { return client; }
    std::unique_ptr<Client> another_client() const { return std::make_unique<Client>(address()); }

    // What ptzd has told, since forget().
    struct Told {
        double at;
        std::string name;
        std::string text;
    };
    std::vector<Told> told;
    int state = -1;
    std::string link;
    double slowest_answer = 0; // to GetState and GetStatus, seconds on the wall
    double stalled = 0;        // the longest time, seconds on the wall, that the machine has kept this process waiting
    std::string lie;           // an age that the link does not go with
    void forget();

    std::function<void()> work; // done again and again while time passes

  private:
    bool wait_exactly(double seconds, const std::function<bool()> &condition);
    void look();
    void take_status(const std::string &text);

    guint subscription_ = 0;
    guint timer_ = 0;
    ReplyPtr asked_;
    gint64 asked_at_ = 0;
    gint64 looked_at_ = 0;
    bool asks_status_ = false;
    std::size_t transfer_from_ = 0;
};
