// 'ptzctl drive': keys and controllers as they come in, and the whole program on a terminal.
#include "tests/scenario/system_fixture.h"
#include "tools/ptzctl/drive/gamepad.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/input.h>
#include <poll.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

TEST(Keys, AreReadFromWhatEveryKindOfTerminalSends)
{
    const struct {
        std::vector<const char *> pieces;
        std::vector<KeyEvent> events;
    } rows[] = {
        {{"a\x1b[A\x1bOB"}, {{U'a'}, {kKeyUp}, {kKeyDown}}},
        {{"\x1b", "[", "5", "~q"}, {{kEscape}, {kKeyPageUp}, {U'q'}}},
        {{"\x1b[3~\x1bOP\x1b[27u", "\x1b[57441u"}, {{kKeyOther}, {kKeyOther}, {kEscape}}}, // delete, F1; shift is none
        {{"\x1b[1;1:3C"}, {{kKeyRight, true}}},
        {{"\x1b[102;1:2u\x1b[102;1:3u\x1b[43;2u"}, {{U'f'}, {U'f', true}, {U'+'}}},
        {{"\x1b[99;5u\x03"}, {{kCtrlC}, {kCtrlC}}},
        {{"\x1b[?11u\x1b[O\x1b[I"}, {{kTellsReleases}, {kFocusLost}}},
        {{"\x1b[9999999999999999999;;:A\x1b[Z\x1b[;u"}, {{kKeyUp}, {kKeyOther}, {0}}},
    };
    for (const auto &[pieces, events] : rows) {
        KeyReader reader;
        std::vector<KeyEvent> read;
        for (const char *piece : pieces)
            for (const KeyEvent &event : reader.take(piece))
                read.push_back(event);
        EXPECT_EQ(read, events) << pieces[0];
    }
}

