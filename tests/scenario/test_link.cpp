// What is known, told and done about the link to the camera block.
#include "tests/scenario/system_fixture.h"

#include <csignal>
#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

class Link : public SystemTest {
  protected:
    Link()
    {
        const auto hear = [](GDBusConnection *, const char *, const char *, const char *, const char *name,
                             GVariant *parameters,
                             gpointer data) { static_cast<Link *>(data)->told += name + print(parameters) + "\n"; };
        subscription_ =
            g_dbus_connection_signal_subscribe(client.connection(), nullptr, "com.orna.PTZ", nullptr, "/com/orna/PTZ",
                                               nullptr, G_DBUS_SIGNAL_FLAGS_NONE, hear, this, nullptr);
    }
    ~Link() override { g_dbus_connection_signal_unsubscribe(client.connection(), subscription_); }

    void await_told(const char *text)
    {
        run_until([&] { return told.find(text) != std::string::npos; });
        EXPECT_THAT(told, HasSubstr(text)) << ptzd->output();
    }
    // The number that a call's answer has under that key, NAN without it.
    double number_of(const char *method, const std::string &key)
    {
        const std::string text = client.call(method).text;
        const std::string before = "'" + key + "': ";
        const std::size_t at = text.find(before);
        if (at == std::string::npos)
            return NAN;
        return std::strtod(text.c_str() + text.find_first_of("-0123456789", at + before.size()), nullptr);
    }

    std::string told; // every signal of ptzd, a line each

  private:
    guint subscription_;
};

TEST_F(Link, IsToldWhenItIsGoneAndWhenItIsBack)
{
    start_all();
    await_told("LinkChanged('up', ");
    ptzctl({"move", "pan=12.5"});
    run_until([this] { return number_of("GetPosition", "pan") == 12.5; });
    const std::pair<const char *, const char *> outages[] = {
        {"fault bad-checksum forever", "clear faults"}, {"fault hold-request low", "clear faults"}, {"", ""}};
    for (const auto &[begin, end] : outages) {
        SCOPED_TRACE(begin);
        told.clear();
        if (*begin != '\0')
            sim_command(begin);
        else
            sim->signal(SIGKILL);
        await_told("LinkChanged('down', ");
        EXPECT_LT(std::strtod(told.c_str() + told.find("down', ") + 7, nullptr), 10) << told; // soon
        EXPECT_GT(number_of("GetStatus", "status-age"), 1);
        EXPECT_GT(number_of("GetPosition", "age"), 1);
        EXPECT_EQ(number_of("GetPosition", "pan"), 12.5);
        EXPECT_THAT(ptzctl({"status"}), HasSubstr("\"link\":\"down\""));
        EXPECT_THAT(ptzctl({"position"}), HasSubstr("\"link\":\"down\""));
        if (*end == '\0')
            continue;
        sim_command(end);
        await_told("LinkChanged('up', ");
        run_until([this] { return number_of("GetPosition", "age") < 1; });
    }
}

TEST_F(Link, ABlockThatLostItsSettingsIsGivenThemAgain)
{
    start_all();
    ptzctl({"params", "set", "ImageSource.Sharpness", "80"});
    const std::pair<const char *, const char *> losses[] = {
        {"fault reboot", ", 'Camera block started anew by itself')"},
        {"fault silence 4s", "LinkChanged('down', "},
    };
    for (const auto &[fault, signal] : losses) {
        SCOPED_TRACE(fault);
        told.clear();
        const unsigned sent = sim_counts("Records")["Sharpness"];
        const std::size_t applied = logged("All parameters are applied again");
        // So long that a busy machine does not miss it, and still no outage that counts by itself.
        sim_command("fault slow-boot 1300ms");
        sim_command(fault);
        await_told(signal);
        run_until([&] { return logged("All parameters are applied again") > applied; });
        EXPECT_GT(sim_counts("Records")["Sharpness"], sent);
    }
    EXPECT_GE(logged("The camera block has started anew by itself: applying all parameters again"), 1u);
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'reboots': <uint32 1>"));
    Counts offences = sim_counts("Offences");
    offences.erase("burst-without-request"); // the block may fall silent between the host's look and its burst
    EXPECT_EQ(offences, Counts{});
}

