#include "tests/campaign/trial.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kAnswerWall = 0.25; // seconds on the wall that count as at once
constexpr double kStandsAfter = 2;   // seconds: one to stand, one for the ways of three processes at this time scale
constexpr double kLinkTold = 1.6;
constexpr double kStrikes = 3;        // seconds in which a fault finds its occasion
constexpr double kState = 0.15;       // seconds for which a state that comes once is in force, and a bit
constexpr double kPolls = 30;         // status reads a second
constexpr unsigned kSpareThreads = 2; // of GLib's pools, which keep some

// Settings that change in the phase of parameters: first and other value on the bus and in the block.
struct Setting {
    const char *name;
    std::array<const char *, 2> value;
    const char *record;
    std::array<int, 2> in_block;
};
constexpr Setting kSettings[] = {
    {"Sharpness", {"50", "80"}, "Sharpness", {10, 15}},
    {"WDR", {"'off'", "'on'"}, "WDR", {0, 1}},
    {"ChromaSuppress", {"0", "3"}, "Chroma suppression", {0, 3}},
    {"Gamma", {"'standard'", "'straight'"}, "Gamma", {0, 1}},
};

class Trial {
  public:
    Trial(Rig &rig, const Cell &cell, std::uint64_t seed)
        : rig_(rig), cell_(cell), seed_(seed), restarts_(cell.phase == Phase::power_up || cell.phase == Phase::upgrade)
    {
    }
    ~Trial() { rig_.work = {}; }
    Trial(const Trial &) = delete;

    Outcome run();

  private:
    void require(bool holds, const std::string &what)
    {
        if (!holds && outcome_.wrong.empty())
            outcome_.wrong = what;
    }
    bool good() const { return outcome_.wrong.empty(); }
    double left() const { return std::max(0.0, (ended_ - rig_.now()) / rig_.patience + bound(cell_, Rig::kScale)); }

    void prepare();
    void enter_phase();
    void arm();
    void let_it_last();
    void check_what_was_told();
    void await_camera();
    void prove_move();
    void prove_stop();
    void prove_settings();
    void prove_upgrade();
    void prove_holdings();
    void prove_poll();

    void set_next();
    // The MoveDone of a move; empty: there was none yet.
    std::string end_of(unsigned id) const
    {
        const std::string begin = "(" + std::to_string(id) + ", ";
        const auto found = std::find_if(rig_.told.begin(), rig_.told.end(), [&](const Rig::Told &one) {
            return one.name == "MoveDone" && one.text.starts_with(begin);
        });
        return found == rig_.told.end() ? "" : found->text;
    }
    bool settings_are(const Rig::Settings &wanted) { return rig_.settings() == wanted; }

    Rig &rig_;
    const Cell cell_;
    const std::uint64_t seed_;
    const bool restarts_;
    Outcome outcome_;
    unsigned struck_before_ = 0;
    double armed_ = 0;
    double ended_ = 0;
    Holdings before_;
    std::unique_ptr<Client> other_;
    // Which value of each setting ptzd has acknowledged last.
    std::array<unsigned, std::size(kSettings)> acknowledged_{};
    std::size_t next_ = 0;
    ReplyPtr setting_;
};

std::string set_call(const Setting &setting, unsigned value)
{
    return std::string("('ImageSource', '") + setting.name + "', <" + setting.value[value] + ">)";
}

constexpr unsigned kFirstMove = 1;
constexpr unsigned kNextMove = 2;
constexpr unsigned kOthers = 3;

std::string move_call(unsigned id, const char *axis, const char *type, double value, double speed)
{
    return std::string("([('") + axis + "', '" + type + "', " + std::to_string(value) + ")], " + std::to_string(speed) +
           ", {'id': <uint32 " + std::to_string(id) + ">})";
}

