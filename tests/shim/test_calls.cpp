// Each system call of ptzd fails once, in a start, a move, a parameter, a stop and an end: it is told or survived, and
// the camera works afterwards. Signals that come a thousand times a second change nothing, nor do more descriptors
// than select() can tell.
//
// A place that calls fails with each error that its call can have: with the first at its first call of the step, with
// the others halfway through as many as a good step makes. Some places are called thousands of times in a start, most
// of them looks for an answer that is not there yet; with CALLS=all (`make calls`) each fails at call 1, 2, 3, 5, 8, 13
// and so on up to their number.
#include "tests/campaign/rig.h"
#include "tests/shim/page.h"
#include "tests/support/shared_page.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/syscall.h>

namespace {

constexpr double kHang = 30 * Rig::kScale; // seconds of the camera: half a minute on the wall

struct Cell {
    std::uint32_t site = 0;
    std::uint32_t nth = 0; // 0: none
    int error = 0;
};

class Calls : public Rig {
  public:
    using Step = void (Calls::*)();

    Calls()
    {
        const std::string file = page_folder_.file("page");
        page = map_page<shim::Page>(file.c_str());
        g_assert_true(page != nullptr);
        // AddressSanitizer's runtime would rather be the first library, but can do without.
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
    void require(bool holds, const std::string &what)
    {
        if (!holds && wrong.empty())
            wrong = what;
    }
    bool interrupted() const { return page->struck > 0 && page->error == EINTR; }
    std::size_t complaints() const { return logged("Timeout") + logged("Failed") + logged("Fatal"); }
    bool runs() const { return !dead() && state == 1 && link == "up"; }
    bool failed() const { return !dead() && state == 7; }

    // The steps. Each is over when it returns, and has told what came of it.
    void start()
    {
        begin_start({"--start-timeout", page->nth > 0 ? "10" : "0"});
        require(wait(kHang, [this] { return runs() || failed() || dead(); }), "hangs in its start");
        require_told({true, runs() ? "" : "Start", "failed"});
    }
    void move() { require_told(move_to()); }
    void set()
    {
        const int wanted = sharpness_ == 50 ? 80 : 50;
        const std::string value = std::to_string(wanted);
        const Reply reply = bus().call("SetParameter", ("('ImageSource', 'Sharpness', <" + value + ">)").c_str());
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
    // The answer to a move, or how the move ended.
    Reply move_to()
    {
        const std::string id = std::to_string(++moves_), target = value("Pan") > 0 ? "-8.0" : "8.0";
        const std::string call = "([('pan', 'absolute', " + target + ")], 100.0, {'id': <uint32 " + id + ">})";
        if (Reply reply = bus().call("Move", call.c_str()); !reply.error.empty())
            return reply;
        std::string end;
        const auto ended = [&] {
            for (const Told &one : told)
                if (one.name == "MoveDone" && one.text.starts_with("(" + id + ","))
                    end = one.text;
            return !end.empty() || dead();
        };
        require(wait(kHang, ended), "a move without an end");
        return {true, end.find("true, 'reached'") != std::string::npos ? "" : "NotReached", end};
    }

    // Runs the step with that call failing, if any, and sees to what it leaves behind.
    void run(Step step, const Cell &cell = {})
    {
        wrong.clear();
        forget();
        command("clear offences");
        if (step == &Calls::stop)
            bus().call("Move", "([('tilt', 'continuous', 5.0)], 0.0, @a{sv} {})");
        before_ = dead() ? usual_ : holdings();
        const std::size_t complaints_before = dead() ? 0 : complaints();
        for (shim::Site &site : page->sites)
            site.calls = 0;
        page->struck = 0;
        page->site = cell.site;
        page->error = cell.error;
        page->nth = cell.nth;
        const double began = now();
        page->armed = 1;
        (this->*step)();
        page->armed = 0;
        require(!interrupted() || complaints() == complaints_before, "an interrupted call is a failure in the log");
        page->nth = 0;
        longest = std::max(longest, now() - began);
        met += page->struck;
        if (step == &Calls::end)
            check_end();
        else
            check_life();
        if (step == &Calls::start && wrong.empty())
            check_start();
        const std::string site = page->sites[cell.site].name.data();
        check_board(site);
        EXPECT_EQ(wrong, "") << site << ", call " << cell.nth << ": " << g_strerror(cell.error) << "\n" << logs();
    }

    // The cells of the step that was the last one, a good one.
    std::vector<Cell> cells() const
    {
        const bool all = g_strcmp0(std::getenv("CALLS"), "all") == 0;
        std::vector<Cell> found;
        for (std::uint32_t site = 0; site < page->used; ++site) {
            const std::uint32_t calls = page->sites[site].calls;
            for (std::uint32_t first = 1; const int error : page->sites[site].errors) {
                if (error == 0)
                    break;
                for (std::uint32_t nth = 1, next = 2; all && nth <= calls; next += std::exchange(nth, next))
                    found.push_back({site, nth, error});
                if (!all && calls > 0)
                    found.push_back({site, std::exchange(first, (calls + 1) / 2), error});
            }
        }
        return found;
    }

    shim::Page *page = nullptr;
    std::string wrong;
    unsigned met = 0;   // calls that have failed
    double longest = 0; // step

  private:
    void require_told(const Reply &reply)
    {
        require(reply.error.empty() || !reply.text.empty() || dead(), "fails without a word");
        require(reply.error.empty() || !interrupted(), "an interrupted call is a failure: " + reply.said());
    }
    // A process that ends by itself has a status that says why, and a message.
    void require_end(bool by_itself)
    {
        const int status = ptzd->wait();
        require(status == 0 ? !by_itself : status > 0 && status <= 3 && logged("ptzd[") > 0,
                "ends with status " + std::to_string(status));
    }
    // Brings back what did not get over it: a start that failed is repeated; a process that ended by itself, or because
    // that did not help, is started again.
    void recover()
    {
        require(wait(kHang, [this] { return runs() || failed() || dead(); }), "does not run, and has not failed");
        if (failed()) {
            require(bus().call("GetStatus").text.find("'failure': <'") != std::string::npos, "fails without a word");
            if (bus().call("RunSpecialCommand", "('reset',)").error.empty())
                wait(kHang, [this] { return runs(); });
        }
        if (runs())
            return;
        const bool by_itself = dead();
        if (!by_itself)
            end();
        require_end(by_itself);
        before_ = usual_;
        if (!kept_)
            sharpness_ = 0; // whatever is in the file
        start();
    }
    void check_life()
    {
        // Without the bus the process goes on for a while, and ends then.
        do {
            recover();
            Reply moved;
            const auto reached = [&] { return dead() || (moved = move_to()).error.empty(); };
            require(wait(kHang, reached), "the next move: " + moved.said());
        } while (dead() && wrong.empty());
        const auto given_back = [this] { return holdings().descriptors <= before_.descriptors; };
        if (!wrong.empty())
            return;
        if (usual_.descriptors == 0)
            before_ = usual_ = holdings();
        require(wait(kHang, given_back), "descriptors are left open");

        const std::string text = bus().call("GetParameter", "('ImageSource', 'Sharpness')").text;
        const int value = text == "(<80>,)" ? 80 : 50;
        require(text == "(<" + std::to_string(value) + ">,)", "the parameter is " + text);
        require(std::exchange(sharpness_, value) % value == 0, "the parameter is not as acknowledged");
        const bool in_file = folder.read("parameters.conf").find("Sharpness=80") != std::string::npos;
        require(!kept_ || in_file == (value == 80), "the parameter is not kept");
        require(wait(kHang, [&] { return settings()["Sharpness"][0] == (value == 80 ? 15 : 10); }),
                "the block's value");
    }
    // One task reads the status, some 30 times a second, and each of these bursts waits for an edge; nobody else takes
    // the board, or it was told that somebody might.
    void check_start()
    {
        double rate = 0;
        for (int look = 0; look < 20 && (rate < 5 || rate > 45); ++look) {
            const double before = strikes("delay-edge"), from = now();
            pass(0.5);
            rate = (strikes("delay-edge") - before) / (now() - from);
        }
        require(rate > 5 && rate < 45, std::to_string(rate) + " bursts a second at rest");
        const int fd = open(folder.file("ptzd-1-0.lock").c_str(), O_RDWR | O_CLOEXEC);
        require(fd < 0 || flock(fd, LOCK_EX | LOCK_NB) != 0 || logged("Nothing keeps a second") == 1, "has no lock");
        close(fd);
    }
    void check_end()
    {
        require_end(false);
        require(sim_state() == "off" || logged("Fatal error, failed") > 0, "leaves the block " + sim_state());
    }
    void check_board(const std::string &site)
    {
        for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
            require(entry.path().string().find(".conf.") == std::string::npos, "leaves " + entry.path().string());
        // Who gives up an answer of the board's cannot know whether the burst is over.
        const bool gives_up = site.starts_with("recvmsg ptzd") || site.starts_with("ppoll ptzd");
        const std::string offence = offences(gives_up ? "burst-without-request" : "");
        require(offence.empty(), "offences: " + offence);
    }

    TempFolder page_folder_;
    Holdings before_;
    Holdings usual_; // of a process that has just begun
    unsigned moves_ = 0;
    int sharpness_ = 50; // as acknowledged; 0: not known
    bool kept_ = true;
};

TEST_F(Calls, EachThatFailsIsToldOrSurvived)
{
    for (const Step step : {&Calls::start, &Calls::set, &Calls::end})
        run(step); // the first start of a board is longer than the others
    constexpr Step kSteps[] = {&Calls::start, &Calls::end, &Calls::start, &Calls::move, &Calls::set, &Calls::stop};
    std::vector<Cell> all[std::size(kSteps)];
    for (std::size_t i = 0; i < std::size(kSteps); ++i) {
        run(kSteps[i]);
        all[i] = cells();
    }
    run(&Calls::end);
    std::size_t count = all[0].size() + all[1].size();
    for (std::size_t i = 0; i < std::max(all[0].size(), all[1].size()); ++i)
        for (std::size_t step = 0; step < 2; ++step)
            run(kSteps[step], i < all[step].size() ? all[step][i] : Cell{});
    run(&Calls::start);
    for (std::size_t i = 3; i < std::size(kSteps); count += all[i++].size())
        for (const Cell &cell : all[i])
            run(kSteps[i], cell);
    std::cout << count << " calls were to fail, " << met << " came; the longest step took " << longest / kScale
              << " s\n";
    EXPECT_GT(met, count / 2);
}

TEST_F(Calls, SignalsChangeNothing)
{
    const auto interrupt = [](gpointer data) -> gboolean {
        const auto process = static_cast<pid_t>(static_cast<shim::Page *>(data)->loaded);
        std::error_code gone;
        for (const auto &thread :
             std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone))
            syscall(SYS_tgkill, process, std::atoi(thread.path().filename().c_str()), SIGUSR1);
        return G_SOURCE_CONTINUE;
    };
    std::string lives[2];
    for (const bool storm : {false, true}) {
        std::string &life = lives[storm];
        page->loaded = 0;
        const guint timer = storm ? g_timeout_add(1, interrupt, page) : 0;
        start();
        for (int round = 0; round < 5; ++round) {
            const std::string end = move_to().said();
            life += end.substr(end.find(' ')) + "\n"; // without its number
            set();
            stop();
        }
        life += bus().call("GetParameter", "('ImageSource', 'Sharpness')").said() + "\n";
        end();
        if (storm)
            g_source_remove(timer);
        EXPECT_EQ(ptzd->wait(), 0) << logs();
        EXPECT_EQ(complaints(), 0u) << logs();
        EXPECT_EQ(page->signals > 100, storm);
        for (const auto &[record, times] : sim_counts("Records")) // a stop is given until the camera stands
            life += record + (record.ends_with(" stop") ? "" : " " + std::to_string(times)) + "\n";
        life += offences("");
        have_board();
    }
    EXPECT_EQ(wrong, "");
    EXPECT_EQ(lives[0], lives[1]);
}

TEST_F(Calls, TheRequestLineIsAwaitedWithAThousandDescriptors)
{
    page->ballast = 1100;
    start();
    ASSERT_TRUE(runs()) << logs();
    EXPECT_GT(ptzd_descriptors(), page->ballast);
    const unsigned before = strikes("delay-edge");
    EXPECT_EQ(move_to().error, "") << logs();
    EXPECT_GT(strikes("delay-edge"), before);
    EXPECT_EQ(complaints(), 0u) << logs();
    EXPECT_EQ(offences("") + wrong, "");
    end();
    EXPECT_EQ(ptzd->wait(), 0) << logs();
}

} // namespace
