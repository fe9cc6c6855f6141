#include "ptzorvel/ptzd/axes.h"

#include "status_cache/status_cache_read.h"

#include <cmath>

std::optional<std::size_t> find_axis(std::string_view name)
{
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (name == kAxes[axis].name)
            return axis;
    return std::nullopt;
}

PublishedView published_view()
{
    constexpr std::size_t kHorizontal = AXIS_COUNT, kVertical = AXIS_COUNT + 1;
    static constexpr auto kKeys = [] {
        std::array<const char *, AXIS_COUNT + 2> keys{};
        for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
            keys[axis] = kAxes[axis].published;
        keys[kHorizontal] = "ZOOM_HFOV";
        keys[kVertical] = "ZOOM_VFOV";
        return keys;
    }();
    std::array<double, kKeys.size()> numbers{};
    status_cache_numbers("PTZ_POSITION_IS1", kKeys.data(), kKeys.size(), numbers.data());
    PublishedView view;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        const double number = std::round(numbers[axis] * 65536.0) / 65536.0;
        // Positions, unlike angles, begin at 1; -1 says that one is not known.
        if (!std::isnan(number) && !(kAxes[axis].whole && number < 0))
            view.positions[axis] = number;
    }
    view.horizontal = std::isnan(numbers[kHorizontal]) ? -1 : numbers[kHorizontal];
    view.vertical = std::isnan(numbers[kVertical]) ? -1 : numbers[kVertical];
    return view;
}

AxisPositions published_positions()
{
    return published_view().positions;
}

GVariant *number_entry(const char *name, double number)
{
    return g_variant_new_dict_entry(g_variant_new_string(name), g_variant_new_double(number));
}

GVariant *axis_positions_variant(const AxisPositions &positions)
{
    std::array<GVariant *, AXIS_COUNT> entries{};
    std::size_t count = 0;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (positions[axis])
            entries[count++] = number_entry(kAxes[axis].name, *positions[axis]);
    return g_variant_new_array(G_VARIANT_TYPE("{sd}"), entries.data(), count);
}

GVariant *axis_names_variant(AxisMask axes)
{
    GVariantBuilder names;
    g_variant_builder_init(&names, G_VARIANT_TYPE("as"));
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if ((axes & axis_bit(axis)) != 0)
            g_variant_builder_add(&names, "s", kAxes[axis].name);
    return g_variant_builder_end(&names);
}
