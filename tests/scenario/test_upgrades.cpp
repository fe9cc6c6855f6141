// What people are told of a restart of the camera and of its firmware.
#include "tests/scenario/system_fixture.h"

#include "sim/image.h"

#include <filesystem>
#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

const std::string NOT_UPGRADED = "Failed: The camera runs, but its firmware was not upgraded: ";
const std::string OLD = "the camera block still has version 01000000";
const std::string HELD = "this image failed three times in a row and is tried again when it is another one, or by "
                         "'ptzctl upgrade --retry'.";

class Upgrades : public SystemTest {
  protected:
    Upgrades() { image(5000); }

    void image(std::size_t size)
    {
        const std::vector<std::uint8_t> bytes = sim::make_image(0x01020304, size);
        folder.write("IMC.APP", {bytes.begin(), bytes.end()});
    }
    std::string reset() { return client.call("RunSpecialCommand", "('reset',)").said(); }
    std::string status() { return client.call("GetStatus").text; }
    std::size_t tried() { return logged("Camera block firmware upgrade needed, starting upgrade."); }
};

TEST_F(Upgrades, AResetTellsWhyTheCameraIsNotAsItShallBe)
{
    const struct {
        const char *fault;
        const char *image; // what the file holds
        std::string verdict;
    } resets[] = {
        {"drop-edge 0", "12345678", NOT_UPGRADED + "the file is no firmware image."},
        {"image-control missing", "12345678", "Failed: The camera did not start: failed to initialize capture mode."},
    };
    folder.write("IMC.APP", "");
    start_all();
    for (const auto &[fault, image, verdict] : resets) {
        sim_command(std::string("fault ") + fault);
        folder.write("IMC.APP", image);
        EXPECT_EQ(reset(), verdict);
    }
    EXPECT_THAT(ptzctl({"status"}), HasSubstr("\"failure\":\"failed to initialize capture mode\""));
}

TEST_F(Upgrades, AnImageThatFailsThreeTimesIsHeldBackUntilItChangesOrSomebodyAsks)
{
    start_sim();
    sim_command("set firmware 01000000");
    sim_command("fault new-firmware never");
    start_ptzd();
    await_state(1);
    for (int time = 2; time <= 3; ++time)
        EXPECT_EQ(reset(), NOT_UPGRADED + OLD + ".");
    EXPECT_EQ(reset(), NOT_UPGRADED + HELD);
    EXPECT_EQ(tried(), 3u);

    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
    start_ptzd();
    await_state(1);
    EXPECT_EQ(tried(), 0u); // known over the restart
    EXPECT_THAT(status(), HasSubstr("'upgrade': <{'from': <'01000000'>, 'to': <'01020304'>, 'when': <int64 1"));
    EXPECT_THAT(status(), HasSubstr("'result': <'" + OLD + "'>, 'held': <true>}>"));

    int exit_status = 0;
    EXPECT_THAT(ptzctl({"upgrade", "--retry"}, &exit_status), HasSubstr(OLD));
    EXPECT_EQ(exit_status, 1);
    EXPECT_EQ(tried(), 1u);
    image(6000); // another one of the same version
    sim_command("clear faults");
    EXPECT_EQ(reset(), "()");
    EXPECT_EQ(tried(), 2u);
    EXPECT_THAT(ptzctl({"upgrade"}), HasSubstr("\"result\":\"done\",\"held\":false}"));
    EXPECT_EQ(ptzctl({"upgrade", "--retry"}), "{\"ok\":true}\n"); // nothing is left to do
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(Upgrades, PtzctlInstallsAnImageAndTellsHowFarItIs)
{
    const std::vector<std::uint8_t> bytes = sim::make_image(0x01020304, 20000);
    const auto upgrade = [&](std::vector<std::string> words, int expected) {
        words.insert(words.begin(), "upgrade");
        int status = -1;
        const std::string said = ptzctl(words, &status);
        EXPECT_EQ(status, expected) << said;
        return said;
    };
    const std::string place = folder.file("IMC.APP"), file = folder.file("new"), junk = folder.file("junk");
    folder.write("new", {bytes.begin(), bytes.end()});
    folder.write("junk", "131 but short");
    std::filesystem::remove(place);
    start_sim();
    sim_command("set firmware 01000000");
    start_ptzd();
    await_state(1);
    EXPECT_THAT(upgrade({junk, "--yes"}, 1), HasSubstr("'" + junk + "' is no firmware image (13 bytes)"));
    EXPECT_THAT(upgrade({"/nowhere", "--yes"}, 1), HasSubstr("cannot read '/nowhere'"));
    EXPECT_THAT(upgrade({folder.path(), "--yes"}, 1), HasSubstr("it is no file"));
    EXPECT_THAT(upgrade({file}, 2), HasSubstr("there is nobody to ask"));
    EXPECT_EQ(upgrade({file, "--dry-run"}, 0), "{\"from\":\"01000000\",\"to\":\"01020304\",\"size\":20000,\"file\":\"" +
                                                   place + "\",\"install\":true,\"restart\":true}\n");
    EXPECT_FALSE(std::filesystem::exists(place));
    sim_command("fault new-firmware never");
    EXPECT_THAT(upgrade({file, "--yes"}, 1), HasSubstr(OLD));
    sim_command("clear faults");
    const std::string done = upgrade({file, "--yes"}, 0);
    EXPECT_THAT(done, HasSubstr("\"install\":false,\"restart\":true}"));
    EXPECT_THAT(done, HasSubstr("{\"sent\":20,\"chunks\":20}\n{\"from\":\"01000000\",\"to\":\"01020304\""));
    EXPECT_THAT(done, HasSubstr("\"result\":\"done\""));
    EXPECT_THAT(upgrade({file, "--yes"}, 0), HasSubstr("\"restart\":false}\n{\"ok\":true}"));
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

} // namespace
