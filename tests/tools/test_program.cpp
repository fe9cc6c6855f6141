// ptzctl as a whole: what it asks the service, what it prints, how it ends.
#include "tests/tools/service_fixture.h"
#include "tools/ptzctl/command.h"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

auto line_count(const std::string &text)
{
    return std::count(text.begin(), text.end(), '\n');
}

TEST_F(Program, SaysInOneLineWhatToDoWithoutABusOrAService)
{
    const RunResult person = run_ptzctl("stop");
    EXPECT_EQ(person.status, EXIT_NO_SERVICE);
    EXPECT_EQ(person.output, "");
    EXPECT_EQ(line_count(person.errors), 1);
    EXPECT_THAT(person.errors, HasSubstr("DBUS_SYSTEM_BUS_ADDRESS"));
    const RunResult machine = run_ptzctl("stop --json");
    EXPECT_EQ(machine.errors, "");
    EXPECT_THAT(machine.output, AllOf(StartsWith("{\"error\":\"no system bus"), EndsWith("\"code\":\"NoBus\"}\n")));
    for (const char *command : {"stop", "monitor"}) {
        const RunResult result = ptzctl(command);
        EXPECT_EQ(result.status, EXIT_NO_SERVICE) << command;
        EXPECT_EQ(line_count(result.errors), 1) << command;
        EXPECT_THAT(result.errors, HasSubstr("systemctl start ptzd")) << command;
    }
    EXPECT_EQ(ptzctl("state --wait 1 --within 0").status, EXIT_NO_ANSWER);
}

TEST(CommandLine, IsRefusedInOneLineWhenItMeansNothing)
{
    std::istringstream lines(
        "\nmvoe\nmove\nmove pan\nmove pan=\nmove =1\nmove pan=1 --absolute --relative\nmove pan=1 --for 1\n"
        "move --continuous pan=1 --speed 5\nmove pan=1 --speed\nstate --wait 8\nstate --within 8\n"
        "position --for 1\nparams set Limit MaxZoom\nparams set Limit.MaxZoom\nparams get MaxZoom\nparams drop\n"
        "mode iris on\nmode zoom auto\nmode zoom\nspeed-factor on 32768\nspeed-factor on 1.5\n--timeout 0 stop\n"
        "stop now\ndecode\nhelp mvoe\nmvoe --help\nstate --wait ruining\nparams list A B\nparams reset\nstop --json=1\n"
        "move pan=1 --speed 1 --speed 2\nmove --preset pan=rel:1\nmove --preset pan=1 tilt=cont:5\nangle-to-zoom 0\n"
        "angle-to-zoom 5 --scale 0.5\ncapabilities sound\nwait\nwait --for reach\nwait --for temperature=5\n"
        "wait --for temperature<x\nwait --for state=9\nwait --for link>up\npreset set\npreset goto\npreset drop A\n"
        "preset set A yaw\npreset rename A\npreset which pan\npreset import\npreset list --wait\n"
        "preset home set --speed 5\npreset goto A --alone\nspeed-factor on");
    for (std::string line; std::getline(lines, line);) {
        const RunResult result = run_ptzctl(line);
        EXPECT_EQ(result.status, EXIT_USAGE) << line;
        EXPECT_EQ(line_count(result.errors), 1) << line;
        EXPECT_EQ(result.output, "");
    }
    const std::pair<const char *, const char *> reasons[] = {
        {"move pan=1 --speed 100.1", "ptzctl: --speed 100.1 is out of range; give 0 to 100\n"},
        {"move pan=a\nb\x1b", "ptzctl: pan 'a?b?' is not a number; write it like 12 or -3.5\n"},
        {"move Pan=1", "ptzctl: no axis 'Pan'; there are pan, tilt, zoom, iris, focus, brightness\n"},
        {"move pan=fast:1", "ptzctl: 'pan=fast:1': no move type 'fast'; there are abs, rel, cont\n"},
        {"move pan=1 pan=rel:1", "ptzctl: axis pan is named twice; name it once\n"},
        {"params drop", "ptzctl: 'params' takes list, get, set, reset here, not 'drop'; see 'ptzctl params --help'\n"},
        {"params set A", "ptzctl: 'params' takes GROUP.NAME here, not 'A'; see 'ptzctl params --help'\n"},
        {"mode iris", "ptzctl: 'mode' needs auto|manual; see 'ptzctl mode --help'\n"},
        {"stop --now", "ptzctl: 'stop' has no option '--now'; see 'ptzctl stop --help'\n"}};
    for (const auto &[line, reason] : reasons)
        EXPECT_EQ(run_ptzctl(line).errors, reason);
}

