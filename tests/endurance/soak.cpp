// soak MINUTES [SEED]: random faults and requests, one round after another, for one ptzd that is never started anew;
// and whether what it holds grows.
#include "tests/campaign/classes.h"
#include "tests/campaign/rig.h"
#include "tests/endurance/page.h"
#include "tests/support/shared_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace {

constexpr double kRest = 1;       // camera seconds before a look
constexpr double kPatience = 400; // camera seconds for a recovery, on a machine that may be busy

constexpr std::array<const char *, 2> kRequests[] = {
    {"Move", "([('pan','absolute',30.0),('tilt','absolute',10.0)], 100.0, @a{sv} {})"},
    {"Move", "([('zoom','continuous',5.0)], 0.0, @a{sv} {})"},
    {"Stop", "()"},
    {"SetParameter", "('ImageSource','Sharpness',<80>)"},
    {"SetParameter", "('ImageSource','Sharpness',<50>)"},
    {"SetParameter", "('Limit','MinPan',<-90>)"},
    {"SetFocusMode", "('manual',)"},
    {"SetFocusMode", "('auto',)"},
    {"GetPosition", "()"},
    {"ListParameters", "('',)"},
    {"RunSpecialCommand", "('reset',)"},
};

// What is held, look for look.
struct Series {
    const char *name;
    double floor; // so much more at the end is nothing
    std::vector<double> values{};
};

// Of the second half: the slope of the line through it a minute, and whether that is above what it does besides.
bool grows(const Series &series, const std::vector<double> &minutes, std::string &line)
{
    const std::size_t from = minutes.size() / 2, count = minutes.size() - from;
    double x = 0, y = 0, xx = 0, xy = 0, rest = 0;
    for (std::size_t i = from; i < minutes.size(); ++i) {
        x += minutes[i] / static_cast<double>(count);
        y += series.values[i] / static_cast<double>(count);
    }
    for (std::size_t i = from; i < minutes.size(); ++i) {
        xx += std::pow(minutes[i] - x, 2);
        xy += (minutes[i] - x) * (series.values[i] - y);
    }
    const double slope = xy / xx;
    for (std::size_t i = from; i < minutes.size(); ++i)
        rest += std::pow(series.values[i] - y - slope * (minutes[i] - x), 2);
    const double noise = std::sqrt(rest / static_cast<double>(count));
    const bool red = slope * (minutes.back() - minutes[from]) > series.floor + 2 * noise;
    std::array<char, 100> text{};
    std::snprintf(text.data(), text.size(), "%s%s %+.2f (noise %.1f)%s", line.empty() ? "" : ", ", series.name, slope,
                  noise, red ? " GROWS" : "");
    line += text.data();
    return red;
}

class Soak {
  public:
    Soak(double minutes, unsigned seed) : minutes_(minutes), seed_(seed), random_(seed)
    {
        for (const FaultClass &fault : fault_classes()) {
            if (fault.where != Where::upgrades && (fault.wall_s == 0 || minutes >= 10))
                faults_.push_back(&fault);
        }
    }
    int run();

  private:
    template <typename List>
    auto &any(const List &list)
    {
        return list[std::uniform_int_distribution<std::size_t>(0, std::size(list) - 1)(random_)];
    }
    bool start();
    bool round();
    // Whether the camera runs, within so many camera seconds; a start that failed is not repeated by itself.
    bool runs(double patience);
    void look();

    const double minutes_;
    const unsigned seed_;
    std::mt19937 random_;
    std::vector<const FaultClass *> faults_;
    Rig rig_;
    TempFolder folder_;
    Page *page_ = map_page<Page>(folder_.file("page").c_str());
    std::string what_;
    unsigned requests_ = 0;
    std::vector<double> at_;
    Series series_[5] = {{"memory KiB", 128}, {"descriptors", 1}, {"threads", 1}, {"tasks", 1}, {"objects", 50}};
};

