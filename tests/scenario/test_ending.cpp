// The end of ptzd at any moment, of a start that cannot succeed, and of a second ptzd for the same board.
#include "tests/scenario/system_fixture.h"

#include "sim/image.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

class Ending : public SystemTest {
  protected:
    // Starts ptzd with a firmware image of that size in its folder; 0: none.
    void start_ptzd_with(std::size_t image_size, const std::vector<std::string> &options = {})
    {
        std::filesystem::remove(folder.file("IMC.APP"));
        if (const auto image = sim::make_image(NEW_FIRMWARE, image_size); image_size > 0)
            folder.write("IMC.APP", {image.begin(), image.end()});
        std::vector<std::string> command{PTZD_FILE, "--plugin", PLUGIN_FILE, "--foreground"};
        command.insert(command.end(), options.begin(), options.end());
        ptzd = run(command, "ptzd.log");
    }

    // Has ptzd end by that signal, in time and in order.
    void expect_end(int signal = SIGTERM)
    {
        const double before = sim_value("Time");
        ptzd->signal(signal);
        EXPECT_EQ(ptzd->wait(), 0) << ptzd->output();
        EXPECT_LT(sim_value("Time") - before, LATEST);
        EXPECT_EQ(sim_state(), "off");
        EXPECT_EQ(sim_counts("Offences"), Counts{});
    }

    void break_down(const std::string &fault)
    {
        sim_command("clear");
        sim_command("fault " + fault);
    }

    std::function<bool()> block_is(const char *state)
    {
        return [this, state] { return sim_state() == state; };
    }
    std::function<bool()> struck(const char *fault)
    {
        return [this, fault] { return sim_counts("Faults")[fault] > 0; };
    }

    static constexpr std::uint32_t NEW_FIRMWARE = 0x01020304;
    // Seconds of the camera. Twenty are promised; a machine that is busy has the rest.
    static constexpr double LATEST = 60;
};

TEST_F(Ending, ComesInOrderAtEveryStepOfAStart)
{
    const struct {
        const char *fault;
        std::size_t image;
        std::function<bool()> reached;
    } moments[] = {
        {"power-good never", 0, block_is("powering")},
        {"init-done never", 0, block_is("booting")},
        {"silence 10000s", 0, block_is("running")},
        {"hold-request low", 0, block_is("running")},
        {"missing-block 40 forever", 0, struck("missing-block")},
        {"image-control silent", 0, struck("image-control")},
        {"upgrade-ready never", 5000, struck("upgrade-ready")},
        {"refuse-chunks forever", 5000, struck("refuse-chunks")},
        {"refuse-chunk 3 forever", 5000, struck("refuse-chunk")},
        {"fw-complete never", 5000, struck("fw-complete")},
        {"drop-edge 0", 0, [this] { return sim_counts("Records")["Gamma"] > 0; }}, // parameters are being applied
    };
    start_sim();
    for (const auto &[fault, image, reached] : moments) {
        SCOPED_TRACE(fault);
        break_down(fault);
        start_ptzd_with(image);
        run_until(reached);
        expect_end();
    }
}

TEST_F(Ending, ComesInOrderWhileTheCameraRunsAndMoves)
{
    start_sim();
    for (const bool moves : {false, true}) {
        start_ptzd_with(0);
        await_state(1);
        if (moves)
            client.call("Move", "([('pan', 'continuous', 20.0)], 0.0, @a{sv} {})");
        expect_end(SIGINT);
    }
    break_down("silence 10000s");
    start_ptzd_with(0);
    run_until(block_is("running"));
    stop_bus();
    EXPECT_EQ(ptzd->wait(), 3);
}

TEST_F(Ending, WaitsForAnUpgradeThatGetsOn)
{
    start_sim();
    start_ptzd_with(4000000);
    run_until([this] { return logged_in_sim("firmware transfer") > 0; }); // a tenth of it
    expect_end();
    EXPECT_EQ(sim_value("Firmware"), NEW_FIRMWARE);
    EXPECT_EQ(logged("Camera block firmware upgrade is complete."), 1u);
}

TEST_F(Ending, AStartWithoutAnAnswerFailsAndCanBeRepeated)
{
    const struct {
        const char *fault;
        std::size_t image;
        bool stays;
    } starts[] = {{"hold-request low", 0, true}, {"upgrade-cut 3", 5000, false}};
    start_sim();
    for (const auto &[fault, image, stays] : starts) {
        SCOPED_TRACE(fault);
        break_down(fault);
        start_ptzd_with(image, {"--start-timeout", "20", "--link-timeout", "0"});
        await_state(7);
        EXPECT_THAT(client.call("GetStatus").text,
                    HasSubstr("'failure': <'the camera block has not answered for 20 seconds'>"));
        if (stays) {
            EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").said(),
                      "Failed: The camera did not start: the camera block has not answered for 20 seconds.");
        }
        sim_command("clear faults");
        EXPECT_EQ(client.call("RunSpecialCommand", "('reset',)").said(), "()");
        expect_end();
    }
    for (const char *seconds : {"soon", "nan", "-1", ""}) {
        start_ptzd_with(0, {"--start-timeout", seconds});
        EXPECT_EQ(ptzd->wait(), 2) << ptzd->output();
    }
}

TEST_F(Ending, ASecondPtzdOnAnotherBusIsRefusedAsLongAsThereIsAFirst)
{
    start_sim();
    start_ptzd_with(0);
    await_state(1);
    GTestDBus *other = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(other);
    const Process::Variables elsewhere = {{"DBUS_SYSTEM_BUS_ADDRESS", g_test_dbus_get_bus_address(other)},
                                          {"PTZ_DATA_DIR", folder.path()},
                                          {"PTZ_BOARD", folder.path()}};
    Process second({PTZD_FILE, "--plugin", PLUGIN_FILE}, elsewhere, folder.file("second.log"));
    EXPECT_EQ(second.wait(), 3);
    EXPECT_THAT(second.output(), HasSubstr("process " + ptzd->pid() + " on the bus " + address()));
    ptzd->signal(SIGKILL);
    ptzd->wait();
    const Process third({PTZD_FILE, "--plugin", PLUGIN_FILE}, elsewhere, folder.file("third.log"));
    run_until([&] { return folder.read("ptzd-1-0.lock").find("process " + third.pid()) == 0; });
    g_test_dbus_stop(other);
    g_object_unref(other);
}

} // namespace
