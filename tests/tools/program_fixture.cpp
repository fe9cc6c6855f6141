#include "tests/tools/program_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

std::string take(GBytes *bytes)
{
    gsize size = 0;
    auto *data = static_cast<char *>(g_bytes_unref_to_data(bytes, &size));
    std::string text(data, size);
    g_free(data);
    return text;
}

void on_end(GObject *source, GAsyncResult *communicated, gpointer result)
{
    GBytes *output = nullptr, *errors = nullptr;
    g_subprocess_communicate_finish(G_SUBPROCESS(source), communicated, &output, &errors, nullptr);
    const bool exited = g_subprocess_get_if_exited(G_SUBPROCESS(source)) != FALSE;
    *static_cast<RunResult *>(result) = {exited ? g_subprocess_get_exit_status(G_SUBPROCESS(source)) : -1, take(output),
                                         take(errors), true};
}

} // namespace

RunResult run_program(const std::vector<std::string> &words, const std::string &input, const std::string &bus)
{
    GSubprocessLauncher *launcher = g_subprocess_launcher_new(static_cast<GSubprocessFlags>(
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE));
    g_subprocess_launcher_setenv(launcher, "DBUS_SYSTEM_BUS_ADDRESS", bus.c_str(), TRUE);
    g_subprocess_launcher_setenv(launcher, "LC_ALL", "C.UTF-8", TRUE);
    std::vector<const char *> arguments(words.size() + 1, nullptr);
    std::transform(words.begin(), words.end(), arguments.begin(), [](const auto &word) { return word.c_str(); });
    GError *error = nullptr;
    GSubprocess *process = g_subprocess_launcher_spawnv(launcher, arguments.data(), &error);
    g_assert_no_error(error);
    GBytes *given = g_bytes_new(input.data(), input.size());
    RunResult result;
    g_subprocess_communicate_async(process, given, nullptr, on_end, &result);
    run_until([&] { return result.done; });
    g_bytes_unref(given);
    g_object_unref(process);
    g_object_unref(launcher);
    return result;
}

RunResult run_ptzctl(const std::string &line, const std::string &input, const std::string &bus)
{
    std::vector<std::string> words{required_variable("PTZCTL")};
    std::istringstream blanks(line);
    for (std::string word; std::getline(blanks, word, ' ');)
        words.push_back(word);
    return run_program(words, input, bus);
}

std::string required_variable(const char *name)
{
    const char *value = std::getenv(name);
    g_assert_nonnull(value); // run the tests with 'meson test'
    return value;
}

ProgramTest::~ProgramTest()
{
    g_clear_pointer(&node_, g_dbus_node_info_unref);
}

void ProgramTest::serve(Answer answer)
{
    answer_ = std::move(answer);
    std::stringstream xml;
    xml << std::ifstream(required_variable("SOURCE_ROOT") + "/data/com.orna.PTZ.xml").rdbuf();
    node_ = g_dbus_node_info_new_for_xml(xml.str().c_str(), nullptr);
    static const GDBusInterfaceVTable table{on_call, nullptr, nullptr, {}};
    g_dbus_connection_register_object(owner_.connection(), "/com/orna/PTZ", node_->interfaces[0], &table, this, nullptr,
                                      nullptr);
    owner_.take_name("com.orna.PTZ");
}

void ProgramTest::on_call(GDBusConnection *, const char *, const char *, const char *, const char *method,
                          GVariant *arguments, GDBusMethodInvocation *invocation, gpointer data)
{
    auto *self = static_cast<ProgramTest *>(data);
    self->calls += (self->calls.empty() ? "" : " ") + (method + print(arguments));
    std::string error_name;
    std::string error_text;
    GVariant *results = self->answer_(method, error_name, error_text);
    if (results != nullptr)
        g_variant_take_ref(results); // parsed or just made
    if (error_name.empty())
        g_dbus_method_invocation_return_value(invocation, results);
    else
        g_dbus_method_invocation_return_dbus_error(invocation, error_name.c_str(), error_text.c_str());
    g_clear_pointer(&results, g_variant_unref);
}
