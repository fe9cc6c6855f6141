// Each system call of ptzd fails once, in a start, a move, a parameter, a stop and an end: what it tells then, and that
// the camera works afterwards. Signals that come a thousand times a second change nothing, nor do more descriptors
// than select() can tell.
//
// A place that calls fails with each error that its call can have: with the first at its first call of the step, with
// the others halfway through as many as a good step makes. A place is called up to thousands of times in a start,
// nearly all of them looks for an answer that is not there yet; with CALLS=all (`make calls`) it fails at call 1, 2, 3,
// 5, 8, 13 and so on up to their number.
#include "tests/campaign/rig.h"
#include "tests/shim/page.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <thread>

namespace {

constexpr double kHang = 30 * Rig::kScale; // seconds of the camera: half a minute on the wall
constexpr unsigned kFirst = 1, kNext = 2;  // moves

struct Cell {
    std::uint32_t site = 0;
    std::uint32_t nth = 0; // 0: none
    int error = 0;
};

class Calls : public Rig {
  protected:
    Calls()
    {
        const std::string file = page_folder_.file("page");
        const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_EQ(ftruncate(fd, sizeof(shim::Page)), 0);
        void *memory = mmap(nullptr, sizeof(shim::Page), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        close(fd);
        g_assert_true(memory != MAP_FAILED);
        page = static_cast<shim::Page *>(memory);
        // The sanitizer's runtime would rather be the first library, but can do without.
        const char *options = std::getenv("ASAN_OPTIONS");
        ptzd_variables = {{"LD_PRELOAD", SHIM_FILE},
                          {shim::kVariable, file},
                          {"ASAN_OPTIONS", std::string(options ? options : "") + ":verify_asan_link_order=0"}};
        have_board();
    }
    ~Calls() override { munmap(page, sizeof(shim::Page)); }

    void have_board()
    {
        renew();
        command("fault delay-edge 2ms forever"); // every burst waits for its edge
        sharpness_ = 50;
    }

    bool runs() const { return state == 1 && link == "up"; }
    bool failed() const { return state == 7; }
    bool interrupted() const { return page->struck > 0 && page->error == EINTR; }

    // The steps. Each is over when it returns, and has told what came of it.
    void start()
    {
        begin_start({"--start-timeout", page->nth > 0 ? "10" : "0"});
        require(wait(kHang, [this] { return runs() || failed() || dead(); }), "hangs in its start");
        require(runs() || !interrupted(), "an interrupted call is a failure");
    }
    void move() { require_told(move_to(kFirst)); }
    void set()
    {
        const int wanted = sharpness_ == 50 ? 80 : 50;
        const Reply reply =
            bus().call("SetParameter", ("('ImageSource', 'Sharpness', <" + std::to_string(wanted) + ">)").c_str());
        require_told(reply);
        kept_ = reply.error.empty();
        if (kept_ || reply.error == "NotKept")
            sharpness_ = wanted;
        else if (reply.error == "NoReply" || reply.error == "ServiceUnknown")
            sharpness_ = 0;
    }
    void stop() { require_told(bus().call("Stop")); }
    void end()
    {
        ptzd->signal(SIGTERM);
        require(wait(kHang, [this] { return dead(); }), "hangs in its end");
    }

    struct Step {
        const char *name;
        void (Calls::*run)();
    };
    static constexpr Step kStart{"start", &Calls::start}, kMove{"move", &Calls::move}, kSet{"parameter", &Calls::set},
        kStop{"stop", &Calls::stop}, kEnd{"end", &Calls::end};

    // Runs the step with that call failing, if any, and sees to what it leaves behind.
    void run(const Step &step, const Cell &cell = {})
    {
        wrong_.clear();
        forget();
        if (step.run == kStop.run)
            bus().call("Move", "([('tilt', 'continuous', 5.0)], 0.0, @a{sv} {})");
        before_ = dead() ? Holdings{} : holdings();
        arm(cell);
        const double began = now();
        (this->*step.run)();
        page->armed = 0;
        slowest_ = std::max(slowest_, now() - began);
        met_ += page->struck;
        page->nth = 0;
        if (step.run == kEnd.run)
            check_end();
        else
            check_life(step.run == kStart.run);
        // Who gives up an answer of the board's cannot know whether the burst is over.
        const std::string site = page->sites[cell.site].name.data();
        const bool gives_up = site.starts_with("recvmsg ptzd") || site.starts_with("ppoll ptzd");
        const std::string offence = offences(gives_up ? "burst-without-request" : "");
        require(offence.empty(), "offences: " + offence);
        EXPECT_EQ(wrong_, "") << step.name << ": " << site << ", call " << cell.nth << ", " << g_strerror(cell.error)
                              << "\n"
                              << logs();
    }

    // The cells of the step that was the last one, a good one.
    std::vector<Cell> cells() const
    {
        const bool all = g_strcmp0(std::getenv("CALLS"), "all") == 0;
        std::vector<Cell> found;
        for (std::uint32_t site = 0; site < page->used; ++site) {
            const std::uint32_t calls = page->sites[site].calls;
            for (std::uint32_t nth = 1; const int error : page->sites[site].errors) {
                if (error == 0 || calls == 0)
                    continue;
                for (std::uint32_t one = 1, next = 2; all && one <= calls; next += std::exchange(one, next))
                    found.push_back({site, one, error});
                if (!all)
                    found.push_back({site, std::exchange(nth, (calls + 1) / 2), error});
            }
        }
        return found;
    }

    void require(bool holds, const std::string &what)
    {
        if (!holds && wrong_.empty())
            wrong_ = what;
    }

    shim::Page *page = nullptr;
    unsigned met_ = 0;
    double slowest_ = 0;
    std::string wrong_;

    // The answer to a move, or how the move ended.
    Reply move_to(unsigned id)
    {
        const std::string target = value("Pan") > 0 ? "-8.0" : "8.0";
        const std::string options = ", {'id': <uint32 " + std::to_string(id) + ">})";
        const Reply reply = bus().call("Move", ("([('pan', 'absolute', " + target + ")], 100.0" + options).c_str());
        if (!reply.error.empty())
            return reply;
        std::string end;
        const auto ended = [&] {
            for (const Told &one : told)
                if (one.name == "MoveDone" && one.text.starts_with("(" + std::to_string(id) + ","))
                    end = one.text;
            return !end.empty() || dead();
        };
        require(wait(kHang, ended), "a move without an end");
        return {true, end.find("true, 'reached'") != std::string::npos ? "" : "NotReached", end};
    }

  private:
    void arm(const Cell &cell)
    {
        command("clear offences");
        for (shim::Site &site : page->sites)
            site.calls = 0;
        page->struck = 0;
        page->site = cell.site;
        page->error = cell.error;
        page->nth = cell.nth;
        page->armed = 1;
    }
    void require_told(const Reply &reply)
    {
        require(reply.error.empty() || !reply.text.empty() || dead(), "fails without a word");
        require(reply.error.empty() || !interrupted(), "an interrupted call is a failure: " + reply.said());
    }
    // Brings back what did not get over it: a start that failed is repeated; a process that ended by itself, or in
    // order because that did not help, is started again.
    void recover()
    {
        if (!dead())
            require(wait(kHang, [this] { return runs() || failed() || dead(); }), "does not run, and has not failed");
        if (failed() && !dead()) {
            require(bus().call("GetStatus").text.find("'failure': <'") != std::string::npos, "fails without a word");
            if (bus().call("RunSpecialCommand", "('reset',)").error.empty())
                wait(kHang, [this] { return runs(); });
        }
        if (runs() && !dead())
            return;
        before_ = {};
        const bool by_itself = dead();
        if (!by_itself)
            end();
        const int status = ptzd->wait();
        require(by_itself ? status > 0 && status <= 3 && ptzd->output().find("ptzd[") != std::string::npos
                          : status == 0,
                "ends with status " + std::to_string(status));
        if (!kept_)
            sharpness_ = 0; // whatever is in the file
        start();
    }
    void check_life(bool began)
    {
        // Without the bus the process goes on for a while, and ends then.
        do {
            recover();
            Reply moved;
            const auto reached = [&] { return dead() || (moved = move_to(kNext)).error.empty(); };
            require(wait(kHang, reached), "the next move: " + moved.said());
        } while (dead() && wrong_.empty());
        if (!wrong_.empty())
            return;
        const auto given_back = [this] { return holdings().descriptors <= before_.descriptors; };
        require(before_.descriptors == 0 || wait(kHang, given_back), "descriptors are left open");
        check_parameter();
        if (began) {
            check_tasks();
            check_lock();
        }
        check_board();
    }
    void check_parameter()
    {
        const std::string text = bus().call("GetParameter", "('ImageSource', 'Sharpness')").text;
        const bool is_80 = text == "(<80>,)";
        require(is_80 || text == "(<50>,)", "the parameter is " + text);
        require(sharpness_ == 0 || is_80 == (sharpness_ == 80), "the parameter is not as acknowledged");
        sharpness_ = is_80 ? 80 : 50;
        const bool in_file = folder.read("parameters.conf").find("Sharpness=80") != std::string::npos;
        require(!kept_ || in_file == is_80, "the parameter is not kept");
        require(wait(kHang, [&] { return settings()["Sharpness"][0] == (is_80 ? 15 : 10); }), "the block has another");
    }
    // Each burst waits for an edge that is late, which is counted: some 30 a second, when the status is read by one
    // task.
    void check_tasks()
    {
        double rate = 0;
        for (int look = 0; look < 3 && (rate < 5 || rate > 45); ++look) {
            const double before = strikes("delay-edge"), from = now();
            pass(0.5);
            rate = (strikes("delay-edge") - before) / (now() - from);
        }
        require(rate > 5 && rate < 45, std::to_string(rate) + " bursts a second at rest");
    }
    void check_lock()
    {
        const int fd = open(folder.file("ptzd-1-0.lock").c_str(), O_RDWR | O_CLOEXEC);
        require(fd < 0 || flock(fd, LOCK_EX | LOCK_NB) != 0 || logged("Nothing keeps a second PTZ service") == 1,
                "does not keep others from the board");
        close(fd);
    }
    void check_end()
    {
        const int status = ptzd->wait();
        require(status == 0 || (status <= 3 && ptzd->output().find("ptzd[") != std::string::npos),
                "ends with status " + std::to_string(status));
        require(status == 0 || !interrupted(), "an interrupted call is a failure");
        require(sim_state() == "off" || ptzd->output().find("Fatal error, failed") != std::string::npos,
                "ends without a word, the block " + sim_state());
        check_board();
    }
    void check_board()
    {
        for (const auto &entry : std::filesystem::directory_iterator(folder.path())) {
            const std::string name = entry.path().filename();
            require(name.find(".conf.") == std::string::npos, "leaves " + name);
        }
    }

    TempFolder page_folder_;
    Holdings before_;
    int sharpness_ = 50; // 0: not known
    bool kept_ = true;
};

TEST_F(Calls, EachThatFailsIsToldOrSurvived)
{
    run(kStart); // the first one of a board is longer than the others
    run(kSet);
    run(kEnd);
    std::vector<Cell> all[5];
    const Step steps[] = {kStart, kMove, kSet, kStop, kEnd};
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        run(steps[i]);
        all[i] = cells();
    }
    const auto &[of_start, of_move, of_set, of_stop, of_end] = all;
    std::size_t count = 0;
    for (std::size_t i = 0; i < std::max(of_start.size(), of_end.size()); ++i) {
        run(kStart, i < of_start.size() ? of_start[i] : Cell{});
        run(kEnd, i < of_end.size() ? of_end[i] : Cell{});
    }
    run(kStart);
    for (std::size_t i = 1; i < 4; ++i)
        for (const Cell &cell : all[i])
            run(steps[i], cell);
    for (const std::vector<Cell> &cells : all)
        count += cells.size();
    std::cout << count << " calls, " << met_ << " came and failed; the longest step took " << slowest_ / kScale
              << " s\n";
    EXPECT_GT(met_, count / 2);
}

// What comes of a life in which signals interrupt every thread a thousand times a second, or none do.
TEST_F(Calls, SignalsChangeNothing)
{
    std::string lives[2];
    for (const bool storm : {false, true}) {
        std::atomic<bool> over = false;
        std::thread signals;
        page->loaded = 0;
        if (storm)
            signals = std::thread([&] {
                for (auto next = std::chrono::steady_clock::now(); !over; std::this_thread::sleep_until(next)) {
                    next += std::chrono::milliseconds(1);
                    const auto process = static_cast<pid_t>(page->loaded.load());
                    std::error_code gone;
                    for (const auto &task :
                         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone))
                        syscall(SYS_tgkill, process, std::atoi(task.path().filename().c_str()), SIGUSR1);
                }
            });
        std::string &life = lives[storm];
        start();
        for (int round = 0; round < 5; ++round) {
            life += move_to(kNext + static_cast<unsigned>(round)).said() + "\n";
            set();
            stop();
        }
        life += bus().call("GetParameter", "('ImageSource', 'Sharpness')").said() + "\n";
        end();
        over = true;
        if (storm)
            signals.join();
        EXPECT_EQ(ptzd->wait(), 0) << logs();
        EXPECT_EQ(page->signals > 100, storm);
        for (const auto &[record, times] : sim_counts("Records")) // a stop is given until the camera stands
            life += record + (record.ends_with(" stop") ? "" : " " + std::to_string(times)) + "\n";
        life += offences("");
        have_board();
    }
    EXPECT_EQ(wrong_, "");
    EXPECT_EQ(lives[0], lives[1]);
}

TEST_F(Calls, TheRequestLineIsAwaitedWithAThousandDescriptors)
{
    constexpr unsigned kMany = 1100;
    page->ballast = kMany;
    start();
    ASSERT_FALSE(dead()) << logs();
    EXPECT_GT(ptzd_descriptors(), kMany);
    const unsigned before = strikes("delay-edge");
    EXPECT_EQ(move_to(kFirst).error, "") << logs();
    EXPECT_GT(strikes("delay-edge"), before);
    EXPECT_EQ(logged("Timeout"), 0u);
    EXPECT_EQ(offences(""), "");
    end();
    EXPECT_EQ(ptzd->wait(), 0) << logs();
}

} // namespace
