// Everything that the board gets wrong on request: how often, and what it does where that is not obvious.
#include "sim_fixture.h"

#include "sim/bus.h"
#include "sim/image.h"
#include "tests/platform/bus_fixture.h"
#include "ugpio/ugpio.h"

#include <algorithm>
#include <functional>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace sim;

// What each kind of argument is in these tests.
constexpr const char *kArguments[] = {"",   " 1ms",       "",     " low",  " never",  " 40",    " 0",    " end",
                                      " 2", " cam_reset", " pan", " lies", " ENODEV", " empty", " error"};
static_assert(std::size(kArguments) == static_cast<std::size_t>(FaultArgument::service) + 1);

class Faults : public BoardTest {
  protected:
    // Something for every fault to strike at; 7 s pass.
    void live_once()
    {
        for (const char *line : {"cam_reset", "cam_power"})
            drive_line(line, false);
        for (const char *line : {"cam_power", "cam_reset"}) {
            drive_line(line, true);
            board.advance(1'000'000);
        }
        burst(command("040007000D"));
        burst(Bytes(1024));
        const Bytes image = make_image(0x0A0B0C0D, 200);
        for (const Bytes &payload : {hex("1001000C0B020811AA55AA55000000C8"), hex("FF01"),
                                     with_head({0xFF, 0x02, 0, 0}, image), hex("FF03")}) {
            burst(host_frame(payload), "spi1");
            board.advance(1'000'000);
        }
        touch_reset_line();
        for (const Fault fault : {Fault::image_control, Fault::streamer})
            board.service_fault(fault, true);
        board.advance(1'000'000);
    }
    void touch_reset_line()
    {
        ugpio *line = ugpio_request_named("cam_reset");
        ugpio_full_open(line);
        ugpio_get_value(line);
        ugpio_set_edge(line, UGPIO_EDGE_RISING);
        close(ugpio_fd(line));
        ugpio_free(line);
    }
    // How often the fault strikes from a command on, in so many lives.
    unsigned struck_by(const std::string &act, int lives, Fault fault)
    {
        const char *name = sim::row(fault).name;
        const unsigned before = board.faults()[name];
        EXPECT_TRUE(board.command(act).ok) << act;
        for (int i = 0; i < lives; ++i)
            live_once();
        return board.faults()[name] - before;
    }
};

TEST_F(Faults, EachStrikesWhenItsScheduleSays)
{
    walk({{"set upgrade-ready 0s", 0, {}}, {"set upgrade-write 500ms", 0, {}}});
    for (std::size_t i = 0; i < kFaultCount; ++i) {
        const auto fault = static_cast<Fault>(i);
        const FaultRow &it = sim::row(fault);
        const std::string name = std::string("fault ") + it.name + kArguments[static_cast<std::size_t>(it.argument)];
        SCOPED_TRACE(name);
        const auto strikes = [&](const char *when, int lives) { return struck_by(name + when, lives, fault); };
        EXPECT_EQ(strikes(" once", 3), 1u);
        if (it.argument != FaultArgument::period) { // of which a bare number is seconds
            EXPECT_EQ(strikes(" 2", 3), 2u);
        }
        EXPECT_EQ(strikes(" 1/1000000", 1), 0u);
        board.command("seed 5");
        const unsigned at_random = strikes(" 1/3", 8);
        board.command("seed 5");
        EXPECT_EQ(strikes(" 1/3", 8), at_random);
        EXPECT_GT(at_random, 0u);
        EXPECT_GE(strikes(" for 7s", 1), 1u);
        EXPECT_EQ(struck_by("seed 1", 1, fault), 0u); // it is over
        EXPECT_GE(strikes(" forever", 2), it.kind == FaultKind::state ? 1u : 2u);
        EXPECT_EQ(struck_by("clear faults", 1, fault), 0u);
        EXPECT_EQ(board.reading().state, BlockState::running); // and nothing of it is left
        board.clear_offences();
    }
}

