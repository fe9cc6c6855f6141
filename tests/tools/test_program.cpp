// ptzctl as a whole: what it asks the service, what it prints, how it ends.
#include "tests/tools/program_fixture.h"
#include "tools/ptzctl/command.h"

#include <gmock/gmock.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

GVariant *answer_well(const std::string &method, std::string &, std::string &)
{
    const std::pair<const char *, const char *> answers[] = {
        {"GetPosition", "({'pan': 10.25, 'tilt': -5.0, 'zoom': 2000.0, 'iris': -1.0, 'focus': 1.0, "
                        "'brightness': 1.0},)"},
        {"GetState", "(1, 'running')"},
        {"GetParameter", "(<'a \"b\"'>,)"},
        {"ListParameters",
         "([{'group': <'Limit'>, 'name': <'MinPan'>, 'kind': <'integer'>, 'minimum': <-170>, 'maximum': <170>, "
         "'writable': <true>, 'value': <-90>}, {'group': <'UserAdv'>, 'name': <'State'>, 'kind': <'string'>, "
         "'choices': <[('on', 'On'), ('off', 'Off')]>, 'writable': <true>}],)"},
        {"GetStatus", "({'state': <1>, 'text': <'running'>, 'temperature': <40.25>, 'error-bits': <uint32 0x84>, "
                      "'errors': <'Cam error DSP/Pan-Tilt'>, 'reports': <{'DeviceModVer': 'model:0001', "
                      "'Other': 'a\\nb'}>},)"},
        {"ListSpecialCommands", "(['wbonep', 'reset'],)"},
    };
    for (const auto &[name, answer] : answers)
        if (method == name)
            return g_variant_parse(nullptr, answer, nullptr, nullptr, nullptr);
    return nullptr;
}

auto line_count(const std::string &text)
{
    return std::count(text.begin(), text.end(), '\n');
}

TEST_F(ProgramTest, SaysInOneLineWhatToDoWithoutABusOrAService)
{
    const RunResult person = run_ptzctl("stop");
    EXPECT_EQ(person.status, EXIT_NO_SERVICE);
    EXPECT_EQ(person.output, "");
    EXPECT_EQ(line_count(person.errors), 1);
    EXPECT_THAT(person.errors, HasSubstr("DBUS_SYSTEM_BUS_ADDRESS"));
    const RunResult machine = run_ptzctl("stop --json");
    EXPECT_EQ(machine.errors, "");
    EXPECT_THAT(machine.output, AllOf(StartsWith("{\"error\":\"no system bus"), EndsWith("\"code\":\"NoBus\"}\n")));
    for (const char *command : {"stop", "monitor", "position"}) {
        const RunResult result = ptzctl(command);
        EXPECT_EQ(result.status, EXIT_NO_SERVICE) << command;
        EXPECT_EQ(line_count(result.errors), 1) << command;
        EXPECT_THAT(result.errors, HasSubstr("systemctl start ptzd")) << command;
    }
    EXPECT_EQ(ptzctl("state --wait 1 --within 0").status, EXIT_NO_ANSWER);
}

