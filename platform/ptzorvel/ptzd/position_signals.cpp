#include "ptzorvel/ptzd/position_signals.h"

#include "glib_owned.h"
#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/face.h"
#include "status_cache/status_cache_read.h"

#include <utility>

namespace {

constexpr gint64 kLeastUs = 33334; // between two signals

} // namespace

PositionSignals::PositionSignals(Service service, const DriverHost &host, double time_scale)
    : service_(std::move(service)), host_(host), time_scale_(time_scale), wake_(G_PRIORITY_DEFAULT, [this] { look(); })
{
    status_cache_set_listener([](gpointer self) { static_cast<PositionSignals *>(self)->look_soon(); }, this);
}

PositionSignals::~PositionSignals()
{
    status_cache_set_listener(nullptr, nullptr);
}

void PositionSignals::look_soon()
{
    wake_.wake_at(next_us_);
}

PositionSignals::View PositionSignals::view() const
{
    View view;
    const GVariantOwned groups(g_variant_ref_sink(status_cache_snapshot()));
    const GVariantOwned group(g_variant_lookup_value(groups.get(), "PTZ_POSITION_IS1", G_VARIANT_TYPE_VARDICT));
    if (group != nullptr) {
        view.positions = published_positions(group.get());
        g_variant_lookup(group.get(), "ZOOM_HFOV", "d", &view.horizontal);
        g_variant_lookup(group.get(), "ZOOM_VFOV", "d", &view.vertical);
    }
    view.moving = service_.moving();
    return view;
}

GVariant *PositionSignals::variant(const View &view) const
{
    const double age = host_.status_age().value_or(-1);
    const auto ago_us = static_cast<gint64>(age < 0 ? 0 : age / time_scale_ * 1e6);
    GVariantBuilder fields;
    g_variant_builder_init(&fields, G_VARIANT_TYPE("a{sd}"));
    for (const auto &[name, degrees] : {std::pair("horizontal", view.horizontal), std::pair("vertical", view.vertical)})
        if (degrees >= 0)
            g_variant_builder_add(&fields, "{sd}", name, degrees);
    return g_variant_new("(xd@a{sd}a{sd}@as)", g_get_real_time() - ago_us, age, axis_positions_variant(view.positions),
                         &fields, axis_names_variant(view.moving));
}

GVariant *PositionSignals::position() const
{
    return variant(view());
}

void PositionSignals::look()
{
    const View now = view();
    if (now == told_)
        return;
    told_ = now;
    next_us_ = g_get_monotonic_time() + kLeastUs;
    service_.emit(kInterfaceName, "PositionChanged", variant(now));
    service_.looked(now.positions);
}