TEST_F(Link, ABlockThatStaysAwayIsResetAgainAndAgain)
{
    time_scale = "60";
    start_sim();
    start_ptzd({"--link-timeout", "2"});
    await_state(1);
    sim->signal(SIGKILL);
    sim->wait();
    run_until([this] { return logged("The camera block is still silent: reset 1") == 1; });
    await_state(7);
    EXPECT_THAT(client.call("GetStatus").text, AllOf(HasSubstr("'resets': <uint32 1>"), HasSubstr("'link': <'off'>")));
    start_sim();
    run_until([this] { return logged("reset 2") == 1; });
    await_state(1);
    run_until([this] { return number_of("GetPosition", "age") < 1; });
    // A busy machine may let the time of an answer pass once more.
    run_until([this] { return client.call("GetStatus").text.find("'link': <'up'>") != std::string::npos; });
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'resets': <uint32 0>"));
}

TEST_F(Link, AStartThatFailsIsTriedAgain)
{
    start_sim();
    sim_command("fault init-done never");
    start_ptzd({"--start-timeout", "20", "--link-timeout", "5"});
    await_state(7);
    sim_command("clear faults");
    await_state(1);
    EXPECT_EQ(logged("The camera has failed: reset 1"), 1u);
    run_until([this] { return number_of("GetPosition", "age") < 1; });
    EXPECT_THAT(client.call("GetStatus").text, HasSubstr("'resets': <uint32 0>"));
}

TEST_F(Link, AFailedRestartLeavesABlockThatIsOffAlone)
{
    start_all();
    sim_command("fault image-control missing");
    EXPECT_NE(client.call("RunSpecialCommand", "('reset',)").text, "");
    await_state(7);
    const double age = number_of("GetPosition", "age");
    run_until([this, age] { return number_of("GetPosition", "age") > age + 11; }); // by when a read has given up
    EXPECT_EQ(logged("Timeout (10s) occurred while waiting for request!"), 0u);
    sim_command("clear faults");
    EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").error, "");
    run_until([this] { return number_of("GetPosition", "age") < 1; });
    EXPECT_LT(number_of("GetStatus", "status-age"), 1); // it is asked again
}

TEST_F(Link, APositionIsAnsweredAtOnceFromWhatWasLastKnown)
{
    start_sim();
    start_ptzd();
    EXPECT_FALSE(client.call("GetPosition").error.empty()); // nothing is known yet
    await_state(1);
    ptzctl({"move", "pan=12.5", "zoom=5000"});
    await_sim("Pan", 12.5, 0.001);
    run_until([this] { return number_of("GetPosition", "pan") == 12.5 && number_of("GetPosition", "zoom") == 5000; });
    const ReplyPtr reset = client.send("RunSpecialCommand", "('reset',)");
    await_state(4);
    const std::string text = client.call("GetPosition").text;
    EXPECT_THAT(text, AllOf(HasSubstr("'pan': 12.5"), HasSubstr("'zoom': 5000"), HasSubstr("'age': ")));
    EXPECT_FALSE(reset->done);
    await_state(1);
    sim_command("fault hold-request low");
    const ReplyPtr move = client.send("Move", "([('pan', 'absolute', 20.0)], 0.0, @a{sv} {})"); // waits for the line
    EXPECT_EQ(number_of("GetPosition", "pan"), 12.5);
    EXPECT_FALSE(move->done);
    sim_command("clear faults");
    run_until([&] { return move->done; });
}

TEST_F(Link, ATimeThatIsNoneIsRefused)
{
    for (const char *time : {"soon", "-1", "nan", "1e9"}) {
        start_ptzd({"--link-timeout", time});
        EXPECT_EQ(ptzd->wait(), 2) << time;
        EXPECT_THAT(ptzd->output(), HasSubstr("Try ptzd --help.")) << time;
    }
}

} // namespace
