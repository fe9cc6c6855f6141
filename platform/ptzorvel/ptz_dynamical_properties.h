/* Typed parameter values of one group: "Limit", "UserAdv", "ImageSource" (libptzorvel_common.so). */
#ifndef PTZORVEL_PTZ_DYNAMICAL_PROPERTIES_H
#define PTZORVEL_PTZ_DYNAMICAL_PROPERTIES_H

#include <glib-object.h>

G_BEGIN_DECLS

typedef struct _PTZDynamicalProperties PTZDynamicalProperties;

/* One row of a parameter table; a row of type 0 ends the table. The texts must outlive the group. */
typedef struct
{
  guint32 type;             /* PTZ_PARAM_* */
  const char *name;         /* unique within its group */
  const char *display_name; /* may be "" */
  const char *default_text; /* default value as text, may be "" */
  guint32 flags;            /* 0x81 in every row of today's drivers */
  guint32 control;          /* PTZ_CONTROL_* */
  const char *range;        /* "min..max", "value|Label, value|Label", or "" */
} PTZParamDefinition;

enum
{
  PTZ_PARAM_END = 0,
  PTZ_PARAM_STRING = 2,
  PTZ_PARAM_INTEGER = 3,
  PTZ_PARAM_BOOLEAN = 4
};

enum
{
  PTZ_CONTROL_PLAIN = 1,
  PTZ_CONTROL_CHOICE = 5
};

/* The value of `name`: a new GValue holding a gint, gboolean or string, to be released with g_value_unset() and
 * g_free(); NULL when the handle is NULL, or the group has no such parameter, or the parameter has no value. */
GValue *ptz_dynamical_properties_get (PTZDynamicalProperties *properties, const char *name);

G_END_DECLS

#endif
