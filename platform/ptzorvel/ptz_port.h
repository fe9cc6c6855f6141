/* Ports: the base type, the registry with its locks and the D-Bus server of a port (libptzorvel_ports.so). */
#ifndef PTZORVEL_PTZ_PORT_H
#define PTZORVEL_PTZ_PORT_H

#include <gio/gio.h>

G_BEGIN_DECLS

#define PTZ_TYPE_PORT (ptz_port_get_type ())
#define PTZ_PORT(obj) (G_TYPE_CHECK_INSTANCE_CAST ((obj), PTZ_TYPE_PORT, PTZPort))
#define PTZ_IS_PORT(obj) (G_TYPE_CHECK_INSTANCE_TYPE ((obj), PTZ_TYPE_PORT))
#define PTZ_PORT_CLASS(klass) (G_TYPE_CHECK_CLASS_CAST ((klass), PTZ_TYPE_PORT, PTZPortClass))
#define PTZ_PORT_GET_CLASS(obj) (G_TYPE_INSTANCE_GET_CLASS ((obj), PTZ_TYPE_PORT, PTZPortClass))

typedef struct _PTZPort PTZPort;
typedef struct _PTZPortClass PTZPortClass;
typedef struct _PTZPortRegistry PTZPortRegistry;

struct _PTZPort
{
  GObject parent_instance;
  int fd;     /* device descriptor, -1 while closed */
  char *name; /* owned; released by the base type's finalizer */
  gpointer reserved;
};

/* What port_config takes; 0 leaves a value as it is. */
typedef struct
{
  int baud_rate;
  int burst_len;
  int trig_mode;
} PTZPortConfig;

struct _PTZPortClass
{
  GObjectClass parent_class;
  /* Opens the device: descriptor, or negative. */
  int (*port_open) (PTZPort *port);
  /* Closes it: negative on failure. */
  int (*port_close) (PTZPort *port);
  /* Move bytes; number of bytes, or -1. The two trailing words belong to ports that use them. */
  int (*port_read) (PTZPort *port, void *buffer, int length, int a, int b);
  int (*port_write) (PTZPort *port, const void *buffer, int length, int a, int b);
  /* To be called by a port class after a successful open and after a close. */
  void (*port_opened) (PTZPort *port);
  void (*port_closed) (PTZPort *port, int reason);
  void (*port_config) (PTZPort *port, const PTZPortConfig *config);
  gpointer reserved[4];
};

GType ptz_port_get_type (void) G_GNUC_CONST;

/* Closes the descriptor held at `fd` when it is valid (0 or more) and leaves -1 there. 0, or -1 when closing failed. */
int close_fd (int *fd);

/* Serves `port` on the system bus by the interface in `introspection_xml`, under `name` ("Port.KRX.SIO0"): a write of
 * property "BurstLength" or "TriggerMode" ends in port_config with that value and 0 in the other fields. Returns a new
 * server object that keeps no reference on the port; without a bus it serves nobody. Release with g_object_unref(). */
GObject *ptz_port_dbus_server_new (GObject *port, const char *introspection_xml, const char *name);

/* Holds every port of the registry for the caller (start-up, firmware upgrade): configuration from D-Bus waits.
 * Not recursive; lock and unlock must balance, on one thread. A NULL registry is ignored. */
void ptz_driver_port_lock_all (PTZPortRegistry *registry);
void ptz_driver_port_unlock_all (PTZPortRegistry *registry);

/* Takes port `index` out of the registry and off the bus; nothing when it is not there. A NULL registry is ignored. */
void ptz_driver_port_unregister (PTZPortRegistry *registry, int index);

G_END_DECLS

#endif
