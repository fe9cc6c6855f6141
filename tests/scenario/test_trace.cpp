// Traces of ptzd and of the simulator: recorded, put into words, played to either side again.
#include "tests/scenario/system_fixture.h"

#include "glib_owned.h"
#include <csignal>
#include <filesystem>

#include <gmock/gmock.h>
#include <sstream>
#include <sys/stat.h>

namespace {

using testing::HasSubstr;

class Traces : public SystemTest {
  protected:
    Traces() { time_scale = "5"; } // a pause of the machine is no silence of the block's then

    std::string at(const char *name) { return folder.file(name); }

    // Both trace a start, what `act` does, and the end.
    void record(const std::function<void()> &act, const std::vector<std::string> &more = {})
    {
        start_sim({"--trace", at("sim.trace")});
        std::vector<std::string> options{"--trace", at("ptzd.trace")};
        options.insert(options.end(), more.begin(), more.end());
        start_ptzd(options);
        await_state(1);
        act();
        ptzd->signal(SIGTERM);
        EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
        sim->signal(SIGTERM);
        EXPECT_EQ(sim->wait(), 0);
    }

    // What both see: bursts, and lines that the host drives; without times.
    static std::string common(const std::string &trace)
    {
        std::istringstream lines(trace);
        std::string result;
        for (std::string time, line; lines >> time && std::getline(lines, line);)
            if (line.starts_with(" port") || (line.starts_with(" line ") && line.find(" host ") != std::string::npos))
                result += line + "\n";
        return result;
    }

