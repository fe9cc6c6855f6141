// Calls answered at once, whatever the camera is doing.
#include "image_source_control/image_source_control_read.h"
#include "ptzorvel/driver/data_caches.h"
#include "ptzorvel/ptzd/calls.h"
#include "status_cache/status_cache_read.h"

void call_get_state(PtzService &service, const CallPtr &call)
{
    const int state = service.state();
    call->answer(g_variant_new("(is)", state, state_text(state)));
}

void call_get_published(PtzService &, const CallPtr &call)
{
    call->answer(g_variant_new("(@a{sa{sv}})", status_cache_snapshot()));
}

void call_get_data_caches(PtzService &, const CallPtr &call)
{
    call->answer(g_variant_new("(@a{sa{sv}})", ptz_data_caches_snapshot()));
}

void call_get_video(PtzService &, const CallPtr &call)
{
    gboolean blanked = FALSE;
    gboolean frozen = FALSE;
    image_source_control_read(&blanked, &frozen);
    GVariantBuilder video;
    g_variant_builder_init(&video, G_VARIANT_TYPE("a{sb}"));
    g_variant_builder_add(&video, "{sb}", "blanked", blanked);
    g_variant_builder_add(&video, "{sb}", "frozen", frozen);
    call->answer(g_variant_new("(a{sb})", &video));
}
