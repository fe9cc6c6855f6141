#include "utils/task.h"

namespace {

struct TaskRecord {
    PTZTask task; // first: the framework knows the record by it
    DriverTask function;
};

gboolean run(PTZTask *task)
{
    return reinterpret_cast<TaskRecord *>(task)->function(static_cast<PTZDriverCanon *>(task->data));
}

gboolean run_once(PTZTask *task)
{
    if (!static_cast<PTZDriverCanon *>(task->data)->closed)
        run(task);
    return FALSE;
}

void destroy(gpointer data)
{
    auto *record = static_cast<TaskRecord *>(data);
    g_object_unref(record->task.data);
    g_free(record);
}

gboolean queue(PTZDriverCanon *self, gboolean (*body)(PTZTask *), DriverTask function, gint64 interval_us)
{
    auto *record = g_new0(TaskRecord, 1);
    record->task.function = body;
    record->task.data = g_object_ref(self);
    record->task.destroy = destroy;
    record->function = function;
    PTZDriver *base = ptz_driver_of(self);
    return PTZ_DRIVER_GET_CLASS(base)->queue_task(base, &record->task, interval_us);
}

} // namespace

void ptz_driver_canon_start_job(PTZDriverCanon *self, Job job, DriverTask function, gint64 interval_us)
{
    if (Life::begin(self, job) && !queue(self, run, function, interval_us))
        Life::end(self, job);
}

void ptz_driver_canon_queue_once(PTZDriverCanon *self, DriverTask function)
{
    queue(self, run_once, function, 0);
    PTZDriver *base = ptz_driver_of(self);
    if (base->command_queue != nullptr)
        ptz_driver_interface_command_queue_signal(base->command_queue);
}
