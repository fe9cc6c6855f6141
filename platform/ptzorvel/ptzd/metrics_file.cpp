#include "ptzorvel/ptzd/metrics_file.h"

#include "glib_owned.h"

#include <condition_variable>
#include <mutex>
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

struct MetricsFile::Disk {
    std::mutex mutex;
    std::condition_variable idle;
    bool writing = false; // under the mutex
    std::string problem;  // the last that was told; of the thread that writes

    bool await(std::chrono::steady_clock::time_point end)
    {
        std::unique_lock lock(mutex);
        return idle.wait_until(lock, end, [this] { return !writing; });
    }
};

struct MetricsFile::Write {
    std::shared_ptr<Disk> disk;
    std::string path, text;
};

MetricsFile::MetricsFile(std::string path, std::function<std::string()> text, std::chrono::milliseconds patience)
    : path_(std::move(path)), text_(std::move(text)), patience_(patience), disk_(std::make_shared<Disk>())
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
    const auto end = std::chrono::steady_clock::now() + patience_;
    bool written = disk_->await(end);
    if (written) {
        begin();
        written = disk_->await(end);
    }
    if (!written)
        syslog(LOG_WARNING, "The last metrics are not written: the disk of %s does not answer", path_.c_str());
}

void MetricsFile::begin()
{
    {
        const std::lock_guard lock(disk_->mutex);
        if (std::exchange(disk_->writing, true))
            return; // a slow disk: the next time
    }
    const GOwned<GTask, g_object_unref> task(g_task_new(nullptr, nullptr, nullptr, nullptr));
    g_task_set_task_data(task.get(), new Write{disk_, path_, text_()},
                         [](gpointer data) { delete static_cast<Write *>(data); });
    g_task_run_in_thread(task.get(), write);
}

void MetricsFile::write(GTask *task, gpointer, gpointer data, GCancellable *)
{
    const auto *work = static_cast<const Write *>(data);
    Disk &disk = *work->disk;
    std::string problem = write_file(work->path, work->text);
    if (!problem.empty() && problem != disk.problem)
        syslog(LOG_WARNING, "The metrics are not written: %s", problem.c_str());
    {
        const std::lock_guard lock(disk.mutex);
        disk.problem = std::move(problem);
        disk.writing = false;
        disk.idle.notify_one();
    }
    g_task_return_boolean(task, TRUE);
}
