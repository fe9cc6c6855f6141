#include "run_program.h"

#include <gio/gio.h>

#include <cstdlib>
#include <stdexcept>

namespace {

std::string take(GBytes *bytes)
{
    if (bytes == nullptr)
        return "";
    gsize size = 0;
    const auto *data = static_cast<const char *>(g_bytes_get_data(bytes, &size));
    std::string text(data != nullptr ? data : "", size);
    g_bytes_unref(bytes);
    return text;
}

} // namespace

RunResult run_program(const std::vector<std::string> &words, const std::string &input,
                      const std::vector<std::pair<std::string, std::string>> &variables)
{
    GSubprocessLauncher *launcher = g_subprocess_launcher_new(static_cast<GSubprocessFlags>(
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE));
    for (const auto &[name, value] : variables)
        g_subprocess_launcher_setenv(launcher, name.c_str(), value.c_str(), TRUE);

    std::vector<const char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);

    GError *error = nullptr;
    GSubprocess *process = g_subprocess_launcher_spawnv(launcher, arguments.data(), &error);
    g_object_unref(launcher);
    if (process == nullptr)
        throw std::runtime_error(error->message);

    GBytes *given = g_bytes_new(input.data(), input.size());
    GBytes *output = nullptr;
    GBytes *errors = nullptr;
    g_subprocess_communicate(process, given, nullptr, &output, &errors, nullptr);
    g_bytes_unref(given);
    RunResult result{g_subprocess_get_if_exited(process) ? g_subprocess_get_exit_status(process) : -1, take(output),
                     take(errors)};
    g_object_unref(process);
    return result;
}

RunResult run_ptzctl_on(const std::string &address, std::vector<std::string> words, const std::string &input)
{
    words.insert(words.begin(), required_variable("PTZCTL"));
    return run_program(words, input, {{"DBUS_SYSTEM_BUS_ADDRESS", address}, {"LC_ALL", "C.UTF-8"}});
}

std::string required_variable(const char *name)
{
    const char *value = std::getenv(name);
    if (value == nullptr)
        throw std::runtime_error(std::string(name) + " is not set; run the tests with 'meson test'");
    return value;
}
