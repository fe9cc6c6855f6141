#include "tests/support/process.h"

#include "tests/platform/bus_fixture.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

Process::Process(const std::vector<std::string> &command, const Variables &environment, const std::string &log_file)
    : log_file_(log_file)
{
    std::filesystem::remove(log_file); // what an earlier run wrote must not be taken for this one's
    GSubprocessLauncher *launcher = g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE);
    g_subprocess_launcher_set_stdout_file_path(launcher, log_file.c_str());
    for (const auto &[name, value] : environment)
        g_subprocess_launcher_setenv(launcher, name.c_str(), value.c_str(), TRUE);
    std::vector<const char *> words(command.size() + 1);
    std::transform(command.begin(), command.end(), words.begin(), [](const auto &word) { return word.c_str(); });
    GError *error = nullptr;
    process_ = g_subprocess_launcher_spawnv(launcher, words.data(), &error);
    g_object_unref(launcher);
    g_assert_no_error(error);
}

Process::~Process()
{
#ifdef KEEP_COUNTS // a program that is killed leaves no counts of what it ran
    signal(SIGTERM);
    (void)comes_true([this] { return ended(); }, 5);
#endif
    signal(SIGKILL);
    run_until([this] { return ended(); });
    g_clear_object(&process_);
}

int Process::wait(int seconds)
{
    run_until([this] { return ended(); }, seconds);
    if (!ended())
        return -1000;
    return g_subprocess_get_if_exited(process_) ? g_subprocess_get_exit_status(process_)
                                                : -g_subprocess_get_term_sig(process_);
}

std::string Process::output() const
{
    std::ifstream file(log_file_);
    return {std::istreambuf_iterator<char>(file), {}};
}
