#include "ptzorvel/driver/data_caches.h"

#include "ptzorvel/ptz_driver.h"

#include <mutex>
#include <vector>

namespace {

// A field as other services read it.
struct Field {
    const char *name;
    double value;
    bool real;

    bool operator==(const Field &other) const { return value == other.value; }
};

struct Cache {
    const char *name;
    bool open = false;
    std::vector<Field> fields; // empty until first written; same length ever after
};

std::mutex caches_mutex;
Cache zoom_cache{"zoom", false, {}};
Cache flip_cache{"flip", false, {}};
Cache position_cache{"position", false, {}};
Cache moving_cache{"moving", false, {}};
Cache speed_cache{"speed", false, {}};
Cache *const all_caches[] = {&zoom_cache, &flip_cache, &position_cache, &moving_cache, &speed_cache};

int open_cache(Cache &cache)
{
    const std::lock_guard lock(caches_mutex);
    cache.open = true;
    return 0;
}

void close_cache(Cache &cache)
{
    const std::lock_guard lock(caches_mutex);
    cache.open = false;
    cache.fields.clear();
}

Field integer(const char *name, double value)
{
    return {name, value, false};
}
Field real(const char *name, double value)
{
    return {name, value, true};
}

// Writes the fields of an open cache; 1 when that changed any of them.
template <std::size_t Count>
guint32 write_cache(Cache &cache, const Field (&fields)[Count])
{
    const std::lock_guard lock(caches_mutex);
    if (!cache.open)
        return 0;
    const bool same = cache.fields.size() == Count && std::equal(fields, fields + Count, cache.fields.begin());
    if (!same)
        cache.fields.assign(fields, fields + Count);
    return same ? 0 : 1;
}

void store_result(guint32 *result, guint32 value)
{
    if (result != nullptr)
        *result = value;
}

} // namespace

int ptz_driver_zoom_datacache_init(PTZDriver *)
{
    return open_cache(zoom_cache);
}
int ptz_driver_flip_datacache_init(PTZDriver *)
{
    return open_cache(flip_cache);
}
int ptz_driver_position_datacache_init(PTZDriver *)
{
    return open_cache(position_cache);
}
int ptz_driver_moving_datacache_init(PTZDriver *)
{
    return open_cache(moving_cache);
}
int ptz_driver_speed_datacache_init(PTZDriver *)
{
    return open_cache(speed_cache);
}
void ptz_driver_zoom_datacache_close(PTZDriver *)
{
    close_cache(zoom_cache);
}
void ptz_driver_flip_datacache_close(PTZDriver *)
{
    close_cache(flip_cache);
}
void ptz_driver_position_datacache_close(PTZDriver *)
{
    close_cache(position_cache);
}
void ptz_driver_moving_datacache_close(PTZDriver *)
{
    close_cache(moving_cache);
}
void ptz_driver_speed_datacache_close(PTZDriver *)
{
    close_cache(speed_cache);
}

void ptz_driver_zoom_datacache_write(int zoom, int moving, gboolean used, float mask_hfov, float mask_vfov,
                                     float magnification)
{
    write_cache(zoom_cache, {integer("zoom", zoom), integer("moving", moving), integer("used", used),
                             real("mask_hfov", double{mask_hfov}), real("mask_vfov", double{mask_vfov}),
                             real("magnification", double{magnification})});
}

void ptz_driver_flip_datacache_write(int flip)
{
    write_cache(flip_cache, {integer("flip", flip)});
}

void ptz_driver_position_datacache_update(gint32 pan, gint32 tilt, gint32 pan_offset, gint32 tilt_offset,
                                          guint32 *result)
{
    store_result(result,
                 write_cache(position_cache, {integer("pan", pan), integer("tilt", tilt),
                                              integer("pan_offset", pan_offset), integer("tilt_offset", tilt_offset)}));
}

void ptz_driver_speed_datacache_update(gint32 pan_speed, gint32 tilt_speed, gboolean pan_changing,
                                       gboolean tilt_changing, guint32 *result)
{
    store_result(result, write_cache(speed_cache,
                                     {integer("pan_speed", pan_speed), integer("tilt_speed", tilt_speed),
                                      integer("pan_changing", pan_changing), integer("tilt_changing", tilt_changing)}));
}

void ptz_driver_moving_datacache_update(int pan_mode, int tilt_mode, int pan_moving, int tilt_moving,
                                        gint32 pan_set_speed, gint32 tilt_set_speed, guint32 pan_degrees,
                                        guint32 tilt_degrees, guint32 *result)
{
    store_result(
        result,
        write_cache(moving_cache, {integer("pan_mode", pan_mode), integer("tilt_mode", tilt_mode),
                                   integer("pan_moving", pan_moving), integer("tilt_moving", tilt_moving),
                                   integer("pan_set_speed", pan_set_speed), integer("tilt_set_speed", tilt_set_speed),
                                   integer("pan_degrees", pan_degrees), integer("tilt_degrees", tilt_degrees)}));
}

GVariant *ptz_data_caches_snapshot()
{
    const std::lock_guard lock(caches_mutex);
    GVariantBuilder caches;
    g_variant_builder_init(&caches, G_VARIANT_TYPE("a{sa{sv}}"));
    for (const Cache *cache : all_caches) {
        g_variant_builder_open(&caches, G_VARIANT_TYPE("{sa{sv}}"));
        g_variant_builder_add(&caches, "s", cache->name);
        g_variant_builder_open(&caches, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&caches, "{sv}", "open", g_variant_new_boolean(cache->open));
        for (const Field &field : cache->fields) {
            GVariant *value =
                field.real ? g_variant_new_double(field.value) : g_variant_new_int32(static_cast<gint32>(field.value));
            g_variant_builder_add(&caches, "{sv}", field.name, value);
        }
        g_variant_builder_close(&caches);
        g_variant_builder_close(&caches);
    }
    return g_variant_builder_end(&caches);
}
