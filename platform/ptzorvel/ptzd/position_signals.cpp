#include "ptzorvel/ptzd/position_signals.h"

#include "ptzorvel/ptzd/driver_host.h"
#include "ptzorvel/ptzd/face.h"
#include "status_cache/status_cache_read.h"

#include <algorithm>
#include <utility>

namespace {

// Of two signals, one of which may be early: at most 30 in any second.
constexpr gint64 kApartUs = 35088;
// A change that comes too early waits for the next publication, which would wake the main loop anyway, or for this.
constexpr gint64 kLatestUs = 40000;

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
    const gint64 now = g_get_monotonic_time();
    wake_.wake_at(now >= due_us_ ? 0 : now + kLatestUs);
}

PositionSignals::View PositionSignals::view() const
{
    return {published_view(), service_.moving()};
}

GVariant *PositionSignals::variant(const View &view) const
{
    const double age = host_.status_age().value_or(-1);
    const auto ago_us = static_cast<gint64>(age < 0 ? 0 : age / time_scale_ * 1e6);
    std::array<GVariant *, 2> fields{};
    std::size_t count = 0;
    for (const auto &[name, degrees] :
         {std::pair("horizontal", view.published.horizontal), std::pair("vertical", view.published.vertical)})
        if (degrees >= 0)
            fields[count++] = number_entry(name, degrees);
    const std::array<GVariant *, 5> parts{g_variant_new_int64(g_get_real_time() - ago_us), g_variant_new_double(age),
                                          axis_positions_variant(view.published.positions),
                                          g_variant_new_array(G_VARIANT_TYPE("{sd}"), fields.data(), count),
                                          axis_names_variant(view.moving)};
    return g_variant_new_tuple(parts.data(), parts.size());
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
    due_us_ = std::max<gint64>(due_us_, g_get_monotonic_time() - kApartUs) + kApartUs;
    service_.emit(kInterfaceName, "PositionChanged", variant(now));
    service_.looked(now.published.positions);
}
