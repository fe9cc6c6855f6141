// ptzctl as a whole: what it asks the service, what it prints, how it ends.
#include "fake_service.h"
#include "run_program.h"
#include "tools/ptzctl/command.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr const char *kNoBus = "unix:path=/nonexistent/bus";

GVariant *still_position()
{
    return g_variant_new_parsed("({'pan': 10.25, 'tilt': -5.0, 'zoom': 2000.0, 'iris': -1.0, 'focus': 1.0, "
                                "'brightness': 1.0},)");
}

GVariant *answer_well(const std::string &method, std::string &, std::string &)
{
    if (method == "GetPosition")
        return still_position();
    if (method == "GetState")
        return g_variant_new("(is)", 1, "running");
    if (method == "GetParameter")
        return g_variant_new("(v)", g_variant_new_string("a \"b\""));
    if (method == "ListParameters")
        return g_variant_new_parsed(
            "([{'group': <'Limit'>, 'name': <'MinPan'>, 'kind': <'integer'>, 'minimum': <-170>, 'maximum': <170>, "
            "'writable': <true>, 'value': <-90>}, {'group': <'UserAdv'>, 'name': <'State'>, 'kind': <'string'>, "
            "'choices': <[('on', 'On'), ('off', 'Off')]>, 'writable': <true>}],)");
    if (method == "GetStatus")
        return g_variant_new_parsed("({'state': <1>, 'text': <'running'>, 'temperature': <40.25>, 'error-bits': "
                                    "<uint32 0x84>, 'errors': <'Cam error DSP/Pan-Tilt'>, 'reports': "
                                    "<{'DeviceModVer': 'model:0001', 'Other': 'a\\nb'}>},)");
    if (method == "ListSpecialCommands")
        return g_variant_new_parsed("(['wbonep', 'reset'],)");
    return nullptr;
}

size_t line_count(const std::string &text)
{
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

} // namespace

TEST(Program, SaysInOneLineWhatToDoWithoutABus)
{
    const RunResult person = run_ptzctl_on(kNoBus, {"stop"});
    EXPECT_EQ(person.status, EXIT_NO_SERVICE);
    EXPECT_EQ(person.output, "");
    EXPECT_EQ(line_count(person.errors), 1u);
    EXPECT_THAT(person.errors, HasSubstr("DBUS_SYSTEM_BUS_ADDRESS"));

    const RunResult machine = run_ptzctl_on(kNoBus, {"stop", "--json"});
    EXPECT_EQ(machine.status, EXIT_NO_SERVICE);
    EXPECT_EQ(machine.errors, "");
    EXPECT_THAT(machine.output, StartsWith("{\"error\":\"no system bus"));
    EXPECT_THAT(machine.output, EndsWith("\"code\":\"NoBus\"}\n"));
}

TEST(Program, SaysInOneLineWhatToDoWithoutTheService)
{
    GTestDBus *bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus);
    for (const char *command : {"stop", "monitor", "position"}) {
        const RunResult result = run_ptzctl_on(g_test_dbus_get_bus_address(bus), {command});
        EXPECT_EQ(result.status, EXIT_NO_SERVICE) << command;
        EXPECT_EQ(line_count(result.errors), 1u) << command;
        EXPECT_THAT(result.errors, HasSubstr("systemctl start ptzd")) << command;
    }
    EXPECT_EQ(run_ptzctl_on(g_test_dbus_get_bus_address(bus), {"state", "--wait", "1", "--within", "0"}).status,
              EXIT_NO_ANSWER);
    g_test_dbus_stop(bus);
    g_object_unref(bus);
}

TEST(Program, RefusesCommandLinesThatMeanNothing)
{
    const std::vector<std::string> lines[] = {
        {},
        {"mvoe"},
        {"move"},
        {"move", "pan=1", "--speed", "101"},
        {"move", "pan=1", "--absolute", "--relative"},
        {"move", "--continuous", "pan=1", "--speed", "5"},
        {"move", "pan=1", "--for", "1"},
        {"state", "--wait", "8"},
        {"state", "--within", "8"},
        {"position", "--for", "1"},
        {"params", "set", "Limit", "MaxZoom"},
        {"params", "set", "Limit.MaxZoom"},
        {"params", "get", "MaxZoom"},
        {"params", "drop"},
        {"mode", "iris", "on"},
        {"mode", "zoom", "auto"},
        {"speed-factor", "on", "32768"},
        {"speed-factor", "on", "1.5"},
        {"--timeout", "0", "stop"},
        {"help", "mvoe"},
    };
    for (const auto &words : lines) {
        const RunResult result = run_ptzctl_on(kNoBus, words);
        EXPECT_EQ(result.status, EXIT_USAGE) << testing::PrintToString(words);
        EXPECT_EQ(line_count(result.errors), 1u) << testing::PrintToString(words);
        EXPECT_EQ(result.output, "");
    }
}

TEST(Program, SendsTheAxesWithTheirTypesAndTheSpeed)
{
    FakeService service(answer_well);
    const RunResult result =
        run_ptzctl_on(service.address(), {"move", "pan=10", "tilt=rel:-5", "zoom=2000", "--speed", "50"});
    EXPECT_EQ(result.status, EXIT_DONE) << result.errors;
    EXPECT_EQ(run_ptzctl_on(service.address(), {"move", "--relative", "--preset", "pan=0.5", "--json"}).output,
              "{\"ok\":true}\n");
    EXPECT_THAT(service.calls(),
                ElementsAre("Move([('pan', 'absolute', 10.0), ('tilt', 'relative', -5.0), ('zoom', 'absolute', "
                            "2000.0)], 50.0, {})",
                            "Move([('pan', 'relative', 0.5)], 0.0, {'preset': <true>})"));
}