void Trial::prepare()
{
    require((restarts_ ? rig_.have_stopped() : rig_.have_running()).empty(), "no clean beginning");
    if (!good())
        return;
    rig_.command("clear");
    rig_.command("clear offences");
    struck_before_ = rig_.strikes(cell_.fault->fault);
    rig_.command("seed " + std::to_string(seed_));
    if (!restarts_) {
        rig_.command("set tilt 0");
        before_ = rig_.holdings();
    }
    rig_.forget();
}

void Trial::enter_phase()
{
    switch (cell_.phase) {
    case Phase::power_up:
        arm();
        rig_.begin_start();
        return;
    case Phase::idle:
        break;
    case Phase::move:
        // One move that goes on by itself, one whose owner will leave.
        require(rig_.bus().call("Move", move_call(kFirstMove, "tilt", "absolute", 80, 2).c_str()).error.empty(),
                "the first move");
        other_ = rig_.another_client();
        require(other_->call("Move", move_call(kOthers, "pan", "continuous", 5, 0).c_str()).error.empty(),
                "the other's move");
        break;
    case Phase::params:
        rig_.work = [this] { set_next(); };
        break;
    case Phase::upgrade:
        if (cell_.fault->early)
            arm();
        rig_.begin_upgrade();
        if (cell_.fault->early)
            return;
        require(rig_.wait(60, [this] { return rig_.transfer_runs() || rig_.dead(); }), "no upgrade began");
        break;
    }
    arm();
    other_.reset();
}

void Trial::arm()
{
    static constexpr const char *kWhen[] = {" once", " for 1s", " forever"};
    rig_.command(std::string("fault ") + cell_.fault->fault + kWhen[static_cast<std::size_t>(cell_.duration)]);
    armed_ = rig_.now();
    if (cell_.fault->provoke != nullptr)
        rig_.command(cell_.fault->provoke);
}

// One setting after another, for as long as nothing else is to be done.
void Trial::set_next()
{
    if (setting_ != nullptr) {
        if (!setting_->done)
            return;
        // What was not acknowledged has its former value.
        if (setting_->error.empty())
            acknowledged_[next_] ^= 1U;
        else if (outcome_.told < 0)
            outcome_.told = rig_.now() - armed_;
        next_ = (next_ + 1) % std::size(kSettings);
        setting_.reset();
    }
    if (ended_ == 0)
        setting_ = rig_.bus().send("SetParameter", set_call(kSettings[next_], acknowledged_[next_] ^ 1U).c_str());
}

void Trial::let_it_last()
{
    const auto struck = [this] { return rig_.strikes(cell_.fault->fault) > struck_before_; };
    // What a start or an upgrade brings late has its occasion when they get there, at the latest when the camera runs.
    const auto met = [&] {
        return struck() || rig_.dead() || (restarts_ && rig_.state == 1 && rig_.now() > armed_ + 1);
    };
    if (cell_.duration == Duration::second)
        rig_.pass(1);
    else
        rig_.wait(restarts_ ? bound(cell_, Rig::kScale) : kStrikes, met);
    outcome_.met = struck();
    rig_.pass(cell_.duration == Duration::cleared ? hold(cell_.phase) : kState);
    // Where a second is over before the occasion comes, there is nothing to find.
    require(outcome_.met || (restarts_ && cell_.duration == Duration::second), "the fault found no occasion");
    rig_.command("clear faults");
    ended_ = rig_.now();
}

