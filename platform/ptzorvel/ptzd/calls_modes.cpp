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
    bool sent_when_new; // the driver sends nothing when it takes the mode for the one in force
};

constexpr ModeRow kIris{"iris",
                        {{"auto", PTZ_IRIS_AUTO}, {"manual", PTZ_IRIS_MANUAL}},
                        &PTZDriver::iris_mode,
                        &PTZDriverClass::iris_mode_changed,
                        false};
constexpr ModeRow kFocus{"focus",
                         {{"auto", PTZ_FOCUS_AUTO}, {"manual", PTZ_FOCUS_MANUAL}},
                         &PTZDriver::focus_mode,
                         &PTZDriverClass::focus_mode_changed,
                         true};
constexpr ModeRow kBacklight{"backlight",
                             {{"on", PTZ_BACKLIGHT_ON}, {"off", PTZ_BACKLIGHT_OFF}},
                             &PTZDriver::backlight_mode,
                             &PTZDriverClass::backlight_changed,
                             true};

bool apply_mode(PTZDriver *driver, const ModeRow &row, gint32 mode)
{
    driver->*row.field = mode;
    return (PTZ_DRIVER_GET_CLASS(driver)->*row.changed)(driver) != FALSE;
}

// Makes sure of the mode that is noted, whatever the camera is in.
bool apply_mode_again(PTZDriver *driver, const ModeRow &row)
{
    const gint32 mode = driver->*row.field;
    const gint32 other = row.modes[row.modes[0].mode == mode ? 1 : 0].mode;
    if (row.sent_when_new)
        apply_mode(driver, row, other);
    return apply_mode(driver, row, mode);
}

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
    service.run(call, PtzService::Gate::running, [&service, &row, mode](PTZDriver *driver, Call &answered) {
        if (!driver_replaces(driver, row.changed)) {
            answered.refuse(not_supported((std::string("set the ") + row.what + " mode").c_str()));
            return;
        }
        const gint32 former = driver->*row.field;
        const auto error =
            service.changes().carry_out(driver, {std::string("the ") + row.what + " mode",
                                                 [&row, mode](PTZDriver *with) { return apply_mode(with, row, mode); },
                                                 [&row, former](PTZDriver *with) { with->*row.field = former; },
                                                 [&row](PTZDriver *with) { return apply_mode_again(with, row); }});
        service.modes().look(driver);
        if (error)
            answered.refuse(*error);
        else
            answered.answer();
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