TEST_F(Program, AsksTheServiceForWhatItsWordsSay)
{
    serve();
    const std::pair<const char *, const char *> lines[] = {
        {"move pan=10 tilt=rel:-5 zoom=2000 --speed 50",
         "Move([('pan', 'absolute', 10.0), ('tilt', 'relative', -5.0), ('zoom', 'absolute', 2000.0)], 50.0, {})"},
        {"move --preset pan=0.5 --json", "Move([('pan', 'absolute', 0.5)], 0.0, {'preset': <true>})"},
        {"move --continuous pan=-30 --for 0", "Move([('pan', 'continuous', -30.0)], 0.0, {'id': <uint32 N>}) Stop()"},
        {"move --wait tilt=1", "Move([('tilt', 'absolute', 1.0)], 0.0, {'id': <uint32 N>})"},
        {"move --continuous pan=0", "Move([('pan', 'continuous', 0.0)], 0.0, {})"}, // does not stay for it
        {"params set Limit.MinPan -90", "SetParameter('Limit', 'MinPan', <'-90'>)"},
        {"params set A B 100%s\n", "SetParameter('A', 'B', <'100%s\\n'>)"},
        {"params reset Limit.MinPan", "ListParameters('Limit',) SetParameter('Limit', 'MinPan', <'-170'>)"},
        {"state --wait running", "GetState()"},
        {"speed-factor on -5", "SetSpeedFactor(true, -5)"}};
    for (const auto &[line, asked] : lines) {
        calls.clear();
        const RunResult result = ptzctl(line);
        EXPECT_EQ(result.status, EXIT_DONE) << result.errors;
        EXPECT_EQ(calls, asked);
    }
}

TEST_F(Program, PrintsTextForPeopleAndObjectsForMachines)
{
    serve();
    const std::pair<const char *, const char *> outputs[] = {
        {"--json state", "{\"state\":1,\"text\":\"running\"}\n"},
        {"position --json", "{\"brightness\":1,\"focus\":1,\"iris\":-1,\"pan\":10.25,\"tilt\":-5,\"zoom\":2000,"
                            "\"age\":0.25,\"link\":\"down\"}\n"},
        {"params get UserAdv.Name --json", "{\"group\":\"UserAdv\",\"name\":\"Name\",\"value\":\"a \\\"b\\\"\"}\n"},
        {"params",
         "NAME           VALUE  TAKES\nLimit.MinPan   -90    -170..170\nUserAdv.State  -      on, off, a $HOME|b\n"},
        {"status", "state        1 running\nlink         down, last heard of 1.250 s ago\nresets       2\ntemperature  "
                   "40.2 deg C\n             No?protection.\nerrors       Cam error DSP/Pan-Tilt (0084)\n"
                   "model        model:0001\nOther        a?b\n"},
        {"upgrade", "none yet\n"},
        {"stop --json", "{\"ok\":true}\n"}};
    for (const auto &[line, output] : outputs)
        EXPECT_EQ(ptzctl(line).output, output);
    EXPECT_EQ(ptzctl("position --watch --for 0").output,
              "pan 10.250 tilt -5.000 zoom 2000 focus 1 iris -1 brightness 1 down\n");
    EXPECT_THAT(
        run_program({"/usr/bin/env", "COLUMNS=40", required_variable("PTZCTL"), "status"}, "", address()).output,
        HasSubstr("down, last heard of 1.250 s\n             ago\n"));
    EXPECT_THAT(ptzctl("position").output,
                AllOf(HasSubstr("pan           10.250 deg\n"), HasSubstr("iris              -1 (not known)\n"),
                      HasSubstr("age            0.250 s\nlink            down\n")));
    const RunResult tour = ptzctl("tour"); // the camera stays where it is
    EXPECT_EQ(tour.status, EXIT_REFUSED);
    EXPECT_EQ(tour.output, "ok: the camera runs: running\n");
    EXPECT_EQ(tour.errors, "ptzctl: the tour stopped at 'pan 10 absolute': at 10.25\n");
}

TEST(UpgradeText, SaysWhatCameOfItAndWhetherItIsTriedAgain)
{
    const GVariantOwned status(g_variant_ref_sink(g_variant_new_parsed(
        "{'upgrade': <{'from': <'01000000'>, 'to': <'01020304'>, 'when': <int64 0>, 'result': <'given\nup'>, "
        "'held': <true>}>}")));
    EXPECT_THAT(upgrade_text(status.get()),
                AllOf(StartsWith("01000000 to 01020304, 19"),
                      EndsWith(": given?up (not tried again; 'ptzctl upgrade --retry' does)")));
}

TEST_F(Program, EndsAsTheMoveEndsThatItWaitsFor)
{
    serve();
    const struct {
        const char *line, *reason;
        int status;
        const char *output;
    } cases[] = {
        {"move pan=1 --wait", "reached", EXIT_DONE, "reached: iris 4, pan 10.25\n"},
        {"move pan=1 --wait", "limit", EXIT_NOT_REACHED, "limit: iris 4, pan 10.25\n"},
        {"move pan=1 --wait --json", "link lost", EXIT_NOT_REACHED,
         "{\"reached\":false,\"reason\":\"link lost\",\"position\":{\"iris\":4,\"pan\":10.25}}\n"},
        {"move --continuous pan=1", "replaced", EXIT_DONE, "replaced: iris 4, pan 10.25\n"},
        {"move --continuous pan=1", "camera stopped", EXIT_NOT_REACHED, "camera stopped: iris 4, pan 10.25\n"}};
    for (const auto &[line, ends, status, output] : cases) {
        reason = ends;
        const RunResult result = ptzctl(line);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.status, status) << line << ends;
    }
}

