#include "ptzorvel/ptzd/metrics_file.h"

#include "glib_owned.h"

#include <syslog.h>
#include <utility>

namespace {

constexpr guint kEverySeconds = 10;

// What is wrong; empty: nothing. A reader finds the former file or this one; after a loss of power nobody wants either.
std::string write_file(const std::string &path, const std::string &text)
{
    // It takes the place of what is there, which is not to be that of a device.
    if (g_file_test(path.c_str(), G_FILE_TEST_EXISTS) && !g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR))
        return path + " is no file";
    GErrorSlot error;
    if (g_file_set_contents_full(path.c_str(), text.c_str(), static_cast<gssize>(text.size()),
                                 G_FILE_SET_CONTENTS_CONSISTENT, 0644, error) != FALSE)
        return "";
    return error->message;
}

} // namespace

struct MetricsFile::Write {
    std::string path, text, problem;
};

MetricsFile::MetricsFile(std::string path, std::function<std::string()> text)
    : path_(std::move(path)), text_(std::move(text))
{
    if (path_.empty())
        return;
    const auto tick = +[](gpointer self) -> gboolean {
        static_cast<MetricsFile *>(self)->begin();
        return G_SOURCE_CONTINUE;
    };
    timer_ = g_timeout_add_seconds(kEverySeconds, tick, this);
    begin();
}

MetricsFile::~MetricsFile()
{
    if (path_.empty())
        return;
    g_source_remove(timer_);
    while (writing_)
        g_main_context_iteration(nullptr, TRUE);
    told(write_file(path_, text_()));
}

void MetricsFile::begin()
{
    if (std::exchange(writing_, true))
        return; // a slow disk: the next time
    const auto done = +[](GObject *, GAsyncResult *result, gpointer self) {
        auto *file = static_cast<MetricsFile *>(self);
        file->writing_ = false;
        file->told(static_cast<Write *>(g_task_get_task_data(G_TASK(result)))->problem);
    };
    const GOwned<GTask, g_object_unref> task(g_task_new(nullptr, nullptr, done, this));
    g_task_set_task_data(task.get(), new Write{path_, text_(), ""},
                         [](gpointer data) { delete static_cast<Write *>(data); });
    g_task_run_in_thread(task.get(), write);
}

void MetricsFile::write(GTask *task, gpointer, gpointer data, GCancellable *)
{
    auto *work = static_cast<Write *>(data);
    work->problem = write_file(work->path, work->text);
    g_task_return_boolean(task, TRUE);
}

void MetricsFile::told(const std::string &problem)
{
    if (!problem.empty() && problem != problem_)
        syslog(LOG_WARNING, "The metrics are not written: %s", problem.c_str());
    problem_ = problem;
}
