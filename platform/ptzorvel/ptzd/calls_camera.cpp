// Special commands, capabilities and the speed factor.
#include "glib_owned.h"
#include "host/driver_host.h"
#include "ptzorvel/common/quote.h"
#include "ptzorvel/driver/driver_private.h"
#include "ptzorvel/ptzd/calls.h"

namespace {

constexpr char kReset[] = "reset";

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

// What a restart of the camera has come to: none when it runs, with the firmware that it shall have.
std::optional<CallError> restart_error(const PtzService &service)
{
    if (service.state() == PTZ_STATE_FAILED)
        return CallError{ErrorKind::failed, "The camera did not start: " + service.failure() + "."};
    if (service.state() != PTZ_STATE_RUNNING)
        return CallError{ErrorKind::failed,
                         std::string("The camera does not run (") + state_text(service.state()) + ")."};
    const auto image = service.image();
    if (!image || image->result == DRIVER_HOST_UPGRADE_DONE)
        return std::nullopt;
    const bool held = image->result == DRIVER_HOST_UPGRADE_HELD;
    return CallError{ErrorKind::failed,
                     "The camera runs, but its firmware was not upgraded: " +
                         (held ? "this image failed three times in a row and is tried again when it is another one, or "
                                 "by 'ptzctl upgrade --retry'"
                               : image->result) +
                         "."};
}

// Runs a special command; command thread.
void run_special_command(const PtzService &service, PTZDriver *driver, Call &call, const std::string &command)
{
    if (!driver_replaces(driver, &PTZDriverClass::run_special_command))
        return call.refuse(not_supported("run special commands"));
    if (const char *busy = ptz_driver_busy_text(driver))
        return call.refuse({ErrorKind::busy, busy});
    if (!PTZ_DRIVER_GET_CLASS(driver)->run_special_command(driver, command.c_str()))
        return call.refuse(special_command_error(driver, command));
    const auto error = command == kReset ? restart_error(service) : std::nullopt;
    if (error)
        call.refuse(*error);
    else
        call.answer();
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
    if (const auto error = check_text("command", command)) {
        call->refuse(*error);
        return;
    }
    service.run(call, PtzService::Gate::any_state, [&service, command](PTZDriver *driver, Call &answered) {
        run_special_command(service, driver, answered, command);
    });
}

void call_retry_upgrade(PtzService &service, const CallPtr &call)
{
    service.run(call, PtzService::Gate::any_state, [&service](PTZDriver *driver, Call &answered) {
        service.try_image_again();
        run_special_command(service, driver, answered, kReset);
    });
}

void call_get_capabilities(PtzService &service, const CallPtr &call)
{
    const char *text = nullptr;
    g_variant_get(call->parameters(), "(&s)", &text);
    const std::string category = text;
    if (const auto error = check_text("category", category)) {
        call->refuse(*error);
        return;
    }
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
    service.run(
        call, PtzService::Gate::any_state, [&service, proportional, percent](PTZDriver *driver, Call &answered) {
            if (!driver_replaces(driver, &PTZDriverClass::speed_factor_changed)) {
                answered.refuse(not_supported("scale its speeds"));
                return;
            }
            driver->proportional_speed = proportional != FALSE ? 1 : 0;
            driver->speed_factor = percent;
            const bool taken = PTZ_DRIVER_GET_CLASS(driver)->speed_factor_changed(driver) != FALSE;
            service.modes().look(driver);
            if (taken)
                answered.answer();
            else
                answered.refuse({ErrorKind::failed, "The driver did not take the speed factor; see the system log."});
        });
}
