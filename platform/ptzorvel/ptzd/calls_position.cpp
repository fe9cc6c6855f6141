// Where the camera looks and what it sees.
#include "ptzorvel/ptzd/calls.h"

#include <algorithm>
#include <span>

namespace {

// What a driver gives in 16.16
template <std::size_t Count>
std::array<double, Count> real_numbers(const std::array<gint32, Count> &fixed)
{
    std::array<double, Count> numbers{};
    std::transform(fixed.begin(), fixed.end(), numbers.begin(), from_fixed);
    return numbers;
}

// The answer (a{sd}); with the age of what is said, where it is known.
GVariant *answer_of(std::span<const char *const> names, std::span<const double> values,
                    std::optional<double> age = std::nullopt)
{
    GVariantBuilder numbers;
    g_variant_builder_init(&numbers, G_VARIANT_TYPE("a{sd}"));
    for (std::size_t i = 0; i < names.size(); i++)
        g_variant_builder_add(&numbers, "{sd}", names[i], values[i]);
    if (age)
        g_variant_builder_add(&numbers, "{sd}", "age", *age);
    return g_variant_new("(a{sd})", &numbers);
}

CallError silent(const char *about)
{
    return {ErrorKind::failed, std::string("The camera did not say ") + about + "; see the system log."};
}

} // namespace

// Nobody waits for a driver that is busy: what is known is answered at once.
void call_get_position(PtzService &service, const CallPtr &call)
{
    const auto ask = [&service](PTZDriver *driver, Call &answered) {
        std::array<gint32, kPositionNames.size()> value{};
        if (!driver_replaces(driver, &PTZDriverClass::get_position))
            answered.refuse(not_supported("say where the camera looks"));
        else if (PTZ_DRIVER_GET_CLASS(driver)->get_position(driver, &value[0], &value[1], &value[2], &value[3],
                                                            &value[4], &value[5]))
            answered.answer(answer_of(kPositionNames, real_numbers(value), service.host().status_age()));
        else
            answered.refuse(silent("where it looks"));
    };
    if (service.state() == PTZ_STATE_RUNNING && service.run_if_idle(call, PtzService::Gate::running, ask))
        return;
    if (const auto known = service.known_position().look())
        call->answer(answer_of(kPositionNames, known->values, known->age));
    else
        service.run(call, PtzService::Gate::running, ask);
}

void call_get_field_of_view(PtzService &service, const CallPtr &call)
{
    service.run(call, PtzService::Gate::running, [](PTZDriver *driver, Call &answered) {
        static constexpr std::array kNames{"angle", "widest", "horizontal", "vertical"};
        std::array<gint32, kNames.size()> value{};
        if (!driver_replaces(driver, &PTZDriverClass::get_field_of_view))
            answered.refuse(not_supported("say what the camera sees"));
        else if (!PTZ_DRIVER_GET_CLASS(driver)->get_field_of_view(driver, 0, &value[0], &value[1], &value[2],
                                                                  &value[3]))
            answered.answer(answer_of(kNames, real_numbers(value)));
        else
            answered.refuse(silent("what it sees"));
    });
}