void Trial::check_what_was_told()
{
    static constexpr const char *kTellings[] = {"LinkChanged('down'", "Event(", "StateChanged(7", "StateChanged(2",
                                                "StateChanged(3"};
    double link_told = -1;
    for (const auto &[at, name, text] : rig_.told) {
        const std::string line = name + text;
        const bool tells = std::any_of(std::begin(kTellings), std::end(kTellings),
                                       [&](const char *what) { return line.starts_with(what); });
        const bool of_a_start = line.find("Cam error none") != std::string::npos;
        const bool of_a_move = name == "MoveDone" && (text.find("'not taken'") != std::string::npos ||
                                                      text.find("'link lost'") != std::string::npos);
        if (((tells && !of_a_start) || of_a_move) && at > armed_ && (outcome_.told < 0 || at - armed_ < outcome_.told))
            outcome_.told = at - armed_;
        if (link_told < 0 && line.starts_with(kTellings[0]))
            link_told = at - armed_;
    }
    if (cell_.fault->outage && cell_.duration == Duration::cleared && !restarts_)
        require(link_told >= 0 && link_told <= kLinkTold * rig_.patience + rig_.stalled * Rig::kScale,
                "link told down after " + std::to_string(link_told) + " s");
    require(rig_.lie.empty() || cell_.fault->wall_s > 0, rig_.lie); // the block is not asked while the driver waits
    outcome_.answered = rig_.slowest_answer;
    require(rig_.slowest_answer <= kAnswerWall * rig_.patience + 2 * rig_.stalled,
            "GetState answered after " + std::to_string(rig_.slowest_answer * 1000) + " ms");
}

void Trial::await_camera()
{
    if (cell_.phase == Phase::move) {
        const auto stands = [this] { return rig_.value("PanMoving") == 0; };
        require(rig_.wait(kStandsAfter + cell_.fault->lasts_s, stands), "a move without an owner goes on");
        require(rig_.wait(left(), [this] { return !end_of(kFirstMove).empty(); }), "no end of the first move");
        require(end_of(kFirstMove).find("true,") == std::string::npos || rig_.value("Tilt") > 79.9,
                "the first move was not reached: " + end_of(kFirstMove));
    }
    const bool runs = rig_.wait(left(), [this] { return (rig_.state == 1 && rig_.link == "up") || rig_.dead(); });
    require(!rig_.dead(), "ptzd has ended");
    require(runs, "state " + std::to_string(rig_.state) + ", link " + rig_.link);
}

void Trial::prove_move()
{
    const double target = rig_.value("Pan") > 0 ? -8 : 8;
    const ReplyPtr reply = rig_.bus().send("Move", move_call(kNextMove, "pan", "absolute", target, 100).c_str());
    require(rig_.wait(left(), [&] { return reply->done; }), "no answer to the next move");
    if (good())
        require(reply->error.empty(), "the next move: " + reply->said());
    if (!good())
        return;
    std::string end;
    const bool ended = rig_.wait(left(), [&] { return !(end = end_of(kNextMove)).empty(); });
    require(ended, "no end of the next move; pan at " + std::to_string(rig_.value("Pan")));
    require(end.find("true, 'reached'") != std::string::npos, "the next move: " + end);
    const double pan = rig_.value("Pan");
    require(std::fabs(pan - target) < 0.05, "the next move was reached at " + std::to_string(pan));
    outcome_.back = rig_.now() - ended_;
}

void Trial::prove_stop()
{
    const std::unique_ptr<Client> client = rig_.another_client();
    require(client->call("Move", move_call(kOthers, "tilt", "continuous", 5, 0).c_str()).error.empty(),
            "the move to stop");
    const Reply stop = client->call("Stop");
    require(stop.error.empty(), "Stop: " + stop.said());
    const double at = rig_.value("Tilt");
    rig_.pass(0.3);
    require(rig_.value("TiltMoving") == 0 && rig_.value("Tilt") == at, "moves after a stop");
}

