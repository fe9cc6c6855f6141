#include "ptzorvel/ptz_port.h"

#include <unistd.h>

G_DEFINE_TYPE(PTZPort, ptz_port, G_TYPE_OBJECT)

// What a port without a device of its own does: nothing, and says so by its result.
static int base_open(PTZPort *)
{
    return -1;
}
static int base_close(PTZPort *port)
{
    return close_fd(&port->fd);
}
static int base_read(PTZPort *, void *, int, int, int)
{
    return -1;
}
static int base_write(PTZPort *, const void *, int, int, int)
{
    return -1;
}
// On the camera these tell other services about the line; nobody listens here.
static void base_opened(PTZPort *)
{
}
static void base_closed(PTZPort *, int)
{
}
static void base_config(PTZPort *, const PTZPortConfig *)
{
}

static void ptz_port_init(PTZPort *port)
{
    port->fd = -1;
}

static void ptz_port_finalize(GObject *object)
{
    g_free(reinterpret_cast<PTZPort *>(object)->name);
    G_OBJECT_CLASS(ptz_port_parent_class)->finalize(object);
}

static void ptz_port_class_init(PTZPortClass *klass)
{
    G_OBJECT_CLASS(klass)->finalize = ptz_port_finalize;
    klass->port_open = base_open;
    klass->port_close = base_close;
    klass->port_read = base_read;
    klass->port_write = base_write;
    klass->port_opened = base_opened;
    klass->port_closed = base_closed;
    klass->port_config = base_config;
}

int close_fd(int *fd)
{
    if (fd == nullptr || *fd < 0)
        return 0;
    const int result = close(*fd);
    // The descriptor is gone even when close reports an error.
    *fd = -1;
    return result;
}
