/* The driver base type of the PTZ framework and what a driver may call (libptzorvel_driver.so).
 *
 * A plug-in exports one function, ptz_driver_new(), which returns an object of a type derived from PTZDriver.
 * Angles, positions and speeds cross this boundary as signed 16.16 fixed point. Every operation returns TRUE when it
 * was carried out (or had nothing to do) unless said otherwise. All operations run on the command thread. */
#ifndef PTZORVEL_PTZ_DRIVER_H
#define PTZORVEL_PTZ_DRIVER_H

#include <glib-object.h>

#include "ptzorvel/ptz_dynamical_properties.h"
#include "ptzorvel/ptz_port.h"
#include "ptzorvel/ptz_task.h"
#include "status_cache/status_cache.h"

G_BEGIN_DECLS

#define PTZ_TYPE_DRIVER (ptz_driver_get_type())
#define PTZ_DRIVER(obj) (G_TYPE_CHECK_INSTANCE_CAST((obj), PTZ_TYPE_DRIVER, PTZDriver))
#define PTZ_IS_DRIVER(obj) (G_TYPE_CHECK_INSTANCE_TYPE((obj), PTZ_TYPE_DRIVER))
#define PTZ_DRIVER_CLASS(klass) (G_TYPE_CHECK_CLASS_CAST((klass), PTZ_TYPE_DRIVER, PTZDriverClass))
#define PTZ_DRIVER_GET_CLASS(obj) (G_TYPE_INSTANCE_GET_CLASS((obj), PTZ_TYPE_DRIVER, PTZDriverClass))

typedef struct _PTZDriver PTZDriver;
typedef struct _PTZDriverClass PTZDriverClass;

/* Values of the property "state". */
enum {
    PTZ_STATE_NOT_OPENED = 0,
    PTZ_STATE_RUNNING = 1,
    PTZ_STATE_TOO_COLD = 2,
    PTZ_STATE_TOO_HOT = 3,
    PTZ_STATE_INITIALISING = 4,
    PTZ_STATE_UPGRADING = 5,
    PTZ_STATE_CLOSED = 6,
    PTZ_STATE_FAILED = 7
};

/* Values of iris_mode, focus_mode and backlight_mode. */
enum { PTZ_IRIS_AUTO = 1, PTZ_IRIS_MANUAL = 2 };
enum { PTZ_FOCUS_AUTO = 1, PTZ_FOCUS_MANUAL = 2 };
enum { PTZ_BACKLIGHT_ON = 1, PTZ_BACKLIGHT_OFF = 2 };

enum { PTZ_MOVE_NONE = 0, PTZ_MOVE_ABSOLUTE = 1, PTZ_MOVE_RELATIVE = 2, PTZ_MOVE_CONTINUOUS = 3 };

/* One axis of a move. Pan and tilt in degrees, the others as positions; in a continuous move the speed in percent
 * with the direction as its sign. */
typedef struct {
    gint32 value; /* 16.16 */
    gint32 companion[2];
    gint32 type; /* PTZ_MOVE_* */
} PTZMotion;

typedef struct {
    gint32 value; /* 16.16 percent, 0: as fast as it goes */
    gint32 companion[2];
} PTZSpeed;

/* A move request. */
typedef struct {
    guint32 words[8]; /* the eighth is 1 for a move to a preset */
} PTZRequest;

#define PTZ_REQUEST_PRESET_WORD 7

/* Camera-error event: kind 2 of emit_event. */
#define PTZ_EVENT_CAMERA_ERROR 2

typedef struct {
    guint32 error_bits;
    const char *text;
} PTZCameraErrorEvent;

/* How many records report_status_params may fill. */
#define PTZ_STATUS_SPARE_RECORDS 13

struct _PTZDriver {
    GObject parent_instance;
    PTZPortRegistry *port_registry;
    PTZCommandQueue *command_queue; /* may be NULL */
    const guint32 *capability_ref;  /* the driver's capability words, not owned */
    guint32 capability_flags[2];
    PTZDynamicalProperties *useradv_params;
    PTZDynamicalProperties *imagesource_params;
    PTZDynamicalProperties *limit_params;
    gboolean zoom_requested;        /* the move being served asks for zoom */
    gint32 iris_mode;               /* PTZ_IRIS_* */
    gint32 focus_mode;              /* PTZ_FOCUS_* */
    gint32 backlight_mode;          /* PTZ_BACKLIGHT_* */
    gint32 proportional_speed;      /* 1: continuous speeds follow the field of view */
    gint16 speed_factor;            /* percent of the field of view per second at full speed */
    char *block_name;               /* owned; released by the base type */
    char *block_version;            /* owned; released by the base type */
    gint32 state;                   /* PTZ_STATE_*; property "state" */
    PTZRequest *current_request;    /* the last move, until the next move or stop; may be NULL */
    gint32 counter_update_interval; /* seconds */
    gboolean (*start_routine)(PTZDriver *driver);
    gint32 video_channel_nbr; /* construct properties */
    gint32 id;
    gdouble speed; /* property "speed", percent: of moves that name none */
    gpointer priv; /* the framework's own */
};

struct _PTZDriverClass {
    GObjectClass parent_class;