void Trial::prove_settings()
{
    static Rig::Settings reference; // as a clean start leaves them
    require(setting_ == nullptr || rig_.wait(left(), [this] { return setting_ == nullptr; }), "no answer to a setting");
    if (reference.empty()) {
        Rig rig(rig_.patience); // another one, which has met no fault
        if (rig.have_running().empty()) {
            rig.bus().call("Move", move_call(kNextMove, "pan", "absolute", 8, 100).c_str()); // brings the focus mode
            rig.pass(3);
        }
        if (rig.state == 1)
            reference = rig.settings();
    }
    Rig::Settings wanted = reference;
    for (std::size_t i = 0; i < std::size(kSettings); ++i) {
        const Setting &setting = kSettings[i];
        wanted[setting.record][0] = setting.in_block[acknowledged_[i]];
        const Reply kept =
            rig_.bus().call("GetParameter", ("('ImageSource', '" + std::string(setting.name) + "')").c_str());
        require(kept.said() == "(<" + std::string(setting.value[acknowledged_[i]]) + ">,)",
                std::string(setting.name) + " on the bus: " + kept.said());
    }
    if (rig_.wait(left(), [&] { return settings_are(wanted); }))
        return;
    for (const auto &[record, values] : rig_.settings()) {
        if (values != wanted[record])
            require(false, record + " is " + std::to_string(values[0]) + " in the block, not " +
                               std::to_string(wanted[record][0]));
    }
}

void Trial::prove_upgrade()
{
    const std::string status = rig_.bus().call("GetStatus").text;
    const bool says_done = status.find("'result': <'done'>") != std::string::npos;
    require((rig_.value("Firmware") == Rig::kNewFirmware) == says_done, "the upgrade's result is not what happened");
}

void Trial::prove_holdings()
{
    Holdings held;
    const auto given_back = [&] {
        held = rig_.holdings();
        return held.descriptors <= before_.descriptors && held.threads <= before_.threads + kSpareThreads &&
               held.subscriptions <= before_.subscriptions;
    };
    const bool all = rig_.wait(30, given_back);
    const auto change = [](auto from, auto to) { return std::to_string(from) + " to " + std::to_string(to); };
    require(all, "descriptors " + change(before_.descriptors, held.descriptors) + ", threads " +
                     change(before_.threads, held.threads) + ", subscriptions " +
                     change(before_.subscriptions, held.subscriptions));
}

// The request line rises once a burst: a fault that does nothing else counts them, and they are those of one status
// poll.
void Trial::prove_poll()
{
    double rate = 0;
    const double least = kPolls / 3 / rig_.patience;
    for (int look = 0; look < 3 && (rate < least || rate > kPolls * 1.5); ++look) {
        const unsigned before = rig_.strikes("delay-edge");
        rig_.command("fault delay-edge 0us forever");
        const double from = rig_.now();
        rig_.pass(1);
        rate = (rig_.strikes("delay-edge") - before) / (rig_.now() - from);
        rig_.command("clear faults");
    }
    require(rate > least && rate < kPolls * 1.5, std::to_string(rate) + " bursts a second of a camera that rests");
}

Outcome Trial::run()
{
    const std::vector<std::pair<bool, void (Trial::*)()>> steps = {
        {true, &Trial::prepare},
        {true, &Trial::enter_phase},
        {true, &Trial::let_it_last},
        {true, &Trial::await_camera},
        {true, &Trial::prove_move},
        {true, &Trial::check_what_was_told},
        {true, &Trial::prove_settings},
        {true, &Trial::prove_stop},
        {!restarts_, &Trial::prove_holdings},
        {true, &Trial::prove_poll},
        {cell_.phase == Phase::upgrade, &Trial::prove_upgrade},
    };
    for (const auto &[wanted, step] : steps) {
        if (wanted && good())
            (this->*step)();
    }
    if (const std::string offences = good() ? rig_.offences(cell_.fault->offences) : ""; !offences.empty())
        outcome_.wrong = "offences: " + offences;
    if (good() && cell_.phase == Phase::params) // as the next cell expects them
        for (const Setting &setting : kSettings)
            require(rig_.bus().call("SetParameter", set_call(setting, 0).c_str()).error.empty(),
                    "taking settings back");
    if (good() && restarts_)
        outcome_.wrong = rig_.have_stopped();
    return outcome_;
}

} // namespace

Outcome try_cell(Rig &rig, const Cell &cell, std::uint64_t seed)
{
    return Trial(rig, cell, seed).run();
}