bool Soak::start()
{
    what_ = "start";
    if (!rig_.have_stopped().empty())
        return false;
    setenv(kPageVariable, folder_.file("page").c_str(), 1);
    setenv("LD_PRELOAD", PRELOAD_FILE, 1);
    rig_.begin_start();
    unsetenv("LD_PRELOAD");
    return runs(kPatience);
}

bool Soak::runs(double patience)
{
    const auto settled = [this] { return (rig_.state == 1 && rig_.link == "up") || rig_.state == 7 || rig_.dead(); };
    if (rig_.wait(patience, settled) && rig_.state == 7)
        rig_.bus().call("RunSpecialCommand", "('reset',)");
    return rig_.wait(patience, [this] { return rig_.state == 1 && rig_.link == "up"; }) && !rig_.dead();
}

bool Soak::round()
{
    static constexpr const char *kWhen[] = {" once", " for 1s", " forever"};
    const FaultClass &fault = *any(faults_);
    what_ = std::string(fault.fault) + any(kWhen);
    rig_.command("seed " + std::to_string(random_()));
    rig_.command("fault " + what_);
    if (fault.provoke != nullptr)
        rig_.command(fault.provoke);
    std::vector<ReplyPtr> replies;
    {
        const std::unique_ptr<Client> other = rig_.another_client(); // leaves, and may leave a move behind
        for (std::size_t left = random_() % 6; left > 0; --left) {
            const auto &[method, arguments] = any(kRequests);
            what_ += std::string(", ") + method;
            Client &by = random_() % 3 == 0 ? *other : rig_.bus();
            replies.push_back(by.send(method, arguments));
            rig_.pass(static_cast<double>(random_() % 8) / 10);
        }
        requests_ += static_cast<unsigned>(replies.size());
        rig_.pass(static_cast<double>(random_() % 20) / 10);
    }
    rig_.command("clear faults");
    const double patience = kPatience + fault.wall_s * Rig::kScale;
    const auto answered = [&] {
        return std::all_of(replies.begin(), replies.end(), [](const ReplyPtr &reply) { return reply->done; });
    };
    return rig_.wait(patience, answered) && runs(patience);
}

void Soak::look()
{
    rig_.pass(kRest);
    rig_.forget();
    const Holdings held = rig_.holdings();
    const double values[] = {static_cast<double>(held.memory_kib), static_cast<double>(held.descriptors),
                             static_cast<double>(held.threads), static_cast<double>(held.tasks),
                             static_cast<double>(page_->heap_blocks)};
    for (std::size_t i = 0; i < std::size(values); ++i)
        series_[i].values.push_back(values[i]);
    at_.push_back(rig_.now() / Rig::kScale / 60);
}

int Soak::run()
{
    std::printf("soak: seed %u\n", seed_);
    bool well = start();
    for (const double end = rig_.now() / Rig::kScale / 60 + minutes_; well && rig_.now() / Rig::kScale / 60 < end;) {
        well = round();
        if (well)
            look();
    }
    if (!well || at_.size() < 20) {
        std::printf("%s\nsoak: seed %u, round %zu: state %d, link %s after %s\n", rig_.logs().c_str(), seed_,
                    at_.size(), rig_.state, rig_.link.c_str(), what_.c_str());
        return 1;
    }
    std::string line;
    unsigned red = 0;
    for (const Series &series : series_)
        red += grows(series, at_, line) ? 1 : 0;
    std::printf("soak: seed %u, %g min, %zu faults, %u requests; a minute: %s; %s\n", seed_, minutes_, at_.size(),
                requests_, line.c_str(), red == 0 ? "nothing grows" : "red");
    return red == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const double minutes = argc > 1 ? std::atof(argv[1]) : 20;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : std::random_device()() % 100000;
    try {
        return Soak(minutes, seed).run();
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "soak: seed %u: %s\n", seed, problem.what());
        return 1;
    }
}