    /* Operations that a driver replaces. */
    gboolean (*move)(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                     const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness, const PTZSpeed *speed);
    gboolean (*stop)(PTZDriver *driver);
    /* Angles in 16.16 degrees. FALSE when the outputs have been filled, TRUE when there is no answer yet. */
    gboolean (*get_field_of_view)(PTZDriver *driver, gint32 unused, gint32 *angle, gint32 *widest, gint32 *hfov,
                                  gint32 *vfov);
    gboolean (*run_special_command)(PTZDriver *driver, const char *command);
    /* *list: NULL, or a new NULL-terminated list of new texts, for the caller (g_strfreev). */
    gboolean (*get_special_commands)(PTZDriver *driver, char ***list);
    gboolean (*angle_to_zoom)(PTZDriver *driver, gint32 angle, gint32 scale_percent, gint32 *zoom);
    gboolean (*get_position)(PTZDriver *driver, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris, gint32 *focus,
                             gint32 *brightness);
    gboolean (*useradv_changed)(PTZDriver *driver, const char *name);
    gboolean (*imagesource_changed)(PTZDriver *driver, const char *name);
    gboolean (*limit_changed)(PTZDriver *driver, const char *name);
    gboolean (*iris_mode_changed)(PTZDriver *driver);
    gboolean (*focus_mode_changed)(PTZDriver *driver);
    gboolean (*backlight_changed)(PTZDriver *driver);
    gboolean (*speed_factor_changed)(PTZDriver *driver);
    gboolean (*open)(PTZDriver *driver);
    gboolean (*close)(PTZDriver *driver);
    gboolean (*install_params)(PTZDriver *driver);
    void (*signal_received)(PTZDriver *driver, const char *signal_name, GVariant *parameters);
    /* *list: a new NULL-terminated list of "key=value" texts, for the caller. category NULL or "": all. */
    gboolean (*get_capabilities)(PTZDriver *driver, const char *category, char ***list);

    /* Operations of the framework that a driver calls. */
    gboolean (*add_params)(PTZDriver *driver, const char *group, const PTZParamDefinition *table);
    /* interval in microseconds; 0 runs the task once. The queue owns the task from here on, also when FALSE. */
    gboolean (*queue_task)(PTZDriver *driver, PTZTask *task, gint64 interval);
    gboolean (*run_start_routine)(PTZDriver *driver);
    void (*prepare_move)(PTZDriver *driver);
    void (*idle_poll)(PTZDriver *driver, int unused);
    /* Fills up to max of the caller's spare records and returns how many; never calls back into the driver. */
    int (*report_status_params)(PTZDriver *driver, int pan_moving, int tilt_moving, int zoom_moving, int focus_moving,
                                int iris_moving, int brightness_moving, guint32 position_result, guint32 speed_result,
                                int one, int max, ScParam *spare);
    /* data: the record of that kind of event (PTZCameraErrorEvent for kind 2), read during the call. */
    gboolean (*emit_event)(PTZDriver *driver, int kind, const void *data, GError **error);
    gboolean (*set_param_bool)(PTZDriver *driver, const char *group, const char *name, gboolean value);
    /* value NULL: the parameter has no value. */
    gboolean (*set_param_string)(PTZDriver *driver, const char *group, const char *name, const char *value);
    gpointer reserved[4];
};

GType ptz_driver_get_type(void) G_GNUC_CONST;

/* Puts these parameters of the framework's "ImageSource" group in place (names it does not know are left out) and has
 * it call imagesource_changed for them. */
void ptz_driver_connect_imaging_params(PTZDriver *driver, const char *group, const char *const *names);

/* Data caches: what other services of the camera read. _init: negative on failure. _close of a cache that is not
 * open does nothing. Writers into a closed cache do nothing. */
int ptz_driver_zoom_datacache_init(PTZDriver *driver);
int ptz_driver_flip_datacache_init(PTZDriver *driver);
int ptz_driver_position_datacache_init(PTZDriver *driver);
int ptz_driver_moving_datacache_init(PTZDriver *driver);
int ptz_driver_speed_datacache_init(PTZDriver *driver);
void ptz_driver_zoom_datacache_close(PTZDriver *driver);
void ptz_driver_flip_datacache_close(PTZDriver *driver);
void ptz_driver_position_datacache_close(PTZDriver *driver);
void ptz_driver_moving_datacache_close(PTZDriver *driver);
void ptz_driver_speed_datacache_close(PTZDriver *driver);

/* Angles of view in degrees. */
void ptz_driver_zoom_datacache_write(int zoom, int moving, gboolean used, float mask_hfov, float mask_vfov,
                                     float magnification);
void ptz_driver_flip_datacache_write(int flip);
/* Hundredths of a degree, offset by 36000; *result becomes 1 when the value differs from the last one, else 0. */
void ptz_driver_position_datacache_update(gint32 pan, gint32 tilt, gint32 pan_offset, gint32 tilt_offset,
                                          guint32 *result);
/* Hundredths of a degree per second. */
void ptz_driver_speed_datacache_update(gint32 pan_speed, gint32 tilt_speed, gboolean pan_changing,
                                       gboolean tilt_changing, guint32 *result);
/* Modes as PTZ_MOVE_*, set speeds signed, whole degrees. */
void ptz_driver_moving_datacache_update(int pan_mode, int tilt_mode, int pan_moving, int tilt_moving,
                                        gint32 pan_set_speed, gint32 tilt_set_speed, guint32 pan_degrees,
                                        guint32 tilt_degrees, guint32 *result);

/* What a plug-in exports. The caller owns the new object. */
typedef PTZDriver *(*PTZDriverNewFunc)(int video_channel_nbr, int id);
PTZDriver *ptz_driver_new(int video_channel_nbr, int id);

G_END_DECLS

#endif
