#include "tests/support/process.h"

#include "tests/platform/bus_fixture.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

Process::Process(const std::vector<std::string> &command, const Variables &environment, const std::string &log_file)
    : log_file_(log_file)
{
    std::filesystem::remove(log_file); // what an earlier run wrote must not be taken for this one's
    GSubprocessLauncher *launcher = g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE);
    g_subprocess_launcher_set_stdout_file_path(launcher, log_file.c_str());
    for (const auto &[name, value] : environment)
        g_subprocess_launcher_setenv(launcher, name.c_str(), value.c_str(), TRUE);
    std::vector<const char *> words;
    for (const std::string &word : command)
        words.push_back(word.c_str());
    words.push_back(nullptr);
    GError *error = nullptr;
    process_ = g_subprocess_launcher_spawnv(launcher, words.data(), &error);
    g_object_unref(launcher);
    if (process_ == nullptr) {
        ADD_FAILURE() << error->message;
        g_error_free(error);
    }
}

Process::~Process()
{
    signal(SIGKILL);
    run_until([this] { return ended(); });
    g_clear_object(&process_);
}

void Process::signal(int number)
{
    if (!ended())
        g_subprocess_send_signal(process_, number);
}

int Process::wait()
{
    run_until([this] { return ended(); });
    if (!ended() || process_ == nullptr)
        return -1000;
    return g_subprocess_get_if_exited(process_) ? g_subprocess_get_exit_status(process_)
                                                : -g_subprocess_get_term_sig(process_);
}

std::string Process::output() const
{
    std::ostringstream text;
    text << std::ifstream(log_file_).rdbuf();
    return text.str();
}
