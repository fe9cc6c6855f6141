#include "ptzorvel/driver/data_caches.h"

#include "ptzorvel/ptz_driver.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <mutex>

namespace {

// A field as other services read it.
struct Field {
    const char *name;
    bool real;
};

constexpr Field kZoomFields[] = {{"zoom", false},     {"moving", false},   {"used", false},
                                 {"mask_hfov", true}, {"mask_vfov", true}, {"magnification", true}};
constexpr Field kFlipFields[] = {{"flip", false}};
constexpr Field kPositionFields[] = {{"pan", false}, {"tilt", false}, {"pan_offset", false}, {"tilt_offset", false}};
constexpr Field kMovingFields[] = {{"pan_mode", false},    {"tilt_mode", false},     {"pan_moving", false},
                                   {"tilt_moving", false}, {"pan_set_speed", false}, {"tilt_set_speed", false},
                                   {"pan_degrees", false}, {"tilt_degrees", false}};
constexpr Field kSpeedFields[] = {
    {"pan_speed", false}, {"tilt_speed", false}, {"pan_changing", false}, {"tilt_changing", false}};

template <std::size_t Count>
struct Cache {
    const char *name;
    const Field (&fields)[Count];
    bool open = false;
    bool written = false;
    std::array<double, Count> values{};
};

std::mutex caches_mutex;
Cache<std::size(kZoomFields)> zoom_cache{"zoom", kZoomFields};
Cache<std::size(kFlipFields)> flip_cache{"flip", kFlipFields};
Cache<std::size(kPositionFields)> position_cache{"position", kPositionFields};
Cache<std::size(kMovingFields)> moving_cache{"moving", kMovingFields};
Cache<std::size(kSpeedFields)> speed_cache{"speed", kSpeedFields};

template <std::size_t Count>
int open_cache(Cache<Count> &cache)
{
    const std::lock_guard lock(caches_mutex);
    cache.open = true;
    return 0;
}

template <std::size_t Count>
void close_cache(Cache<Count> &cache)
{
    const std::lock_guard lock(caches_mutex);
    cache.open = cache.written = false;
}

// Writes all values of an open cache, in the order of its fields; 1 when that changed any of them.
template <std::size_t Count>
guint32 write_cache(Cache<Count> &cache, const std::array<double, Count> &values)
{
    const std::lock_guard lock(caches_mutex);
    if (!cache.open || (cache.written && cache.values == values))
        return 0;
    cache.values = values;
    cache.written = true;
    return 1;
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
    write_cache(zoom_cache, {double(zoom), double(moving), double(used), double{mask_hfov}, double{mask_vfov},
                             double{magnification}});
}

void ptz_driver_flip_datacache_write(int flip)
{
    write_cache(flip_cache, {double(flip)});
}

void ptz_driver_position_datacache_update(gint32 pan, gint32 tilt, gint32 pan_offset, gint32 tilt_offset,
                                          guint32 *result)
{
    store_result(result,
                 write_cache(position_cache, {double(pan), double(tilt), double(pan_offset), double(tilt_offset)}));
}

void ptz_driver_speed_datacache_update(gint32 pan_speed, gint32 tilt_speed, gboolean pan_changing,
                                       gboolean tilt_changing, guint32 *result)
{
    store_result(result, write_cache(speed_cache, {double(pan_speed), double(tilt_speed), double(pan_changing),
                                                   double(tilt_changing)}));
}

void ptz_driver_moving_datacache_update(int pan_mode, int tilt_mode, int pan_moving, int tilt_moving,
                                        gint32 pan_set_speed, gint32 tilt_set_speed, guint32 pan_degrees,
                                        guint32 tilt_degrees, guint32 *result)
{
    store_result(result, write_cache(moving_cache, {double(pan_mode), double(tilt_mode), double(pan_moving),
                                                    double(tilt_moving), double(pan_set_speed), double(tilt_set_speed),
                                                    double(pan_degrees), double(tilt_degrees)}));
}

namespace {

template <std::size_t Count>
void add_cache(GVariantBuilder &caches, const Cache<Count> &cache)
{
    g_variant_builder_open(&caches, G_VARIANT_TYPE("{sa{sv}}"));
    g_variant_builder_add(&caches, "s", cache.name);
    g_variant_builder_open(&caches, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&caches, "{sv}", "open", g_variant_new_boolean(cache.open));
    for (std::size_t i = 0; cache.written && i < Count; ++i) {
        const double value = cache.values[i];
        g_variant_builder_add(&caches, "{sv}", cache.fields[i].name,
                              cache.fields[i].real ? g_variant_new_double(value)
                                                   : g_variant_new_int32(static_cast<gint32>(value)));
    }
    g_variant_builder_close(&caches);
    g_variant_builder_close(&caches);
}

} // namespace

GVariant *ptz_data_caches_snapshot()
{
    const std::lock_guard lock(caches_mutex);
    GVariantBuilder caches;
    g_variant_builder_init(&caches, G_VARIANT_TYPE("a{sa{sv}}"));
    add_cache(caches, zoom_cache);
    add_cache(caches, flip_cache);
    add_cache(caches, position_cache);
    add_cache(caches, moving_cache);
    add_cache(caches, speed_cache);
    return g_variant_builder_end(&caches);
}
