// Where the camera looks and what it sees.
#include "ptzorvel/ptzd/calls.h"

#include <iterator>

namespace {

// a{sd} of 16.16 numbers
template <std::size_t Count>
GVariant *fixed_numbers(const char *const (&names)[Count], const gint32 (&values)[Count])
{
    GVariantBuilder numbers;
    g_variant_builder_init(&numbers, G_VARIANT_TYPE("a{sd}"));
    for (std::size_t i = 0; i < Count; i++)
        g_variant_builder_add(&numbers, "{sd}", names[i], from_fixed(values[i]));
    return g_variant_new("(a{sd})", &numbers);
}

CallError silent(const char *about)
{
    return {ErrorKind::failed, std::string("The camera did not say ") + about + "; see the system log."};
}

} // namespace

void call_get_position(PtzService &service, const CallPtr &call)
{
    service.run(call, PtzService::Gate::running, [](PTZDriver *driver, Call &answered) {
        static constexpr const char *kNames[] = {"pan", "tilt", "zoom", "iris", "focus", "brightness"};
        gint32 value[std::size(kNames)] = {};
        if (!driver_replaces(driver, &PTZDriverClass::get_position))
            answered.refuse(not_supported("say where the camera looks"));
        else if (PTZ_DRIVER_GET_CLASS(driver)->get_position(driver, &value[0], &value[1], &value[2], &value[3],
                                                            &value[4], &value[5]))
            answered.answer(fixed_numbers(kNames, value));
        else
            answered.refuse(silent("where it looks"));
    });
}

void call_get_field_of_view(PtzService &service, const CallPtr &call)
{
    service.run(call, PtzService::Gate::running, [](PTZDriver *driver, Call &answered) {
        static constexpr const char *kNames[] = {"angle", "widest", "horizontal", "vertical"};
        gint32 value[std::size(kNames)] = {};
        if (!driver_replaces(driver, &PTZDriverClass::get_field_of_view))
            answered.refuse(not_supported("say what the camera sees"));
        else if (!PTZ_DRIVER_GET_CLASS(driver)->get_field_of_view(driver, 0, &value[0], &value[1], &value[2],
                                                                  &value[3]))
            answered.answer(fixed_numbers(kNames, value));
        else
            answered.refuse(silent("what it sees"));
    });
}
