#include "driver/port_hold.h"

#include "port/spi_port.h"

gboolean ptz_driver_canon_hold_port(PTZDriverCanon *self)
{
    const bool held = self->port_open_held;
    const bool opened = ptz_port_canon_open_ref(self->port);
    if (held)
        g_object_unref(self->port);
    self->port_open_held = opened;
    return opened;
}

void ptz_driver_canon_release_port(PTZDriverCanon *self)
{
    if (!self->port_open_held)
        return;
    self->port_open_held = FALSE;
    ptz_port_canon_close_unref(self->port);
}
