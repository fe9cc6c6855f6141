// What the framework finds when it loads the plug-in.
#include "driver/type.h"

#include <gmodule.h>

extern "C" G_MODULE_EXPORT PTZDriver *ptz_driver_new(int video_channel_nbr, int id)
{
    return ptz_driver_of(ptz_driver_canon_new(video_channel_nbr, id));
}
