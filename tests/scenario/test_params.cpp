// One truth about settings: on the bus, in the file, in the driver and in the camera block, whatever goes wrong
// between.
#include "tests/scenario/system_fixture.h"

#include <csignal>
#include <sys/stat.h>

namespace {

class SystemParams : public SystemTest {
  protected:
    Reply set(const std::string &group, const std::string &name, const std::string &value)
    {
        return client.call("SetParameter", ("('" + group + "','" + name + "',<" + value + ">)").c_str());
    }
    std::string get(const std::string &group, const std::string &name)
    {
        return client.call("GetParameter", ("('" + group + "','" + name + "')").c_str()).text;
    }
    std::string speed() { return client.property("Speed"); }
    // The value that the block took last of the record.
    std::string last_record(const std::string &record) const
    {
        const std::string log = sim->output();
        const std::size_t at = log.rfind(" " + record + " ");
        return at == std::string::npos ? "" : log.substr(at, log.find('\n', at) - at);
    }
    unsigned records(const char *record) { return sim_counts("Records")[record]; }
    void restart_ptzd()
    {
        ptzd->signal(SIGTERM);
        ASSERT_EQ(ptzd->wait(), 0) << ptzd->output();
        start_ptzd();
        await_state(1);
    }
    // Whether the driver looks at the errors that the lens reports.
    void expect_lens_errors_seen()
    {
        sim_command("set status-bit lens 7 on");
        run_until([this] { return client.call("GetStatus").text.find("focus") != std::string::npos; });
        sim_command("set status-bit lens 7 auto");
        run_until([this] { return client.call("GetStatus").text.find("Cam error none") != std::string::npos; });
    }
};

TEST_F(SystemParams, WhatIsKeptIsInForceAfterEachRestartAndStatusUpdateIsOn)
{
    start_all();
    EXPECT_EQ(set("UserAdv", "MoveSpeed", "40").said(), "()");
    EXPECT_EQ(set("UserAdv", "AdjustableZoomSpeedEnabled", "false").said(), "()");
    for (const bool whole_service : {false, true}) {
        SCOPED_TRACE(whole_service);
        EXPECT_EQ(set("UserAdv", "StatusUpdate", "false").said(), "()");
        EXPECT_NE(folder.read("parameters.conf").find("StatusUpdate=false"), std::string::npos);
        if (whole_service)
            restart_ptzd();
        else
            ptzctl({"special", "reset"});
        EXPECT_EQ(get("UserAdv", "StatusUpdate"), "(<true>,)");
        run_until([this] { return folder.read("parameters.conf").find("StatusUpdate") == std::string::npos; });
        expect_lens_errors_seen();
        EXPECT_EQ(get("UserAdv", "MoveSpeed") + speed(), "(<40>,)(<40.0>,)");
        const unsigned zooms = records("Zoom speed");
        EXPECT_EQ(client.call("Move", "([('zoom','continuous',10.0)], 0.0, @a{sv} {})").said(), "()");
        EXPECT_EQ(client.call("Stop").said(), "()");
        EXPECT_EQ(records("Zoom speed"), zooms + 1);
        EXPECT_EQ(last_record("Zoom speed"), " Zoom speed 7"); // the full one
    }
}

TEST_F(SystemParams, WhatTheBlockTookWithoutItsAnswerIsTakenBackOrSaidToBeUnknown)
{
    start_all();
    const struct {
        const char *method, *former, *wanted, *record;
    } rows[] = {
        {"SetParameter", "('ImageSource','Sharpness',<20>)", "('ImageSource','Sharpness',<77>)", "Sharpness"},
        {"SetParameter", "('ImageSource','WDR',<'off'>)", "('ImageSource','WDR',<'on'>)", "WDR"},
        {"SetParameter", "('Limit','MinFocus',<1>)", "('Limit','MinFocus',<5000>)", "Auto focus near limit"},
        {"SetIrisMode", "('auto',)", "('manual',)", "Exposure mode"},
        {"SetFocusMode", "('auto',)", "('manual',)", "Focus mode"},
        {"SetBacklightMode", "('off',)", "('on',)", "Brightness level"},
    };
    for (const auto &[method, former, wanted, name] : rows) {
        const char *record = name; // as lambdas take it
        SCOPED_TRACE(wanted);
        EXPECT_EQ(client.call(method, former).said(), "()");
        const std::string before = last_record(record);
        EXPECT_EQ(set("UserAdv", "StatusUpdate", "false").said(), "()"); // only settings meet the fault
        sim_command("fault bad-checksum 11");                            // all attempts of a command, and one read
        const Reply refused = client.call(method, wanted);
        EXPECT_EQ(refused.error, "Failed");
        EXPECT_NE(refused.text.find("its former value again"), std::string::npos) << refused.text;
        EXPECT_EQ(last_record(record), before);
        EXPECT_EQ(set("UserAdv", "StatusUpdate", "true").said(), "()");

        sim_command("fault bad-checksum forever");
        const Reply unknown = client.call(method, wanted);
        EXPECT_EQ(unknown.error, "Failed");
        EXPECT_NE(unknown.text.find("not known"), std::string::npos) << unknown.text;
        const unsigned sent = records(record);
        sim_command("clear faults");
        run_until([&] { return records(record) > sent; }); // by itself
        run_until([&] { return last_record(record) == before; });
    }
    EXPECT_EQ(get("ImageSource", "Sharpness") + get("Limit", "MinFocus"), "(<20>,)(<1>,)");
    EXPECT_EQ(set("UserAdv", "StatusUpdate", "false").said(), "()");
    sim_command("fault silence 600s");
    const std::size_t failures = logged("Write command failed");
    const ReplyPtr slow = client.send("SetParameter", "('ImageSource','Sharpness',<99>)");
    run_until([&] { return logged("Write command failed") > failures; });
    EXPECT_EQ(get("ImageSource", "Sharpness"), "(<20>,)"); // the bus is not ahead of the camera
    sim_command("clear faults");
    EXPECT_EQ(Client::wait(slow).said(), "()");
    EXPECT_EQ(get("ImageSource", "Sharpness"), "(<99>,)");
    sim_command("fault bad-checksum forever");
    EXPECT_EQ(set("ImageSource", "Gain", "30").error, "Failed");
    EXPECT_EQ(client.call("GetParameter", "('ImageSource','Gain')").error, "UnknownParameter"); // no value, as before
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(SystemParams, WhatAStartHasMissedFollowsAndTwentyFormatChangesAreTwo)
{
    start_sim();
    sim_command("fault delay-edge 200ms forever"); // a start that takes its time
    start_ptzd();
    run_until([this] { return records("Capture frame rate") > 0; }); // that step is over, and nobody listens yet
    sim_command("set video-capture-mode 720p30");
    sim_command("set capture-frequency 30");
    const std::string first = last_record("Capture frame rate");
    run_until([this] { return records("Sharpness") > 0; });
    sim_command("fault bad-checksum 40"); // some parameters are not taken
    await_state(1);
    run_until([&] { return last_record("Capture frame rate") != first; });
    run_until([this] { return logged("Applied again: every parameter") == 1; });
    EXPECT_EQ(logged("Faulty type"), 0u);

    sim_command("fault delay-edge 1s forever");
    const unsigned refreshes = records("Capture frame rate");
    for (int signal = 0; signal < 20; ++signal)
        sim_command("set capture-frequency 30");
    ptzctl({"position"});
    EXPECT_LE(records("Capture frame rate"), refreshes + 4); // one ran, one waited; a slow machine makes it some more
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(SystemParams, ASensorThatCannotBeReadIsToldAndNeverWaitedFor)
{
    start_all();
    const std::string sensor = folder.file("thermal_zone0/temp");
    const auto problem = [this] {
        const std::string status = client.call("GetStatus").text;
        const std::size_t at = status.find("'temperature-problem': <'");
        return at == std::string::npos ? std::string() : status.substr(at + 25, status.find("'>", at) - at - 25);
    };
    const auto await_problem = [&](const char *what) {
        run_until([&] { return problem().find(what) != std::string::npos; });
        EXPECT_NE(problem().find("The last good value decides"), std::string::npos) << problem();
        ptzctl({"move", "pan=1"});
    };
    EXPECT_EQ(problem(), "");
    std::filesystem::remove(sensor);
    await_problem("No such file");
    ASSERT_EQ(mkfifo(sensor.c_str(), 0644), 0);
    await_problem("no regular file");
    std::filesystem::remove(sensor);
    folder.write("thermal_zone0/temp", "warm\n");
    await_problem("no temperature");
    EXPECT_EQ(logged("no temperature"), 1u);
    sim_command("set temperature 41");
    run_until([&] { return problem().empty(); });

    sim_command("set temperature 70"); // stays too hot, for all that is known
    await_state(3);
    std::filesystem::remove(sensor);
    run_until([&] { return !problem().empty(); });
    EXPECT_EQ(client.call("GetState").text, "(3, 'stopped, too hot')");
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
    start_ptzd(); // there never was a value
    await_state(1);
    EXPECT_NE(problem().find("not protected"), std::string::npos) << problem();
}

} // namespace
