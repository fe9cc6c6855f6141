#include "ptzorvel/ptzd/axes.h"

#include "glib_owned.h"
#include "status_cache/status_cache_read.h"

#include <cmath>

namespace {

std::optional<double> number_in(GVariant *group, const char *key)
{
    const GVariantOwned value(g_variant_lookup_value(group, key, nullptr));
    if (value == nullptr)
        return std::nullopt;
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_INT32))
        return g_variant_get_int32(value.get());
    return std::round(g_variant_get_double(value.get()) * 65536.0) / 65536.0;
}

} // namespace

std::optional<std::size_t> find_axis(std::string_view name)
{
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (name == kAxes[axis].name)
            return axis;
    return std::nullopt;
}

AxisPositions published_positions()
{
    const GVariantOwned groups(g_variant_ref_sink(status_cache_snapshot()));
    const GVariantOwned group(g_variant_lookup_value(groups.get(), "PTZ_POSITION_IS1", G_VARIANT_TYPE_VARDICT));
    return group != nullptr ? published_positions(group.get()) : AxisPositions{};
}

AxisPositions published_positions(GVariant *position_group)
{
    AxisPositions positions;
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++) {
        positions[axis] = number_in(position_group, kAxes[axis].published);
        // Positions, unlike angles, begin at 1; -1 says that one is not known.
        if (kAxes[axis].whole && positions[axis] && *positions[axis] < 0)
            positions[axis].reset();
    }
    return positions;
}

GVariant *axis_positions_variant(const AxisPositions &positions)
{
    GVariantBuilder numbers;
    g_variant_builder_init(&numbers, G_VARIANT_TYPE("a{sd}"));
    for (std::size_t axis = 0; axis < AXIS_COUNT; axis++)
        if (positions[axis])
            g_variant_builder_add(&numbers, "{sd}", kAxes[axis].name, *positions[axis]);
    return g_variant_builder_end(&numbers);
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