TEST_F(Program, PassesOnWhyTheServiceRefused)
{
    serve();
    refusal = "com.orna.PTZ.Error.OutOfRange";
    const RunResult person = ptzctl("move pan=200");
    EXPECT_EQ(person.status, EXIT_REFUSED);
    EXPECT_EQ(person.errors, "ptzctl: pan 200 is outside?-170..170; give a smaller angle: 100%s\n");
    const RunResult machine = ptzctl("move pan=200 --json");
    EXPECT_EQ(machine.errors, "");
    EXPECT_THAT(machine.output, EndsWith("\"code\":\"OutOfRange\"}\n"));
    refusal = "org.freedesktop.DBus.Error.UnknownMethod"; // a service of another version
    EXPECT_THAT(ptzctl("stop --json").output, HasSubstr("\"code\":\"WrongVersion\""));
    refusal = "org.freedesktop.DBus.Error.AccessDenied";
    EXPECT_EQ(ptzctl("special reset").errors,
              "ptzctl: the bus does not let you do that: members of the group ptz move and set the camera, those of "
              "ptz-admin reset and upgrade it\n");
}

TEST_F(Program, SaysAtCtrlCWhatGoesOnWithoutIt)
{
    serve();
    const TempFolder folder;
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"special", "reset", "interrupted; the camera goes on with the command; 'ptzctl state' says when it runs\n"},
        {"capabilities", "zoom", "interrupted; nothing was changed\n"}};
    for (const auto &[command, word, said] : cases) {
        calls.clear();
        is_silent = true;
        Process program({required_variable("PTZCTL"), command, word}, {{"DBUS_SYSTEM_BUS_ADDRESS", address()}},
                        folder.file("log"));
        run_until([this] { return !calls.empty(); });
        program.signal(SIGINT);
        EXPECT_EQ(program.wait(), EXIT_INTERRUPTED);
        EXPECT_EQ(program.output(), std::string("ptzctl: ") + said);
    }
}

TEST_F(Program, EndsSilentlyWhenNobodyReadsIt)
{
    serve();
    const RunResult result = run_program(
        {"/bin/bash", "-c", R"(exec 3> >(true); wait $!; "$0" params >&3; echo $?)", required_variable("PTZCTL")}, "",
        address());
    EXPECT_EQ(result.output, "141\n"); // SIGPIPE
    EXPECT_EQ(result.errors, "");
}

TEST(Decode, PutsFramesIntoWordsAndReportsEachLineThatIsNone)
{
    // A frame of 12 bytes with the packet [Pan position 12500].
    const std::string frame = "1.500000 port0 host 1024 000CFED31001000807010800000030D4\n";
    const std::string words = "   1.500000 port0 host   Pan position 12500 (12.500 deg)\n";
    const std::string little = "1.500000 port1 block 16 020002FFFE\n", big = "1.500000 port1 block 16 0002FF02FE\n";
    const std::string ready = "   1.500000 port1 block  Upgrade ready\n";
    const std::string none = ": not a line of a trace, skipped\n";
    const struct {
        const char *line;
        std::string trace;
        int status;
        std::string output, errors;
    } cases[] = {
        {"decode -", "# remark\n\n" + frame + "1.500100 port0 block 1024 \n", EXIT_DONE, words, ""}, // an empty frame
        {"decode -", "garbage\n" + frame + std::string(100000, '\xff') + "\n" + std::string(3, '\0'), EXIT_REFUSED,
         words,
         "ptzctl: line 1" + none + "ptzctl: line 3" + none +
             "ptzctl: line 4: the trace was cut here; all before it is shown\n"},
        {"decode - --json --sent", frame + "garbage\n", EXIT_REFUSED,
         "{\"line\":1,\"seconds\":1.5,\"port\":0,\"sender\":\"host\",\"texts\":[\"Pan position 12500 (12.500 deg)\"]}\n"
         "{\"line\":2,\"error\":\"not a line of a trace, skipped\"}\n",
         ""},
        // The block's frame [Upgrade ready], with its header in either order: told by the trace, or by the frame
        // itself.
        {"decode -", "# byte order: big endian\n" + big + "# byte order: little endian\n" + big, EXIT_DONE,
         ready + "   1.500000 port1 block  Frame of 512 bytes does not fit its burst\n", ""},
        {"decode -", big + little, EXIT_DONE, ready + ready, ""},
        {"decode - --big-endian", "# byte order: little endian\n" + big, EXIT_DONE, ready, ""},
        {"decode /dev/null", "", EXIT_REFUSED, "",
         "ptzctl: cannot read the trace '/dev/null': it is empty; krx-sim --trace FILE and ptzd --trace FILE write "
         "one\n"}};
    for (const auto &[line, trace, status, output, errors] : cases) {
        const RunResult result = run_ptzctl(line, trace);
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.errors, errors);
    }
}

} // namespace
