// The iris, focus and backlight modes.
#include "ptzorvel/common/quote.h"
#include "ptzorvel/ptzd/calls.h"

#include <string_view>

namespace {

// A mode that the framework keeps and the driver applies: one of two, each with its word.
struct ModeRow {
    const char *what;
    struct {
        const char *word;
        gint32 mode;
    } modes[2];
    gint32 PTZDriver::*field;
    gboolean (*PTZDriverClass::*changed)(PTZDriver *);
    bool stays; // when the camera does not take it: the driver goes on in the new mode
};

constexpr ModeRow kIris{"iris",
                        {{"auto", PTZ_IRIS_AUTO}, {"manual", PTZ_IRIS_MANUAL}},
                        &PTZDriver::iris_mode,
                        &PTZDriverClass::iris_mode_changed,
                        true};
constexpr ModeRow kFocus{"focus",
                         {{"auto", PTZ_FOCUS_AUTO}, {"manual", PTZ_FOCUS_MANUAL}},
                         &PTZDriver::focus_mode,
                         &PTZDriverClass::focus_mode_changed,
                         false};
constexpr ModeRow kBacklight{"backlight",
                             {{"on", PTZ_BACKLIGHT_ON}, {"off", PTZ_BACKLIGHT_OFF}},
                             &PTZDriver::backlight_mode,
                             &PTZDriverClass::backlight_changed,
                             false};

void set_mode(PtzService &service, const CallPtr &call, const ModeRow &row)
{
    const char *word = nullptr;
    g_variant_get(call->parameters(), "(&s)", &word);
    gint32 mode = 0;
    for (const auto &known : row.modes)
        if (std::string_view(word) == known.word)
            mode = known.mode;
    if (mode == 0) {
        call->refuse({ErrorKind::invalid_argument, std::string("There is no ") + row.what + " mode " + quoted(word) +
                                                       "; there are " + row.modes[0].word + " and " +
                                                       row.modes[1].word + "."});
        return;
    }
    service.run(call, PtzService::Gate::running, [&row, mode](PTZDriver *driver, Call &answered) {
        const auto changed = PTZ_DRIVER_GET_CLASS(driver)->*row.changed;
        if (!driver_replaces(driver, row.changed)) {
            answered.refuse(not_supported((std::string("set the ") + row.what + " mode").c_str()));
            return;
        }
        const gint32 former = driver->*row.field;
        driver->*row.field = mode;
        if (changed(driver)) {
            answered.answer();
            return;
        }
        if (!row.stays)
            driver->*row.field = former;
        answered.refuse(
            {ErrorKind::failed, std::string("The camera did not take the ") + row.what + " mode; see the system log."});
    });
}

} // namespace

void call_set_iris_mode(PtzService &service, const CallPtr &call)
{
    set_mode(service, call, kIris);
}
void call_set_focus_mode(PtzService &service, const CallPtr &call)
{
    set_mode(service, call, kFocus);
}
void call_set_backlight_mode(PtzService &service, const CallPtr &call)
{
    set_mode(service, call, kBacklight);
}
