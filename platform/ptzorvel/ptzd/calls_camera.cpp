// Special commands, capabilities and the speed factor.
#include "glib_owned.h"
#include "ptzorvel/common/quote.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"

namespace {

GVariant *text_list_answer(const GTexts &list)
{
    static const char *const kNothing[] = {nullptr};
    return g_variant_new("(^as)", list != nullptr ? list.get() : const_cast<char **>(kNothing));
}

GTexts special_commands(PTZDriver *driver)
{
    char **list = nullptr;
    PTZ_DRIVER_GET_CLASS(driver)->get_special_commands(driver, &list);
    return GTexts(list);
}

// Why a special command came back undone: it may not exist, or it may have failed.
CallError special_command_error(PTZDriver *driver, const std::string &command)
{
    const GTexts list = special_commands(driver);
    std::string offered;
    for (char **entry = list.get(); entry != nullptr && *entry != nullptr; entry++) {
        if (command == *entry)
            return {ErrorKind::failed, "The camera did not carry out " + quoted(command) + "; see the system log."};
        offered += (offered.empty() ? "" : ", ") + std::string(*entry);
    }
    return {ErrorKind::invalid_argument, "There is no special command " + quoted(command) +
                                             " now; there are: " + (offered.empty() ? "none" : offered) + "."};
}

} // namespace

void call_list_special_commands(PtzService &service, const CallPtr &call)
{
    service.run(call, PtzService::Gate::any_state,
                [](PTZDriver *driver, Call &answered) { answered.answer(text_list_answer(special_commands(driver))); });
}

void call_run_special_command(PtzService &service, const CallPtr &call)
{
    const char *text = nullptr;
    g_variant_get(call->parameters(), "(&s)", &text);
    const std::string command = text;
    service.run(call, PtzService::Gate::any_state, [command](PTZDriver *driver, Call &answered) {
        if (!driver_replaces(driver, &PTZDriverClass::run_special_command))
            answered.refuse(not_supported("run special commands"));
        else if (const char *busy = ptz_driver_busy_text(driver))
            answered.refuse({ErrorKind::busy, busy});
        else if (PTZ_DRIVER_GET_CLASS(driver)->run_special_command(driver, command.c_str()))
            answered.answer();
        else
            answered.refuse(special_command_error(driver, command));
    });
}

void call_get_capabilities(PtzService &service, const CallPtr &call)
{
    const char *text = nullptr;
    g_variant_get(call->parameters(), "(&s)", &text);
    const std::string category = text;
    service.run(call, PtzService::Gate::any_state, [category](PTZDriver *driver, Call &answered) {
        if (!driver_replaces(driver, &PTZDriverClass::get_capabilities)) {
            answered.refuse(not_supported("list its capabilities"));
            return;
        }
        char **list = nullptr;
        PTZ_DRIVER_GET_CLASS(driver)->get_capabilities(driver, category.c_str(), &list);
        answered.answer(text_list_answer(GTexts(list)));
    });
}

void call_set_speed_factor(PtzService &service, const CallPtr &call)
{
    gboolean proportional = FALSE;
    gint16 percent = 0;
    g_variant_get(call->parameters(), "(bn)", &proportional, &percent);
    service.run(call, PtzService::Gate::any_state, [proportional, percent](PTZDriver *driver, Call &answered) {
        if (!driver_replaces(driver, &PTZDriverClass::speed_factor_changed)) {
            answered.refuse(not_supported("scale its speeds"));
            return;
        }
        driver->proportional_speed = proportional != FALSE ? 1 : 0;
        driver->speed_factor = percent;
        if (PTZ_DRIVER_GET_CLASS(driver)->speed_factor_changed(driver))
            answered.answer();
        else
            answered.refuse({ErrorKind::failed, "The driver did not take the speed factor; see the system log."});
    });
}
