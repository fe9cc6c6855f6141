#include "cmd/iris_mode.h"

#include "cmd/exposure.h"
#include "cmd/move_iris.h"
#include "core/guard.h"
#include "core/log.h"
#include "core/parameter.h"
#include "vcc/model.h"

namespace {

Parameter read(const PTZDriverCanon *self, const char *name)
{
    return {self->parent_instance.imagesource_params, name};
}

gboolean set_exposure(PTZDriverCanon *self, const Parameter &mode, const char *priority)
{
    if (mode.text() == nullptr) {
        log_error("Undefined exposure mode and exposure priority");
        return FALSE;
    }
    return ptz_driver_canon_cmd_exposure_mode(self, mode.text(), priority);
}

// The priority when exposure is automatic and the user controls some of gain, shutter and iris.
const char *priority_of_controls(bool gain, bool shutter, const Parameter &iris)
{
    if (!gain && !shutter)
        return !iris.is_text() ? "auto" : iris.says("yes") ? "dciris" : "iris";
    if (gain != shutter && !iris.says("no"))
        return gain ? "gain" : "shutter";
    return "manual";
}

gboolean set_exposure_by_priority(PTZDriverCanon *self)
{
    const Parameter mode = read(self, "Exposure"), priority = read(self, "ExposurePriority");
    return mode.is_text() && priority.is_text() && set_exposure(self, mode, priority.text());
}

gboolean set_exposure_by_mode(PTZDriverCanon *self)
{
    const Parameter mode = read(self, "Exposure");
    const Parameter automatic = read(self, "ExposureAutoMode"), manual = read(self, "ExposureManualMode");
    if (!mode.is_text() || !automatic.is_text() || !manual.is_text())
        return FALSE;
    if (mode.says("auto"))
        return set_exposure(self, mode, automatic.text());
    return mode.says("manual") && set_exposure(self, mode, manual.text());
}

gboolean set_exposure_by_controls(PTZDriverCanon *self)
{
    const Parameter mode = read(self, "Exposure"), iris = read(self, "IrisEnabled");
    const Parameter gain = read(self, "ManualGainControl"), shutter = read(self, "ManualShutterControl");
    if (!mode.is_text() || !gain.is_text() || !shutter.is_text())
        return FALSE;
    const bool automatic = mode.says("auto");
    return set_exposure(self, mode,
                        automatic ? priority_of_controls(gain.says("yes"), shutter.says("yes"), iris) : nullptr);
}

// What the user sets under some of the priorities: by the first of two parameters that is a number.
struct Follower {
    const char *priorities[3];
    const char *names[2];
    gboolean (*apply[2])(PTZDriverCanon *self, int value);
};

gboolean apply_follower(PTZDriverCanon *self, const Follower &follower)
{
    for (int i = 0; i < 2; ++i) {
        const Parameter parameter = read(self, follower.names[i]);
        if (parameter.is_integer())
            return follower.apply[i](self, parameter.integer());
    }
    if (self->driver_initialized)
        log_error("Faulty type of ImageSource parameter value for %s", follower.names[1]);
    return FALSE;
}

gboolean apply_shutter_level(PTZDriverCanon *self, int value)
{
    return ptz_driver_canon_cmd_shutter(self, value, FALSE);
}

gboolean apply_shutter_time(PTZDriverCanon *self, int value)
{
    return ptz_driver_canon_cmd_shutter(self, value, TRUE);
}

gboolean apply_iris(PTZDriverCanon *self, int value)
{
    return ptz_driver_canon_cmd_iris(self, value, TRUE);
}

constexpr Follower FOLLOWERS[] = {
    {{"manual", "shutter"}, {"Shutter", "ManualShutter"}, {apply_shutter_level, apply_shutter_time}},
    {{"manual", "gain"}, {"Gain", "ManualGain"}, {ptz_driver_canon_cmd_gain, ptz_driver_canon_cmd_gain}},
    {{"manual", "iris", "dciris"}, {"Iris", "IrisPosition"}, {apply_iris, apply_iris}},
};

bool is_wanted(const PTZDriverCanon *self, const Follower &follower)
{
    const char *now = self->current.exposure_mode;
    for (const char *priority : follower.priorities)
        if (now != nullptr && priority != nullptr && g_ascii_strcasecmp(now, priority) == 0)
            return true;
    return false;
}

gboolean apply_followers(PTZDriverCanon *self)
{
    for (const Follower &follower : FOLLOWERS)
        if (is_wanted(self, follower) && !apply_follower(self, follower))
            return FALSE;
    return TRUE;
}

gboolean set_automatic(PTZDriverCanon *self)
{
    self->current.auto_iris = TRUE;
    self->parent_instance.iris_mode = PTZ_IRIS_AUTO;
    const CameraModel &model = *self->cam_model;
    const auto set = model.exposure_priority_supported  ? set_exposure_by_priority
                     : model.exposure_auto_manual_modes ? set_exposure_by_mode
                                                        : set_exposure_by_controls;
    return set(self) && apply_followers(self);
}

gboolean set_manual(PTZDriverCanon *self)
{
    self->current.auto_iris = FALSE;
    self->parent_instance.iris_mode = PTZ_IRIS_MANUAL;
    ptz_driver_canon_get_exposure_position(self, &self->current.iris_zenta);
    ptz_driver_canon_cmd_full_manual_exposure(self, self->current.iris_zenta);
    return TRUE;
}

} // namespace

gboolean ptz_driver_canon_set_iris_mode(PTZDriverCanon *self, int iris_mode)
{
    GUARD(self, FALSE);
    if (iris_mode == PTZ_IRIS_AUTO)
        return set_automatic(self);
    if (iris_mode == PTZ_IRIS_MANUAL)
        return set_manual(self);
    log_error("Unsupported ptz iris mode");
    return FALSE;
}