    // What a program says, and its status.
    std::pair<int, std::string> say(const std::vector<std::string> &command)
    {
        const auto program = run(command, "said", {{"PTZD", PTZD_FILE}, {"HOME", folder.path()}});
        const int status = program->wait(120); // a replay may take its time
        return {status, program->output()};
    }
    std::pair<int, std::string> replay(const std::string &name)
    {
        return say({PTZCTL_FILE, "replay", at(name.c_str()), "--plugin", PLUGIN_FILE});
    }
};

TEST_F(Traces, OfBothSidesAreTheSameAndReplayToEither)
{
    record([this] {
        for (const char *line :
             {"move pan=10 tilt=5 zoom=2000 --wait", "preset set Here --settings ImageSource.Sharpness",
              "params set ImageSource.Sharpness 80", "move --continuous pan=-30 --for 0.1",
              "preset goto Here --speed 50 --wait", "mode focus manual", "special reset"}) {
            std::istringstream words(line);
            (void)ptzctl({std::istream_iterator<std::string>(words), {}});
        }
    });
    const std::string recorded = folder.read("ptzd.trace");
    EXPECT_EQ(common(recorded), common(folder.read("sim.trace")));
    for (const char *line :
         {" line cam_power_good block high\n", " call SetParameter ('ImageSource', 'Sharpness', <'80'>)\n",
          " call Stop ()\n", " told com.orna.ImageControl VideoCaptureMode '1080p60'\n", " close\n",
          "\n# conf krx_driver.conf PowerPin=cam_power\n"})
        EXPECT_THAT(recorded, HasSubstr(line));

    EXPECT_THAT(say({KRX_SIM_FILE, "--replay", at("sim.trace")}),
                testing::Pair(0, testing::EndsWith(" levels compared, 0 otherwise\n")));
    EXPECT_THAT(replay("ptzd.trace"), testing::Pair(0, HasSubstr("the driver does the same: ")));
    EXPECT_THAT(replay("sim.trace"),
                testing::Pair(0, HasSubstr("what follows was asked for, and the trace has no requests")));

    // One byte of the driver's, another of the block's, and the end cut off.
    std::string spoilt = recorded;
    const std::size_t level = spoilt.find('\n', spoilt.find("1001000504000700")) - 1;
    spoilt[level] = spoilt[level] == '1' ? '2' : '1';
    folder.write("spoilt", spoilt);
    EXPECT_THAT(replay("spoilt"), testing::Pair(1, HasSubstr("s: in the trace the driver sends \"Malformed frame "
                                                             "[frame-checksum]\", now it sends \"Sharpness ")));
    spoilt = folder.read("sim.trace");
    const std::size_t answer = spoilt.find(" block 1024 F002") + 12 + 2 * (4 + 34);
    spoilt[answer] = spoilt[answer] == '1' ? '2' : '1';
    folder.write("spoilt", spoilt);
    EXPECT_THAT(say({KRX_SIM_FILE, "--replay", at("spoilt")}),
                testing::Pair(3, testing::AllOf(HasSubstr("in the trace \"Frame with a wrong checksum\" (byte 38 is "),
                                                HasSubstr(" levels compared, 1 otherwise\n"))));
    folder.write("cut", recorded.substr(0, recorded.find(" call Move ") + 5));
    EXPECT_THAT(replay("cut"), testing::Pair(1, HasSubstr("; up to there the driver does the same\n")));
    EXPECT_THAT(say({PTZCTL_FILE, "decode", at("cut"), "--record", "cam_power "}),
                testing::Pair(1, testing::AllOf(HasSubstr(" line  host   cam_power high\n"),
                                                HasSubstr(": the trace was cut here; all before it is shown\n"))));
    folder.write("later", recorded.substr(recorded.find('\n', recorded.find("port0 block")) + 1));
    EXPECT_THAT(replay("later"), testing::Pair(1, HasSubstr("the trace does not begin with the camera off")));
}

TEST_F(Traces, AreSwitchedOverTheBusAndFollowedOverTheirTurn)
{
    start_sim();
    start_ptzd({"--trace-size", "1"});
    await_state(1);
    const auto property = [this] { return client.property("Trace"); };
    EXPECT_EQ(property(), "(<''>,)");
    ASSERT_EQ(mkfifo(at("stuck.conf").c_str(), 0600), 0); // nobody ever writes it
    std::vector<ReplyPtr> replies(5);                     // while it begins, and when it has begun
    for (ReplyPtr &reply : replies)
        reply = client.send("SetTrace", "(true,)");
    for (const ReplyPtr &reply : replies)
        EXPECT_EQ(Client::wait(reply).said(), "('" + at("ptzd.trace") + "',)");
    EXPECT_EQ(property(), "(<'" + at("ptzd.trace") + "'>,)");
    EXPECT_THAT(folder.read("ptzd.trace"), HasSubstr("\n# stuck.conf is no regular file and is left out\n"));
    // Polls of a fast camera fill it; each of the two files has half of the megabyte.
    const auto follow =
        run({PTZCTL_FILE, "decode", "--follow", "--json", at("ptzd.trace"), "--record", "Set"}, "followed");
    const auto set = [this](int level) {
        EXPECT_EQ(
            client.call("SetParameter", ("('ImageSource', 'Sharpness', <'" + std::to_string(level) + "'>)").c_str())
                .error,
            "");
    };
    set(61);
    run_until([&] { return folder.read("followed").find("'61'") != std::string::npos; });
    run_until([&] { return std::filesystem::exists(at("ptzd.trace.1")); });
    set(62);
    run_until([&] { return folder.read("followed").find("'62'") != std::string::npos; });
    EXPECT_LE(std::filesystem::file_size(at("ptzd.trace.1")), 512u * 1024);
    EXPECT_TRUE(folder.read("ptzd.trace.1").starts_with("# ptzd trace 1: "));
    EXPECT_EQ(client.call("SetTrace", "(false,)").text, "('',)");
    EXPECT_EQ(property(), "(<''>,)");
    follow->signal(SIGINT);
    EXPECT_EQ(follow->wait(), 0) << follow->output();
    expect_life();
}

// Nothing of the camera hangs on the trace.
TEST_F(Traces, ThatCannotBeWrittenAreGivenUpWithAWord)
{
    start_sim();
    for (const char *file : {"/dev/full", "/nonexistent/trace"}) {
        SCOPED_TRACE(file);
        start_ptzd({"--trace", file});
        await_state(1);
        EXPECT_EQ(logged("The trace cannot be written: "), 1u) << ptzd->output();
        EXPECT_EQ(client.call("SetTrace", "(true,)").error, "Failed");
        ptzd->signal(SIGTERM);
        EXPECT_EQ(ptzd->wait(), 0);
    }
    // A disk that is full later: no file may have more than 64 kB.
    ptzd = run({"/bin/bash", "-c", R"(ulimit -f 64; exec "$0" "$@")", PTZD_FILE, "--plugin", PLUGIN_FILE,
                "--foreground", "--trace", at("ptzd.trace")},
               "ptzd.log");
    run_until([this] { return logged("It has ended; the camera goes on.") == 1 || ptzd->ended(); });
    await_state(1);
    EXPECT_EQ(client.call("Move", "([('pan', 'absolute', 10.0)], 0.0, @a{sv} {})").error, "");
    await_sim("Pan", 10, 0.01);
    EXPECT_EQ(logged("It has ended"), 1u);
}

TEST_F(Traces, OpenInWiresharkWithEveryRecordByName)
{
    if (GText(g_find_program_in_path("tshark")) == nullptr)
        GTEST_SKIP() << "no tshark: apt-get install tshark";
    record([this] { (void)ptzctl({"move", "pan=10", "--wait"}); });
    for (const char *trace : {"sim.trace", "ptzd.trace"}) {
        SCOPED_TRACE(trace);
        EXPECT_EQ(say({PTZCTL_FILE, "decode", at(trace), "--pcapng", at("wire.pcapng")}).first, 0);
        const auto [status, said] = say({"tshark",
                                         "-X",
                                         "lua_script:" BLOCK_LUA,
                                         "-r",
                                         at("wire.pcapng"),
                                         "-T",
                                         "fields",
                                         "-E",
                                         "occurrence=a",
                                         "-e",
                                         "ptz.record",
                                         "-e",
                                         "ptz.parameter",
                                         "-e",
                                         "ptz.status.pan_position",
                                         "-e",
                                         "ptz.text",
                                         "-e",
                                         "ptz.checksum.bad",
                                         "-e",
                                         "_ws.col.Info"});
        EXPECT_EQ(status, 0) << said;
        for (const char *text :
             {"Pan speed,Pan position\t100000,10000\t", "\t10000\t\t\tstatus: camera, pan/tilt unit, system",
              "\tcam_power high\t", "\tstatus read\n"})
            EXPECT_THAT(said, HasSubstr(text));
        for (const char *text : {"unknown record", "malformed", "Lua Error"})
            EXPECT_THAT(said, testing::Not(HasSubstr(text)));
    }
}

} // namespace
