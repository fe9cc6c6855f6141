/* Tasks of the framework's command thread, and the queue that runs them (libptzorvel_common.so). */
#ifndef PTZORVEL_PTZ_TASK_H
#define PTZORVEL_PTZ_TASK_H

#include <glib.h>

G_BEGIN_DECLS

typedef struct _PTZTask PTZTask;
typedef struct _PTZCommandQueue PTZCommandQueue;

/* A piece of work for the command thread. The queue keeps the pointer, not a copy. `function` is called with the
 * record itself; when the task has ended (one-shot done, FALSE returned, queue closed or refused) the queue calls
 * `destroy` with the record, exactly once, and forgets it. `destroy` may be NULL for records that live for ever. */
struct _PTZTask
{
  gboolean (*function) (PTZTask *task);
  gpointer data;
  GDestroyNotify destroy;
  gpointer further[3]; /* zero */
};

/* Wakes the command thread so that it looks at its queue at once. */
void ptz_driver_interface_command_queue_signal (PTZCommandQueue *queue);

G_END_DECLS

#endif
