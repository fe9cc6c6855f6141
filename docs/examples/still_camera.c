/* A camera that stands wherever it is told to at once: the least that makes a driver plug-in. */
#include <ptzorvel/ptz_driver.h>

typedef struct {
    PTZDriver parent_instance;
    gint32 where[6]; /* pan, tilt, zoom, iris, focus, brightness; 16.16 */
} StillCamera;
typedef struct {
    PTZDriverClass parent_class;
} StillCameraClass;

static GType still_camera_get_type(void);
G_DEFINE_TYPE(StillCamera, still_camera, PTZ_TYPE_DRIVER)

static gboolean still_camera_open(PTZDriver *driver)
{
    g_object_set(driver, "state", PTZ_STATE_RUNNING, NULL);
    return TRUE;
}

static gboolean still_camera_move(PTZDriver *driver, const PTZMotion *pan, const PTZMotion *tilt, const PTZMotion *zoom,
                                  const PTZMotion *iris, const PTZMotion *focus, const PTZMotion *brightness,
                                  const PTZSpeed *speed)
{
    const PTZMotion *axes[6] = {pan, tilt, zoom, iris, focus, brightness};
    gint32 *where = ((StillCamera *)driver)->where;
    for (int i = 0; i < 6; ++i) {
        if (axes[i]->type == PTZ_MOVE_ABSOLUTE)
            where[i] = axes[i]->value;
        else if (axes[i]->type == PTZ_MOVE_RELATIVE)
            where[i] += axes[i]->value;
    }
    (void)speed;
    return TRUE;
}

static gboolean still_camera_get_position(PTZDriver *driver, gint32 *pan, gint32 *tilt, gint32 *zoom, gint32 *iris,
                                          gint32 *focus, gint32 *brightness)
{
    const gint32 *where = ((StillCamera *)driver)->where;
    *pan = where[0], *tilt = where[1], *zoom = where[2], *iris = where[3], *focus = where[4], *brightness = where[5];
    return TRUE;
}

static void still_camera_init(StillCamera *self)
{
    (void)self; /* looks ahead, as zeros mean */
}

static void still_camera_class_init(StillCameraClass *klass)
{
    klass->parent_class.open = still_camera_open;
    klass->parent_class.move = still_camera_move;
    klass->parent_class.get_position = still_camera_get_position;
}

PTZDriver *ptz_driver_new(int video_channel_nbr, int id)
{
    return g_object_new(still_camera_get_type(), "video_channel_nbr", video_channel_nbr, "id", id, NULL);
}
