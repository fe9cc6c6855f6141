// Settings and moves where the disk fails, the clock jumps, or the process is stopped or killed.
#include "tests/endurance/page.h"
#include "tests/scenario/system_fixture.h"
#include "tests/support/machine.h"
#include "tests/support/shared_page.h"

#include <csignal>
#include <gmock/gmock.h>
#include <random>
#include <sched.h>
#include <set>
#include <sys/mount.h>
#include <sys/resource.h>

namespace {

class Endurance : public SystemTest {
  protected:
    ReplyPtr send_value(const std::string &param, int value)
    {
        return client.send("SetParameter", ("(" + param + ",<" + std::to_string(value) + ">)").c_str());
    }
    Reply set(const std::string &param, int value) { return Client::wait(send_value(param, value)); }
    std::string get(const std::string &param)
    {
        return client.call("GetParameter", ("(" + param + ")").c_str()).said();
    }
    void expect_all_well(double tilt)
    {
        const std::string move = "([('tilt','absolute'," + std::to_string(tilt) + ")], 100.0, @a{sv} {})";
        EXPECT_EQ(client.call("Move", move.c_str()).said(), "()");
        await_sim("Tilt", tilt, 0.1);
        run_until([this] {
            const std::string status = client.call("GetStatus").text;
            return status.find("'link': <'up'>") != std::string::npos &&
                   status.find("'resets': <uint32 0>") != std::string::npos;
        });
        EXPECT_EQ(sim_counts("Offences"), Counts{});
    }
    void kill_ptzd()
    {
        ptzd->signal(SIGKILL);
        ptzd->wait();
    }
};

TEST_F(Endurance, AHundredKillsLoseNoAcknowledgedSettingAndLeaveNothing)
{
    start_sim();
    sim.reset(); // a start that fails at once; settings are set all the same
    const std::string params[] = {"'Limit','MinPan'", "'Limit','MaxPan'", "'Limit','MinTilt'", "'UserAdv','MoveSpeed'"};
    std::map<std::string, std::set<std::string>> possible; // what is acknowledged, and what came after it
    std::mt19937 random(1);
    int acknowledged = 0, next = 0;
    for (int kill = 0; kill < 100; ++kill) {
        start_ptzd();
        run_until([&] { return get(params[0]).starts_with("(<"); });
        for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
            EXPECT_FALSE(entry.path().filename().string().starts_with("parameters.conf.")) << entry.path();
        std::map<std::string, std::pair<ReplyPtr, std::string>> calls;
        const auto take_answers = [&] {
            for (auto &[param, call] : calls) {
                const auto &[reply, value] = call;
                if (reply == nullptr || !reply->done)
                    continue;
                if (reply->error.empty()) {
                    possible[param] = {value};
                    ++acknowledged;
                }
                call.first.reset();
            }
        };
        for (const std::string &param : params) {
            const std::string value = get(param);
            EXPECT_TRUE(kill == 0 || possible[param].contains(value)) << param << value << " after kill " << kill;
            possible[param] = {value};
            calls[param] = {};
        }
        const gint64 end = g_get_monotonic_time() + std::uniform_int_distribution(0, 20000 * TIME_SLOWER)(random);
        run_until([&] {
            take_answers();
            for (auto &[param, call] : calls) {
                if (call.first != nullptr)
                    continue;
                call = {send_value(param, next), "(<" + std::to_string(next) + ">,)"};
                possible[param].insert(call.second);
                next = (next + 1) % 80;
            }
            return g_get_monotonic_time() > end;
        });
        kill_ptzd();
        run_until([&] {
            return std::all_of(calls.begin(), calls.end(), [](const auto &call) { return call.second.first->done; });
        });
        take_answers();
        EXPECT_EQ(ptzd->output().find("not used"), std::string::npos) << ptzd->output();
    }
    EXPECT_GT(acknowledged, 100 / TIME_SLOWER);
}

// A disk that can be full or read-only: its own where the test may mount one, else what limits and rights give.
class Disk {
  public:
    explicit Disk(std::string path) : path_(std::move(path))
    {
        std::filesystem::create_directory(path_);
        mounted_ = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("none", path_.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~Disk()
    {
        umount2(path_.c_str(), MNT_DETACH);
        std::filesystem::remove_all(path_);
    }
    Disk(const Disk &) = delete;

    bool can_be_protected() const { return mounted_ || geteuid() != 0; }
    static void fill(const Disk &disk, const Process &ptzd, bool full)
    {
        const rlimit size{full ? 0 : RLIM_INFINITY, RLIM_INFINITY};
        if (!disk.mounted_)
            prlimit(std::stoi(ptzd.pid()), RLIMIT_FSIZE, &size, nullptr);
        else if (full)
            std::ofstream(disk.path_ + "/filler") << std::string(1000000, 'x');
        else
            std::filesystem::remove(disk.path_ + "/filler");
    }
    static void protect(const Disk &disk, const Process &, bool only_read)
    {
        if (disk.mounted_)
            mount("none", disk.path_.c_str(), nullptr, MS_REMOUNT | (only_read ? MS_RDONLY : 0), nullptr);
        else
            chmod((disk.path_ + "/state").c_str(), only_read ? 0500 : 0700);
    }

  private:
    const std::string path_;
    bool mounted_;
};

TEST_F(Endurance, OnADiskThatIsFullOrReadOnlyAValueIsInForceAndSaidNotToBeKept)
{
    const std::string min_pan = "'Limit','MinPan'", max_pan = "'Limit','MaxPan'";
    start_sim();
    sim.reset();
    for (const auto &spoil : {&Disk::fill, &Disk::protect}) {
        const Disk disk(folder.file("disk"));
        if (!disk.can_be_protected() && spoil == &Disk::protect)
            GTEST_SKIP() << "root writes everywhere, and may not mount here";
        const auto start = [&] {
            start_ptzd({"--state-dir", folder.file("disk/state")});
            run_until([&] { return get(min_pan).starts_with("(<"); });
        };
        start();
        EXPECT_EQ(set(min_pan, -90).said(), "()");
        spoil(disk, *ptzd, true);
        EXPECT_THAT(set(max_pan, 90).said(), testing::StartsWith("NotKept: Limit.MaxPan has its new value"));
        EXPECT_EQ(get(max_pan), "(<90>,)");
        spoil(disk, *ptzd, false);
        EXPECT_EQ(set(max_pan, 90).said(), "()"); // the same again
        spoil(disk, *ptzd, true);
        EXPECT_EQ(set(min_pan, -80).error, "NotKept");
        kill_ptzd();
        start();
        EXPECT_EQ(get(min_pan) + get(max_pan), "(<-90>,)(<90>,)");
        EXPECT_EQ(logged("not used"), 0u);
        spoil(disk, *ptzd, false);
        kill_ptzd();
        const std::filesystem::directory_iterator files(folder.file("disk/state"));
        EXPECT_EQ(std::distance(begin(files), end(files)), 1);
    }
}

TEST_F(Endurance, AProcessThatWasStoppedGoesOnAndStopsWhatHasLostItsOwner)
{
    start_sim();
    start_ptzd({"--link-timeout", "2"}); // less than it is stopped for
    await_state(1);
    auto owner = std::make_unique<Client>(address());
    EXPECT_EQ(owner->call("Move", "([('pan','continuous',0.5)], 0.0, @a{sv} {})").said(), "()");
    ptzd->signal(SIGSTOP);
    owner.reset();
    const double stopped = sim_value("Time");
    run_until([&] { return sim_value("Time") > stopped + 3; });
    EXPECT_EQ(sim_value("PanMoving"), 1);
    ptzd->signal(SIGCONT);
    await_sim("PanMoving", 0, 0);
    EXPECT_LT(sim_value("Pan"), 30); // far from its end
    expect_all_well(10);
}

TEST_F(Endurance, AClockThatJumpsByMonthsChangesNothing)
{
#ifndef PRELOAD_FILE
    GTEST_SKIP() << "the sanitizer's own library has to come first";
#else
    Page *page = map_page<Page>(folder.file("page").c_str());
    setenv(kPageVariable, folder.file("page").c_str(), 1);
    setenv("LD_PRELOAD", PRELOAD_FILE, 1);
    start_all();
    unsetenv("LD_PRELOAD");
    double tilt = 0;
    for (const int days : {100, -100, 0}) { // the camera's time runs faster: years, which 32 bits have to hold
        EXPECT_EQ(client.call("Move", "([('pan','absolute',90.0)], 50.0, @a{sv} {})").said(), "()");
        page->clock_step_s = std::int64_t{days} * 86400;
        sim_command("set status-bit lens 7 on"); // which the driver tells with the date
        const std::time_t now = std::time(nullptr) + static_cast<std::time_t>(page->clock_step_s * std::stoi(scale()));
        const std::string year = " " + std::to_string(1900 + std::gmtime(&now)->tm_year);
        run_until([&] { return client.call("GetStatus").text.find(year) != std::string::npos; });
        sim_command("set status-bit lens 7 auto");
        expect_all_well(tilt += 10);
        await_sim("Pan", 90, 0.1);
        EXPECT_EQ(set("'Limit','MinTilt'", days / 100).said(), "()");
        sim_command("set pan 0");
    }
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
#endif
}

} // namespace
