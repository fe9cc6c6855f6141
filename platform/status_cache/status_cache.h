/* The camera's status cache: named groups of values that any service may read (libstatus_cache.so). */
#ifndef STATUS_CACHE_STATUS_CACHE_H
#define STATUS_CACHE_STATUS_CACHE_H

#include <glib.h>

G_BEGIN_DECLS

enum
{
  SC_TYPE_INTEGER = 1, /* gint32 */
  SC_TYPE_REAL = 2     /* float */
};

typedef struct
{
  const char *key;   /* constant text: known by its address the next time */
  guint32 size;      /* bytes, 4 */
  const void *value; /* read during the call, never kept */
  gint32 type;       /* SC_TYPE_* */
} ScParam;

/* Sets the parameters of a NULL-terminated list of record addresses in `group`. Returns how many were set, or
 * negative when the group cannot be set at all. The third word is 0. */
int sc_set_group (const char *group, const ScParam *const *params, int flags);

G_END_DECLS

#endif