TEST(Held, IsLetGoWhenTheTerminalSaysSoOrNothingIsRepeated)
{
    HeldKeys held;
    EXPECT_FALSE(held.take({U'x'}, 0));
    EXPECT_TRUE(held.take({kKeyLeft}, 0));
    held.look(599'999);
    EXPECT_EQ(held.wanted(40), (Speeds{{"pan", -40}}));
    held.take({kKeyLeft}, 599'999); // the repetition
    held.take({kKeyUp}, 600'000);
    held.look(799'998);
    EXPECT_EQ(held.wanted(40), (Speeds{{"pan", -40}, {"tilt", 40}}));
    held.look(799'999);
    EXPECT_EQ(held.wanted(40), (Speeds{{"tilt", 40}}));
    held.tells_releases();
    held.take({kKeyDown}, 0);
    held.look(1'200'000);
    EXPECT_EQ(held.wanted(40), (Speeds{{"tilt", -40}}));
    held.take({kKeyDown, true}, 1);
    EXPECT_EQ(held.wanted(40), Speeds{});
}

TEST(Pad, SticksTriggersAndButtonsAreAxesAndPresses)
{
    using Press = PadState::Press;
    PadState pad;
    pad.axis(ABS_X, 0.55); // at rest
    EXPECT_EQ(pad.wanted(100), Speeds{});
    pad.axis(ABS_X, 1);
    pad.axis(ABS_Y, 0.75); // half the way down
    pad.axis(ABS_RZ, 1);
    pad.axis(ABS_Z, 0.5);
    pad.key(BTN_TL, true);
    EXPECT_EQ(pad.wanted(100), (Speeds{{"pan", 100}, {"tilt", -19}, {"zoom", 81}, {"focus", -100}}));
    EXPECT_EQ(pad.key(BTN_SOUTH, true), Press::stop);
    EXPECT_EQ(pad.key(BTN_SOUTH, false), Press::none);
    EXPECT_EQ(pad.axis(ABS_HAT0X, 1), Press::preset_2);
}

// A program on a terminal of its own.
class Terminal {
  public:
    Terminal(const std::vector<std::string> &words, const Process::Variables &variables, winsize size)
    {
        pid_ = forkpty(&master_, nullptr, nullptr, &size);
        if (pid_ == 0) {
            for (const auto &[name, value] : variables)
                setenv(name.c_str(), value.c_str(), 1);
            std::vector<char *> arguments{const_cast<char *>(PTZCTL_FILE)};
            for (const std::string &word : words)
                arguments.push_back(const_cast<char *>(word.c_str()));
            arguments.push_back(nullptr);
            execv(PTZCTL_FILE, arguments.data());
            _exit(127);
        }
    }
    ~Terminal()
    {
        lose();
        kill(pid_, SIGKILL);
        (void)wait();
    }
    Terminal(const Terminal &) = delete;

    void type(std::string_view keys) const { ASSERT_EQ(write(master_, keys.data(), keys.size()), std::ssize(keys)); }
    // Everything that was shown so far.
    const std::string &shown()
    {
        char bytes[4096];
        pollfd master{master_, POLLIN, 0};
        while (poll(&master, 1, 0) > 0 && (master.revents & POLLIN) != 0)
            if (const ssize_t count = read(master_, bytes, sizeof bytes); count > 0)
                shown_.append(bytes, static_cast<std::size_t>(count));
        return shown_;
    }
    void lose()
    {
        if (master_ >= 0)
            close(std::exchange(master_, -1));
    }
    void signal(int number) const { kill(pid_, number); }
    bool ended() { return status_ || (waitpid(pid_, &raw_, WNOHANG) == pid_ && (status_ = raw_)); }
    // As waitpid() has it.
    int wait()
    {
        run_until([this] { return (shown(), ended()); });
        return *status_;
    }

  private:
    int master_ = -1;
    pid_t pid_ = -1;
    int raw_ = 0;
    std::optional<int> status_;
    std::string shown_;
};

class Drive : public SystemTest {
  protected:
    std::unique_ptr<Terminal> drive(std::vector<std::string> words, Process::Variables more = {},
                                    winsize size = {24, 80, 0, 0})
    {
        words.insert(words.begin(), "drive");
        more.insert(more.begin(), {{"DBUS_SYSTEM_BUS_ADDRESS", address()}, {"TERM", "xterm"}});
        return std::make_unique<Terminal>(words, more, size);
    }
    // AddressSanitizer's runtime would rather be the first library, but can do without.
    static Process::Variables preloaded()
    {
        const char *options = std::getenv("ASAN_OPTIONS");
        return {{"LD_PRELOAD", PAD_PRELOAD},
                {"ASAN_OPTIONS", std::string(options != nullptr ? options : "") + ":verify_asan_link_order=0"}};
    }
    // The terminal gets what has changed only: a text is there in one piece where something else, or nothing, was before.
    void await_shown(Terminal &terminal, const std::string &text)
    {
        run_until([&] { return terminal.shown().find(text) != std::string::npos || terminal.ended(); });
        EXPECT_THAT(terminal.shown(), HasSubstr(text));
    }
    void await_pan(double moving)
    {
        run_until([&] { return sim_value("PanMoving") == moving; });
        EXPECT_LT(sim_value("Pan"), 169); // it stands by itself at 170
    }
};

TEST_F(Drive, WhatIsHeldMovesAndStandsWhateverEndsIt)
{
    constexpr int kGoesOn = -1;
    const struct {
        const char *name, *before, *keys;
        int signal;
        int status;
    } ends[] = {
        {"let go", "", "", 0, kGoesOn},
        {"released", "\x1b[?11u", "\x1b[1;1:3C", 0, kGoesOn},
        {"blank", "\x1b[?11u", " ", 0, kGoesOn},
        {"quit", "\x1b[?11u", "q", 0, 0},
        {"lost", "\x1b[?11u", nullptr, 0, 0},
        {"hung up", "\x1b[?11u", "", SIGHUP, 0},
        {"told to quit", "\x1b[?11u", "", SIGQUIT, 0},
        {"killed", "\x1b[?11u", "", SIGKILL, SIGKILL},
    };
    start_all();
    for (const auto &[name, before, keys, signal, status] : ends) {
        SCOPED_TRACE(name);
        ptzctl({"move", "--wait", "pan=-170"});
        const auto terminal = drive({"--speed", "1"});
        await_shown(*terminal, " deg ");
        EXPECT_THAT(terminal->shown(), HasSubstr("\x1b[?u")); // it is asked
        terminal->type(before);
        terminal->type("\x1b[C");
        await_pan(1);
        if (keys == nullptr)
            terminal->lose();
        else
            terminal->type(keys);
        if (signal != 0)
            terminal->signal(signal);
        await_pan(0);
        if (status == kGoesOn) {
            EXPECT_FALSE(terminal->ended());
        } else {
            EXPECT_EQ(terminal->wait(), status);
            if (keys != nullptr && status == 0) {
                EXPECT_THAT(terminal->shown(), HasSubstr("\x1b[?1049l")); // the terminal is as it was
            }
        }
    }
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(Drive, PutsTheTerminalBackAlsoWhenTheServiceHangs)
{
    start_all();
    ptzctl({"move", "--wait", "pan=-170"});
    const auto terminal = drive({"--speed", "1"});
    await_shown(*terminal, " deg ");
    terminal->type("\x1b[?11u\x1b[C");
    await_pan(1);
    ptzd->signal(SIGSTOP);
    terminal->type("q");
    await_shown(*terminal, "\x1b[?1049l");
    terminal->signal(SIGINT);
    EXPECT_EQ(WEXITSTATUS(terminal->wait()), 3);
    ptzd->signal(SIGCONT);
    await_pan(0);
}

TEST_F(Drive, AControllerMovesTheCameraUntilItIsGoneAndDigitsGoToPresets)
{
    const std::string pad = folder.file("pad");
    ASSERT_EQ(mkfifo(pad.c_str(), 0600), 0);
    int events = open(pad.c_str(), O_RDWR | O_CLOEXEC);
    const auto send = [&](int type, int code, int value) {
        for (input_event event :
             {input_event{{}, static_cast<__u16>(type), static_cast<__u16>(code), value}, input_event{}})
            ASSERT_EQ(write(events, &event, sizeof event), static_cast<ssize_t>(sizeof event));
    };
    start_all();
    for (const char *pan : {"10", "20"}) {
        ptzctl({"move", "--wait", std::string("pan=") + pan});
        ptzctl({"preset", "set", pan, "pan"});
    }
    ptzctl({"move", "--wait", "pan=-170"});
    const auto terminal = drive({"--gamepad-device", pad, "--speed", "1"}, preloaded());
    await_shown(*terminal, "Pad");
    send(EV_ABS, ABS_X, 1000);
    await_pan(1);
    send(EV_ABS, ABS_X, 0);
    await_pan(0);
    send(EV_ABS, ABS_X, 1000);
    await_pan(1);
    close(events);
    await_pan(0);
    await_shown(*terminal, "controller gone");
    await_shown(*terminal, "2 20");
    terminal->type("2");
    await_sim("Pan", 20, 0.1);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(Drive, SaysWhyItCannot)
{
    start_all();
    const struct {
        std::vector<std::string> words;
        Process::Variables variables;
        winsize size;
        const char *text;
    } rows[] = {
        {{}, {}, {10, 40, 0, 0}, "too small: it has 10 lines of 40 columns, wanted are 15 of 60"},
        {{}, {{"TERM", "nonsense"}}, {24, 80, 0, 0}, "TERM (it is 'nonsense')"},
        {{"--gamepad-device", "/dev/null"}, {}, {24, 80, 0, 0}, "'/dev/null' cannot be used"},
    };
    for (const auto &[words, variables, size, text] : rows) {
        const auto terminal = drive(words, variables, size);
        EXPECT_EQ(WEXITSTATUS(terminal->wait()), 1);
        EXPECT_THAT(terminal->shown(), HasSubstr(text));
    }
    int status = 0;
    EXPECT_THAT(ptzctl({"drive"}, &status), HasSubstr("driving wants a terminal"));
    EXPECT_EQ(status, 2);
}

} // namespace
