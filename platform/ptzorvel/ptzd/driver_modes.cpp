#include "ptzorvel/ptzd/driver_modes.h"

#include "glib_owned.h"

#include <string_view>
#include <utility>

namespace {

// The properties: three modes, with the word for 1 and any other value, then the speed factor.
constexpr struct {
    const char *name, *first, *second;
} kProperties[] = {{"IrisMode", "auto", "manual"},
                   {"FocusMode", "auto", "manual"},
                   {"BacklightMode", "on", "off"},
                   {"SpeedFactor", nullptr, nullptr}};
static_assert(PTZ_IRIS_AUTO == 1 && PTZ_FOCUS_AUTO == 1 && PTZ_BACKLIGHT_ON == 1);

} // namespace

DriverModes::DriverModes(std::function<void(const char *name, GVariant *value)> changed) : changed_(std::move(changed))
{
}

GVariant *DriverModes::variant(const Values &values, std::size_t property)
{
    if (property == values.modes.size())
        return g_variant_new("(bn)", values.proportional == 1, values.percent);
    return g_variant_new_string(values.modes[property] == 1 ? kProperties[property].first
                                                            : kProperties[property].second);
}

void DriverModes::look(const PTZDriver *driver)
{
    const Values now{{driver->iris_mode, driver->focus_mode, driver->backlight_mode},
                     driver->proportional_speed,
                     driver->speed_factor};
    Values before;
    {
        const std::lock_guard lock(mutex_);
        before = std::exchange(values_, now);
    }
    for (std::size_t i = 0; i < std::size(kProperties); i++) {
        const GVariantOwned former(g_variant_ref_sink(variant(before, i)));
        const GVariantOwned value(g_variant_ref_sink(variant(now, i)));
        if (g_variant_equal(former.get(), value.get()) == FALSE)
            changed_(kProperties[i].name, value.get());
    }
}

GVariant *DriverModes::property(const char *name) const
{
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < std::size(kProperties); i++)
        if (std::string_view(name) == kProperties[i].name)
            return variant(values_, i);
    return nullptr;
}