TEST(Program, RefusesCommandLinesThatMeanNothing)
{
    for (const char *line : {"",
                             "mvoe",
                             "move",
                             "move pan=1 --speed 101",
                             "move pan=1 --absolute --relative",
                             "move --continuous pan=1 --speed 5",
                             "move pan=1 --for 1",
                             "state --wait 8",
                             "state --within 8",
                             "position --for 1",
                             "params set Limit MaxZoom",
                             "params set Limit.MaxZoom",
                             "params get MaxZoom",
                             "params drop",
                             "mode iris on",
                             "mode zoom auto",
                             "speed-factor on 32768",
                             "speed-factor on 1.5",
                             "--timeout 0 stop",
                             "help mvoe"}) {
        const RunResult result = run_ptzctl(line);
        EXPECT_EQ(result.status, EXIT_USAGE) << line;
        EXPECT_EQ(line_count(result.errors), 1) << line;
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(ProgramTest, AsksTheServiceForWhatItsWordsSay)
{
    serve(answer_well);
    const std::pair<const char *, const char *> lines[] = {
        {"move pan=10 tilt=rel:-5 zoom=2000 --speed 50",
         "Move([('pan', 'absolute', 10.0), ('tilt', 'relative', -5.0), ('zoom', 'absolute', 2000.0)], 50.0, {})"},
        {"move --relative --preset pan=0.5 --json", "Move([('pan', 'relative', 0.5)], 0.0, {'preset': <true>})"},
        {"move --continuous pan=-30 --for 0", "Move([('pan', 'continuous', -30.0)], 0.0, {}) Stop()"},
        {"move --continuous pan=0", "Move([('pan', 'continuous', 0.0)], 0.0, {})"}, // does not stay for it
        {"params set Limit.MinPan -90", "SetParameter('Limit', 'MinPan', <'-90'>)"},
        {"params set A B 100%s\n", "SetParameter('A', 'B', <'100%s\\n'>)"},
        {"mode backlight on", "SetBacklightMode('on',)"},
        {"speed-factor on -5", "SetSpeedFactor(true, -5)"},
    };
    for (const auto &[line, asked] : lines) {
        calls.clear();
        const RunResult result = ptzctl(line);
        EXPECT_EQ(result.status, EXIT_DONE) << result.errors;
        EXPECT_EQ(calls, asked);
    }
}

TEST_F(ProgramTest, PrintsTextForPeopleAndObjectsForMachines)
{
    serve(answer_well);
    const std::pair<const char *, const char *> outputs[] = {
        {"state", "1 running\n"},
        {"--json state", "{\"state\":1,\"text\":\"running\"}\n"},
        {"position --json", "{\"brightness\":1,\"focus\":1,\"iris\":-1,\"pan\":10.25,\"tilt\":-5,\"zoom\":2000}\n"},
        {"params get UserAdv Name", "a \"b\"\n"},
        {"params get UserAdv.Name --json", "{\"group\":\"UserAdv\",\"name\":\"Name\",\"value\":\"a \\\"b\\\"\"}\n"},
        {"params", "GROUP       NAME                       KIND     VALUE                      RANGE\n"
                   "Limit       MinPan                     integer  -90                        -170..170\n"
                   "UserAdv     State                      string   -                          on, off\n"},
        {"status", "state        1 running\ntemperature  40.2 deg C\nerrors       Cam error DSP/Pan-Tilt (0084)\n"
                   "model        model:0001\nOther        a?b\n"},
        {"special", "wbonep\nreset\n"},
        {"special list --json", "{\"commands\":[\"wbonep\",\"reset\"]}\n"},
        {"stop --json", "{\"ok\":true}\n"},
    };
    for (const auto &[line, output] : outputs)
        EXPECT_EQ(ptzctl(line).output, output);
    EXPECT_THAT(ptzctl("position").output,
                AllOf(HasSubstr("pan           10.250 deg\n"), HasSubstr("iris              -1 (not known)\n")));
}

TEST_F(ProgramTest, ATourEndsAtTheFirstStepThatGoesWrong)
{
    serve(answer_well); // its camera stays where it is
    const RunResult result = ptzctl("tour");
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_EQ(result.output, "ok: the camera runs: running\n");
    EXPECT_EQ(result.errors, "ptzctl: the tour stopped at 'pan 10 absolute': at 10.25\n");
}

TEST_F(ProgramTest, PassesOnWhyTheServiceRefused)
{
    std::string refusal = "com.orna.PTZ.Error.OutOfRange";
    serve([&](const std::string &, std::string &name, std::string &text) -> GVariant * {
        name = refusal;
        text = "pan 200 is outside\n-170..170; give a smaller angle: 100%s";
        return nullptr;
    });
    const RunResult person = ptzctl("move pan=200");
    EXPECT_EQ(person.status, EXIT_REFUSED);
    EXPECT_EQ(person.errors, "ptzctl: pan 200 is outside?-170..170; give a smaller angle: 100%s\n");
    const RunResult machine = ptzctl("move pan=200 --json");
    EXPECT_EQ(machine.errors, "");
    EXPECT_THAT(machine.output, EndsWith("\"code\":\"OutOfRange\"}\n"));
    refusal = "org.freedesktop.DBus.Error.UnknownMethod"; // a service of another version
    EXPECT_THAT(ptzctl("stop --json").output, HasSubstr("\"code\":\"WrongVersion\""));
}

TEST(Help, TeachesEveryCommandWithAnExample)
{
    const std::string list = run_ptzctl("--help").output;
    for (const Command &command : all_commands()) {
        EXPECT_THAT(list, HasSubstr(std::string("\n  ") + command.name + " ")) << command.name;
        const RunResult help = run_ptzctl(std::string(command.name) + " --help");
        EXPECT_EQ(help.status, EXIT_DONE) << command.name;
        EXPECT_THAT(help.output, StartsWith(std::string("Usage: ptzctl ") + command.name)) << command.name;
        EXPECT_THAT(help.output, HasSubstr("\n  ptzctl ")) << command.name;
    }
}

} // namespace
