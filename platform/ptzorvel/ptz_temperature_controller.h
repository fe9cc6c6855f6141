/* Watches a temperature sensor against registered limits (libptzorvel_driver.so). */
#ifndef PTZORVEL_PTZ_TEMPERATURE_CONTROLLER_H
#define PTZORVEL_PTZ_TEMPERATURE_CONTROLLER_H

#include "ptzorvel/ptz_driver.h"

G_BEGIN_DECLS

#define PTZ_TYPE_TEMPERATURE_CONTROLLER (ptz_temperature_controller_get_type ())
#define PTZ_TEMPERATURE_CONTROLLER(obj) \
  (G_TYPE_CHECK_INSTANCE_CAST ((obj), PTZ_TYPE_TEMPERATURE_CONTROLLER, PTZTemperatureController))
#define PTZ_TEMPERATURE_CONTROLLER_CLASS(klass) \
  (G_TYPE_CHECK_CLASS_CAST ((klass), PTZ_TYPE_TEMPERATURE_CONTROLLER, PTZTemperatureControllerClass))
#define PTZ_TEMPERATURE_CONTROLLER_GET_CLASS(obj) \
  (G_TYPE_INSTANCE_GET_CLASS ((obj), PTZ_TYPE_TEMPERATURE_CONTROLLER, PTZTemperatureControllerClass))

typedef struct _PTZTemperatureController PTZTemperatureController;
typedef struct _PTZTemperatureControllerClass PTZTemperatureControllerClass;

struct _PTZTemperatureController
{
  GObject parent_instance;
  int temperature_ok; /* 0 outside the operating range; 1 from construction */
  PTZDriver *driver;  /* not a reference: the driver owns the controller */
  gpointer priv;      /* the framework's own */
};

struct _PTZTemperatureControllerClass
{
  GObjectClass parent_class;
  /* Begins to watch; called once after creation. */
  int (*start) (PTZTemperatureController *controller);
  void (*above_range) (PTZTemperatureController *controller);
  void (*in_range) (PTZTemperatureController *controller);
  void (*below_range) (PTZTemperatureController *controller);
  /* The text with which requests are refused while out of range; constant. */
  const char *(*busy_message) (PTZTemperatureController *controller);
  gpointer reserved[4];
};

enum
{
  PTZ_TEMPERATURE_BELOW = 1,
  PTZ_TEMPERATURE_IN_RANGE = 2,
  PTZ_TEMPERATURE_ABOVE = 3
};

enum
{
  PTZ_TRIGGER_UPPER = 0,
  PTZ_TRIGGER_LOWER = 1
};

GType ptz_temperature_controller_get_type (void) G_GNUC_CONST;

/* A new controller of `type` (derived from PTZ_TYPE_TEMPERATURE_CONTROLLER) for `driver`; the caller owns it. */
PTZTemperatureController *ptz_temperature_controller_new (GType type, PTZDriver *driver);

/* PTZ_TEMPERATURE_*: as the operations were last told, so that it agrees with temperature_ok; measured now while the
 * controller does not watch yet. Without a readable sensor: in range. */
int ptz_temperature_controller_get_state (PTZTemperatureController *controller);

/* Registers one limit in degrees Celsius with its hysteresis; PTZ_TRIGGER_*. 0, or -1. The sensor is thermal zone
 * `sensor_id`. The operations are called on the command thread. */
int ptz_temperature_controller_register_trigger (PTZTemperatureController *controller, int sensor_id, int direction,
                                                 double limit, double hysteresis);

G_END_DECLS

#endif