TEST(Program, SetsParametersByEitherSpellingOfTheirNames)
{
    FakeService service(answer_well);
    EXPECT_EQ(run_ptzctl_on(service.address(), {"params", "set", "Limit.MinPan", "-90"}).status, EXIT_DONE);
    EXPECT_EQ(run_ptzctl_on(service.address(), {"params", "set", "A", "B", "100%s\n"}).status, EXIT_DONE);
    EXPECT_THAT(service.calls(),
                ElementsAre("SetParameter('Limit', 'MinPan', <'-90'>)", "SetParameter('A', 'B', <'100%s\\n'>)"));
}

TEST(Program, ATourEndsAtTheFirstStepThatGoesWrong)
{
    FakeService service(answer_well); // its camera stays where it is
    const RunResult result = run_ptzctl_on(service.address(), {"tour"});
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_EQ(result.output, "ok: the camera runs: running\n");
    EXPECT_EQ(result.errors, "ptzctl: the tour stopped at 'pan 10 absolute': at 10.25\n");
}

TEST(Program, StopsAContinuousMoveWhenItsTimeIsUp)
{
    FakeService service(answer_well);
    const RunResult result = run_ptzctl_on(service.address(), {"move", "--continuous", "pan=-30", "--for", "0"});
    EXPECT_EQ(result.status, EXIT_DONE) << result.errors;
    EXPECT_THAT(service.calls(), ElementsAre("Move([('pan', 'continuous', -30.0)], 0.0, {})", "Stop()"));
}

TEST(Program, DoesNotStayForAContinuousMoveOfSpeedZero)
{
    FakeService service(answer_well);
    EXPECT_EQ(run_ptzctl_on(service.address(), {"move", "--continuous", "pan=0"}).status, EXIT_DONE);
    EXPECT_THAT(service.calls(), ElementsAre("Move([('pan', 'continuous', 0.0)], 0.0, {})"));
}

TEST(Program, PrintsTextForPeopleAndObjectsForMachines)
{
    FakeService service(answer_well);
    const std::string &bus = service.address();
    EXPECT_EQ(run_ptzctl_on(bus, {"state"}).output, "1 running\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"--json", "state"}).output, "{\"state\":1,\"text\":\"running\"}\n");
    EXPECT_THAT(run_ptzctl_on(bus, {"position"}).output,
                AllOf(HasSubstr("pan           10.250 deg\n"), HasSubstr("iris              -1 (not known)\n")));
    EXPECT_EQ(run_ptzctl_on(bus, {"position", "--json"}).output,
              "{\"brightness\":1,\"focus\":1,\"iris\":-1,\"pan\":10.25,\"tilt\":-5,\"zoom\":2000}\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"params", "get", "UserAdv", "Name"}).output, "a \"b\"\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"params", "get", "UserAdv", "Name", "--json"}).output,
              "{\"group\":\"UserAdv\",\"name\":\"Name\",\"value\":\"a \\\"b\\\"\"}\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"params"}).output,
              "GROUP       NAME                       KIND     VALUE                      RANGE\n"
              "Limit       MinPan                     integer  -90                        -170..170\n"
              "UserAdv     State                      string   -                          on, off\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"status"}).output, "state        1 running\ntemperature  40.2 deg C\n"
                                                     "errors       Cam error DSP/Pan-Tilt (0084)\n"
                                                     "model        model:0001\nOther        a?b\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"special"}).output, "wbonep\nreset\n");
    EXPECT_EQ(run_ptzctl_on(bus, {"special", "list", "--json"}).output, "{\"commands\":[\"wbonep\",\"reset\"]}\n");
}

TEST(Program, PassesOnWhyTheServiceRefused)
{
    FakeService service([](const std::string &, std::string &name, std::string &text) -> GVariant * {
        name = "com.orna.PTZ.Error.OutOfRange";
        text = "pan 200 is outside\n-170..170; give a smaller angle: 100%s";
        return nullptr;
    });
    const RunResult person = run_ptzctl_on(service.address(), {"move", "pan=200"});
    EXPECT_EQ(person.status, EXIT_REFUSED);
    EXPECT_EQ(person.errors, "ptzctl: pan 200 is outside?-170..170; give a smaller angle: 100%s\n");
    const RunResult machine = run_ptzctl_on(service.address(), {"move", "pan=200", "--json"});
    EXPECT_EQ(machine.status, EXIT_REFUSED);
    EXPECT_THAT(machine.output, EndsWith("\"code\":\"OutOfRange\"}\n"));
    EXPECT_EQ(machine.errors, "");
}

TEST(Program, TellsAServiceThatLacksAMethodFromOneThatRefuses)
{
    FakeService service([](const std::string &, std::string &name, std::string &text) -> GVariant * {
        name = "org.freedesktop.DBus.Error.UnknownMethod";
        text = "no such method";
        return nullptr;
    });
    const RunResult result = run_ptzctl_on(service.address(), {"stop", "--json"});
    EXPECT_EQ(result.status, EXIT_REFUSED);
    EXPECT_THAT(result.output, HasSubstr("\"code\":\"WrongVersion\""));
}

TEST(Help, TeachesEveryCommandWithAnExample)
{
    const std::string list = run_ptzctl_on(kNoBus, {"--help"}).output;
    for (const Command &command : all_commands()) {
        EXPECT_THAT(list, HasSubstr(std::string("\n  ") + command.name + " ")) << command.name;
        const RunResult help = run_ptzctl_on(kNoBus, {command.name, "--help"});
        EXPECT_EQ(help.status, EXIT_DONE) << command.name;
        EXPECT_THAT(help.output, StartsWith(std::string("Usage: ptzctl ") + command.name)) << command.name;
        EXPECT_THAT(help.output, HasSubstr(std::string("\n  ptzctl "))) << command.name;
    }
}
