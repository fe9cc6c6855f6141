// Calls answered at once, whatever the camera is doing.
#include "image_source_control/image_source_control_read.h"
#include "ptzorvel/driver/data_caches.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"
#include "status_cache/status_cache_read.h"

// What the driver reports about the camera in parameters that only it sets.
static GVariant *reports(const std::shared_ptr<ParamStore> &store)
{
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a{ss}"));
    if (store != nullptr)
        for (const PTZDynamicalProperties *group : store->groups())
            for (const ParamInfo &info : group->list())
                if (const auto *text = std::get_if<std::string>(&info.value); text != nullptr && !info.writable)
                    g_variant_builder_add(&list, "{ss}", info.name.c_str(), text->c_str());
    return g_variant_builder_end(&list);
}

void call_get_status(PtzService &service, const CallPtr &call)
{
    const int state = service.state();
    GVariantBuilder status;
    g_variant_builder_init(&status, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&status, "{sv}", "state", g_variant_new_int32(state));
    g_variant_builder_add(&status, "{sv}", "text", g_variant_new_string(state_text(state)));
    if (const auto degrees = ptz_camera_temperature())
        g_variant_builder_add(&status, "{sv}", "temperature", g_variant_new_double(*degrees));
    if (const std::string problem = ptz_temperature_problem(); !problem.empty())
        g_variant_builder_add(&status, "{sv}", "temperature-problem", g_variant_new_string(problem.c_str()));
    if (const auto event = service.last_event()) {
        g_variant_builder_add(&status, "{sv}", "error-bits", g_variant_new_uint32(event->error_bits));
        g_variant_builder_add(&status, "{sv}", "errors", g_variant_new_string(event->text.c_str()));
    }
    if (const std::string failure = service.failure(); !failure.empty())
        g_variant_builder_add(&status, "{sv}", "failure", g_variant_new_string(failure.c_str()));
    const std::string firmware = service.host().firmware();
    service.upgrades().seen(firmware);
    for (const auto &[key, value] :
         {std::pair("firmware", firmware), std::pair("image-file", service.host().image_file())})
        if (!value.empty())
            g_variant_builder_add(&status, "{sv}", key, g_variant_new_string(value.c_str()));
    if (GVariant *upgrade = service.upgrades().variant())
        g_variant_builder_add(&status, "{sv}", "upgrade", upgrade);
    g_variant_builder_add(&status, "{sv}", "link", g_variant_new_string(service.link_watch().link()));
    if (const auto age = service.host().status_age())
        g_variant_builder_add(&status, "{sv}", "status-age", g_variant_new_double(*age));
    g_variant_builder_add(&status, "{sv}", "resets", g_variant_new_uint32(service.link_watch().resets()));
    g_variant_builder_add(&status, "{sv}", "reboots", g_variant_new_uint32(service.link_watch().reboots()));
    g_variant_builder_add(&status, "{sv}", "tasks", g_variant_new_uint32(static_cast<guint32>(service.tasks())));
    g_variant_builder_add(&status, "{sv}", "reports", reports(service.params()));
    call->answer(g_variant_new("(a{sv})", &status));
}

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

void call_get_metrics(PtzService &service, const CallPtr &call)
{
    call->answer(g_variant_new("(s)", service.metrics().c_str()));
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