TEST_F(Faults, AnswersAreSpoiledAsOftenAsAsked)
{
    // The bytes of the run, when length and checksum are right all the same.
    const std::pair<std::string, std::optional<std::size_t>> cases[] = {
        {"bad-checksum", {}},    {"stretch-frame", {}},
        {"flip-bit", {}},        {"garbage", {}},
        {"empty-frame", 0},      {"missing-block 40", 720},
        {"garbage-blocks", 752}, {"zero-length-block", 752},
        {"cut-frame", 502},      {"all-00", 0},
        {"all-ff", {}},          {"shift-reply", {}}};
    const Bytes clean = status();
    for (const auto &[fault, size] : cases) {
        SCOPED_TRACE(fault);
        Bytes answers[2];
        for (Bytes &answer : answers) {
            walk({{"seed 42", 0, {}}, {"fault " + fault, 0, {}}});
            answer = burst(Bytes(1024));
        }
        EXPECT_EQ(answers[0], answers[1]); // the same chance
        const std::optional<Bytes> run = answered(answers[0]);
        EXPECT_EQ(run ? std::optional(run->size()) : std::nullopt, size);
        EXPECT_NE(run, clean);
        EXPECT_EQ(status(), clean);
        EXPECT_EQ(board.faults()[fault.substr(0, fault.find(' '))], 2u);
    }
}

