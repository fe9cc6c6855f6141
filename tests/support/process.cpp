#include "tests/support/process.h"

#include "tests/platform/bus_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

Process::Process(const std::vector<std::string> &command, const Variables &environment, const std::string &log_file)
    : cancel_(g_cancellable_new()), log_file_(log_file)
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
        ended_ = true;
        return;
    }
    g_subprocess_wait_async(process_, cancel_, on_end, this);
}

Process::~Process()
{
    if (!ended_) {
        g_subprocess_force_exit(process_);
        wait();
    }
    g_cancellable_cancel(cancel_);
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    g_clear_object(&process_);
    g_object_unref(cancel_);
}

void Process::on_end(GObject *source, GAsyncResult *result, gpointer data)
{
    if (g_subprocess_wait_finish(G_SUBPROCESS(source), result, nullptr))
        static_cast<Process *>(data)->ended_ = true;
}

void Process::signal(int number)
{
    if (!ended_)
        g_subprocess_send_signal(process_, number);
}

int Process::wait()
{
    run_until([this] { return ended_; });
    if (!ended_ || process_ == nullptr)
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
