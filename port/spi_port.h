// The SPI port: one spidev device, its transfer parameters as object properties, and the framework's port operations.
//
// A read or write moves one checksummed frame per SPI burst, after the camera block has raised its request line
// (transfer.h). Ports are made from the configuration file (config.h). A port has no
// lock of its own: one transfer at a time.
#pragma once

#include "core/gpio_line.h"
#include "ptzorvel/ptz_port.h"

struct PTZPortCanon {
    PTZPort parent_instance;
    int port_index;
    char *device;     // owned, spidev path
    GpioLine request; // name owned; the number is used unless it is -1
    int burst_len;    // bytes clocked per transfer
    int trig_mode;    // PortTriggerMode
    GObject *dbus_server;
};

struct PTZPortCanonClass {
    PTZPortClass parent_class;
};

GType ptz_port_canon_get_type();

// Opens and sets up the device and puts the port's burst length and trigger mode in force for all transfers of the
// process. A device that is still open is closed first. Returns the descriptor, or -1 after a message. A burst that is
// longer than the device takes is told of, and the port is open all the same.
int ptz_port_canon_set_spidev(PTZPortCanon *self);

// The framework's port_config: non-zero values of `config` replace the port's own, unchecked; a null config changes
// nothing. Calling it without a port is a fatal error.
void ptz_port_canon_config(PTZPort *base, const PTZPortConfig *config);

// What the rest of the driver calls. All take a null port.

// Opens the port and takes a reference on it. False after a message, and then without a reference.
bool ptz_port_canon_open_ref(PTZPort *port);

// Undoes one ptz_port_canon_open_ref(): closes the port, then drops one reference.
void ptz_port_canon_close_unref(PTZPort *port);

// Sets burst length (16..1920 bytes) and trigger mode (a PortTriggerMode) together.
void ptz_port_canon_set_transfer(PTZPort *port, int burst_length, int trigger_mode);

// One burst each. Bytes read (0 for an empty frame) or sent (at most 1916), -1 after a message or without a port.
// `a` and `b` belong to the framework's operation and mean nothing to this port.
int ptz_port_canon_read_data(PTZPort *port, void *buffer, int length, int a, int b);
int ptz_port_canon_write_data(PTZPort *port, const void *buffer, int length, int a, int b);