TEST_F(Faults, LinesAreHeldDelayedSilentAndRefused)
{
    walk({{"fault silence 5s", 4'999'999, {{"imc_req", 0}}},
          {"", 1, {{"imc_req", 1}}},
          {"fault hold-request low", 0, {{"imc_req", 0}}},
          {"clear", 0, {{"imc_req", 1}}},
          {"fault delay-edge 2ms 1", 0, {{"imc_req", 1}, {"E0 4:1", 0}}}, // a burst
          {"", 1'999, {{"imc_req", 0}}},
          {"", 1, {{"imc_req", 1}}},
          {"fault slow-boot 5s 1", 0, {}},
          {"cam_reset=0", 0, {}},
          {"cam_reset=1", 4'999'999, {{"cam_init_done", 0}}},
          {"", 1, {{"cam_init_done", 1}}},
          {"fault refuse cam_reset", 0, {}}});
    EXPECT_EQ(drive_line("cam_reset", false), -1);
    EXPECT_EQ(errno, EBUSY);
    walk({{"clear", 0, {}}, {"cam_reset=0", 0, {}}});
    EXPECT_EQ(board.faults(),
              (Counts{{"delay-edge", 1}, {"hold-request", 1}, {"refuse", 1}, {"silence", 1}, {"slow-boot", 1}}));
}

TEST_F(Faults, AStateComesInStepsOfATenthOfASecond)
{
    walk({{"fault hold-request low once", 99'999, {{"imc_req", 0}}},
          {"", 1, {{"imc_req", 1}}},
          {"fault silence 1/2 4", 0, {}}, // four steps in all
          {"", 60'000'000, {{"imc_req", 1}}},
          {"fault glitch cam_init_done 2", 0, {{"cam_init_done", 0}}},
          {"", 1'000, {{"cam_init_done", 1}}},
          {"", 99'000, {{"cam_init_done", 0}}},
          {"", 200'000, {{"cam_init_done", 1}}},
          // Without power it forgets its settings and boots again by itself.
          {"040007000D", 0, {}},
          {"fault power-loss for 2s", 1'999'999, {{"cam_power_good", 0}, {"cam_init_done", 0}}},
          {"", 305'001, {{"cam_power_good", 1}, {"imc_req", 1}}},
          // A line that never rises does once the time is over.
          {"cam_reset=0", 0, {}},
          {"fault init-done never for 9s", 0, {}},
          {"cam_reset=1", 8'999'999, {{"cam_init_done", 0}}},
          {"", 1, {{"cam_init_done", 1}}}});
    EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
    EXPECT_EQ(board.faults(),
              (Counts{{"hold-request", 1}, {"silence", 4}, {"glitch", 2}, {"power-loss", 1}, {"init-done", 1}}));
}

TEST_F(Faults, AnswersComeLateTwiceOrAgain)
{
    // Bursts in a row, by what they hold: 0 nothing, else how far the pan axis is, in degrees; one a second.
    const std::pair<const char *, std::vector<int>> cases[] = {{"fault stale-reply 2", {1, 1, 4}},
                                                               {"fault late-reply", {0, 2, 4}},
                                                               {"fault late-reply 2", {0, 2, 3, 5}},
                                                               {"fault freeze-status for 2500ms", {1, 1, 4}}};
    for (const auto &[fault, degrees] : cases) {
        walk({{"set pan 0", 0, {}},
              {"07010200000003E8 07010800000186A0", 1'000'000, {{"E0 16:4", 1'000}}}}); // 1 degree/s
        walk({{fault, 0, {}}});
        for (const int expected : degrees) {
            board.advance(1'000'000);
            const Bytes run = answered(burst(Bytes(1024))).value_or(Bytes());
            EXPECT_EQ(run.empty() ? 0 : (run[528 + 18] << 8 | run[528 + 19]) / 1000, expected) << fault;
        }
    }
    const Bytes once = burst(Bytes(1024));
    walk({{"set pan 0", 0, {}}, {"fault double-reply", 0, {}}});
    const Bytes twice = burst(Bytes(1024));
    EXPECT_TRUE(answered(twice));
    EXPECT_TRUE(std::equal(twice.begin(), twice.begin() + 1024 - 756, twice.begin() + 756));
    EXPECT_EQ(once[756], 0);
}

TEST_F(Faults, WhatTheHostSendsIsDamagedOnItsWay)
{
    const std::pair<const char *, Counts> cases[] = {{"host-flip-bit", {{"frame-checksum", 1}}},
                                                     {"host-cut", {{"frame-checksum", 1}}},
                                                     {"host-lose", {}},
                                                     {"ignore-record", {}}};
    for (const auto &[fault, offences] : cases) {
        SCOPED_TRACE(fault);
        walk({{"seed 3", 0, {}}, {std::string("fault ") + fault, 0, {}}});
        status(); // has nothing to lose
        const Bytes answer = burst(command("040007000D 0701080000004E20"));
        EXPECT_EQ(board.setting(Rec::sharpness)[0], 0);
        EXPECT_EQ(board.faults()[fault], 1u);
        expect_offences(offences);
    }
}

TEST_F(Faults, TheBlockSaysOtherThanItIs)
{
    walk({{"07010200000003E8 07010800000186A0 050002020B00", 1'000'000, {{"E0 16:4", 1'000}, {"E0 4:1", 0x01}}},
          {"fault stall pan for 2s", 1'000'000, {{"E0 16:4", 1'000}, {"E0 4:1", 0x01}, {"E0 20:4", 100'000}}},
          {"fault stall tilt", 2'000'000, {{"E0 16:4", 1'000}}}, // the pan stays with it
          {"clear faults", 1'000'000, {{"E0 16:4", 2'000}}},
          {"fault moving-flag lies 2", 0, {{"E0 4:1", 0x10}, {"F8 29:1", 0x50}, {"E0 4:1", 0x01}}},
          {"fault moving-flag stuck", 0, {{"E0 4:1", 0x11}, {"F8 29:1", 0x50}}},
          {"clear faults", 0, {}},
          {"fault other-model 9", 0, {{"60 28:1", 1}}},
          {"cam_reset=0", 0, {}},
          {"cam_reset=1", 300'000, {{"60 28:1", 9}}},
          {"cam_reset=0", 0, {}},
          {"cam_reset=1", 300'000, {{"60 28:1", 1}}}});
}

// An edge descriptor is exceptionally ready from an announcement until the level is read.
TEST_F(Faults, AnEdgeIsAnnouncedTwice)
{
    ugpio *line = ugpio_request_named("imc_req");
    ugpio_full_open(line);
    ugpio_set_edge(line, UGPIO_EDGE_RISING);
    const int fd = ugpio_fd(line);
    const auto announced = [&] {
        pollfd entry{fd, POLLPRI, 0};
        const bool ready = poll(&entry, 1, 0) == 1;
        ugpio_get_value(line);
        return ready;
    };
    announced();
    walk({{"fault double-edge", 0, {}}});
    status();
    EXPECT_TRUE(announced());
    board.advance(999);
    EXPECT_FALSE(announced());
    board.advance(1);
    EXPECT_TRUE(announced());
    ugpio_free(line);
    close(fd);
}

TEST_F(Faults, CallsFailWithTheErrorThatWasAskedFor)
{
    const std::tuple<const char *, bool, int> transfers[] = {{"spi-error EIO", false, EIO},
                                                             {"spi-error EINTR", false, EINTR},
                                                             {"spi-error EMSGSIZE", false, EMSGSIZE},
                                                             {"spi-slow 10.1s", false, ETIMEDOUT},
                                                             {"spi-error ENODEV 4", false, ENODEV},
                                                             {"spi-slow 10s", true, 0},
                                                             {"spi-short", false, 0}};
    for (const auto &[fault, whole, error] : transfers) {
        SCOPED_TRACE(fault);
        walk({{std::string("fault ") + fault, 0, {}}});
        EXPECT_EQ(!burst(Bytes(1024)).empty(), whole);
        if (error != 0) {
            EXPECT_EQ(errno, error);
        }
    }
    ugpio *line = ugpio_request_named("imc_req");
    ugpio_full_open(line);
    ugpio_set_edge(line, UGPIO_EDGE_RISING);
    const std::tuple<const char *, int, std::function<bool()>> calls[] = {
        {"refuse imc_req once", EBUSY, [] { return ugpio_request(37, nullptr) == nullptr; }},
        {"gpio-read imc_req", EIO, [&] { return ugpio_get_value(line) < 0; }},
        {"gpio-edge imc_req", EIO, [&] { return ugpio_fd(line) < 0; }},
        {"gpio-drive cam_reset", EIO, [] { return drive_line("cam_reset", true) < 0; }}};
    for (const auto &[fault, error, fails] : calls) {
        walk({{std::string("fault ") + fault, 0, {}}});
        EXPECT_TRUE(fails()) << fault;
        EXPECT_EQ(errno, error) << fault;
    }
    walk({{"fault glitch imc_req", 0, {}}, {"fault gpio-read cam_power", 0, {}}, {"fault gpio-read imc_req", 0, {}}});
    EXPECT_EQ(ugpio_get_value(line), -1); // one of two lines
    EXPECT_EQ(ugpio_get_value(line), 0);  // as it is seen
    ugpio_free(line);
}

TEST_F(Faults, ASlowCallTakesItsTime)
{
    board.stop();
    Board fast({.folder = folder.path(), .time_scale = 10'000});
    ASSERT_EQ(fast.start(), std::nullopt);
    EXPECT_TRUE(fast.command("fault spi-slow 9s").ok);
    const std::int64_t before = fast.now();
    EXPECT_EQ(burst(Bytes(1024)), Bytes(1024));
    EXPECT_GE(fast.now() - before, 9'000'000);
}

TEST_F(Faults, TheSensorsFileIsWhatItShouldNotBe)
{
    struct stat info {};
    const auto shown = [&](const char *fault) {
        walk({{std::string("fault sensor ") + fault, 0, {}}});
        return folder.read("thermal_zone0/temp");
    };
    EXPECT_EQ(shown("empty"), "");
    EXPECT_EQ(shown("garbage").substr(0, 2), "4\xFF");
    const std::string first = shown("jumping");
    board.advance(100'000);
    EXPECT_NE(folder.read("thermal_zone0/temp"), first);
    walk({{"fault sensor missing", 0, {}}});
    EXPECT_FALSE(std::filesystem::exists(folder.file("thermal_zone0/temp")));
    walk({{"fault sensor fifo once", 0, {}}, {"set temperature 55", 0, {}}});
    EXPECT_TRUE(stat(folder.file("thermal_zone0/temp").c_str(), &info) == 0 && S_ISFIFO(info.st_mode));
    board.advance(100'000);
    EXPECT_EQ(folder.read("thermal_zone0/temp"), "55000\n");
}

class ServiceFaults : public BusTest {
  protected:
    // Asks for the rotation, which `answer` gets, and returns when the service has got that.
    void get_rotation()
    {
        const auto call = [&](const char *method, GVariant *arguments, GAsyncReadyCallback done) {
            g_dbus_connection_call(client.connection(), "com.orna.Streamer", "/com/orna/Streamer/Video/Channel/1",
                                   "org.freedesktop.DBus.Properties", method, arguments, nullptr,
                                   G_DBUS_CALL_FLAGS_NONE, -1, nullptr, done, this);
        };
        constexpr char kInterface[] = "com.orna.Streamer.Video.Channel";
        answer.clear();
        all.clear();
        call("Get", g_variant_new("(ss)", kInterface, "Rotation"),
             [](GObject *source, GAsyncResult *result, void *self) {
                 static_cast<ServiceFaults *>(self)->answer = text_of(source, result);
             });
        call("GetAll", g_variant_new("(s)", kInterface), [](GObject *source, GAsyncResult *result, void *self) {
            static_cast<ServiceFaults *>(self)->all = text_of(source, result);
        });
        run_until([&] { return !all.empty(); });
    }
    static std::string text_of(GObject *source, GAsyncResult *result)
    {
        GVariant *value = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr);
        std::string text = value ? print(value) : "failed";
        g_clear_pointer(&value, g_variant_unref);
        return text;
    }
    // "" while nobody owns it.
    std::string owner()
    {
        GVariant *value = g_dbus_connection_call_sync(client.connection(), "org.freedesktop.DBus",
                                                      "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
                                                      g_variant_new("(s)", "com.orna.Streamer"), nullptr,
                                                      G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        std::string name = value ? print(value) : "";
        g_clear_pointer(&value, g_variant_unref);
        return name;
    }

    TempFolder folder{"PTZ_BOARD"};
    Environment system_bus{"DBUS_SYSTEM_BUS_ADDRESS", address()};
    Board board{{.folder = folder.path(), .manual_time = true}};
    Bus bus{board};
    Client client{address()};
    std::string answer;
    std::string all; // that there is
};

TEST_F(ServiceFaults, AnAnswerComesLateOrTooLate)
{
    ASSERT_EQ(board.start(), std::nullopt);
    for (const auto &[fault, us] : {std::pair("late", 1'000'000), {"too-late", 11'000'000}}) {
        EXPECT_TRUE(board.command(std::string("fault streamer ") + fault + " once").ok);
        get_rotation();
        board.advance(us - 1);
        EXPECT_EQ(answer, "");
        board.advance(1);
        run_until([&] { return !answer.empty(); });
        EXPECT_EQ(answer, "(<0>,)");
        get_rotation(); // the next comes at once
        EXPECT_EQ(answer, "(<0>,)");
    }
    EXPECT_EQ(board.faults()["streamer"], 2u);
}

TEST_F(ServiceFaults, ANameChangesItsOwnerAndComesBack)
{
    ASSERT_EQ(board.start(), std::nullopt);
    const std::string first = owner();
    EXPECT_NE(first, "");
    EXPECT_TRUE(board.command("fault streamer new-owner for 5s").ok);
    run_until([&] { return owner() != first && !owner().empty(); });
    get_rotation();
    EXPECT_EQ(answer, "(<0>,)");
    board.advance(5'000'000);
    run_until([&] { return owner() == first; });
    EXPECT_TRUE(board.command("fault streamer missing once").ok);
    run_until([&] { return owner().empty(); });
    board.advance(100'000);
    run_until([&] { return owner() == first; });
}

} // namespace
