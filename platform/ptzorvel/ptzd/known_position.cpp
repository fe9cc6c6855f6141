#include "ptzorvel/ptzd/known_position.h"

#include "glib_owned.h"
#include "ptzorvel/ptzd/move_request.h"
#include "status_cache/status_cache_read.h"

void KnownPosition::keep()
{
    const auto known = published();
    if (!known)
        return;
    const std::lock_guard lock(mutex_);
    kept_ = known;
    kept_at_us_ = g_get_monotonic_time();
}

std::optional<KnownPosition::Known> KnownPosition::look() const
{
    if (!host_.status_age())
        return std::nullopt;
    if (const auto known = published())
        return known;
    const std::lock_guard lock(mutex_);
    auto known = kept_;
    if (known)
        known->age += static_cast<double>(g_get_monotonic_time() - kept_at_us_) / 1e6 * time_scale_;
    return known;
}

std::optional<KnownPosition::Known> KnownPosition::published() const
{
    static constexpr std::array<const char *, kPositionNames.size()> kKeys{
        "PAN_DEG", "TILT_DEG", "ZOOM_ZENTA", "IRIS_ZENTA", "FOCUS_ZENTA", "BRIGHTNESS_ZENTA"};
    const auto age = host_.status_age();
    const GVariantOwned groups(g_variant_ref_sink(status_cache_snapshot()));
    const GVariantOwned group(g_variant_lookup_value(groups.get(), "PTZ_POSITION_IS1", G_VARIANT_TYPE_VARDICT));
    double view = 0;
    // Without a field of view the numbers come from no status.
    if (!age || !group || !g_variant_lookup(group.get(), "ZOOM_HFOV", "d", &view) || view <= 0)
        return std::nullopt;
    Known known{{}, *age};
    for (std::size_t i = 0; i < kKeys.size(); ++i) {
        gint32 number = 0;
        double real = 0;
        if (g_variant_lookup(group.get(), kKeys[i], "i", &number))
            known.values[i] = number;
        else if (g_variant_lookup(group.get(), kKeys[i], "d", &real))
            known.values[i] = from_fixed(to_fixed(real));
        else
            return std::nullopt;
    }
    return known;
}
