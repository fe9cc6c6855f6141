// What the parameter groups of the driver share: how their values are read, applied and refused.
#pragma once

#include "core/instance.h"
#include "core/log.h"
#include "core/parameter.h"

// A value that has been read: a number (also a boolean's 0 or 1), or a text that lives as long as its parameter.
struct ParameterValue {
    int number = 0;
    const char *text = nullptr;
};

// Takes the value of a parameter that is of the reader's kind; false when it is not.
using ParamReader = bool (*)(const Parameter &parameter, ParameterValue *value);

bool ptz_driver_canon_read_integer(const Parameter &parameter, ParameterValue *value);
bool ptz_driver_canon_read_boolean(const Parameter &parameter, ParameterValue *value);
bool ptz_driver_canon_read_text(const Parameter &parameter, ParameterValue *value);

// What comes of a parameter without a usable value: FALSE with that message of the group, said of the parameter, but
// TRUE and silence before start-up is complete, when parameters need not have values yet.
gboolean ptz_driver_canon_refuse_value(const PTZDriverCanon *self, LogMessage faulty, const char *name);

// Applies one parameter. TRUE when it was applied or there is nothing to apply to this name.
gboolean ptz_driver_canon_set_useradv(PTZDriverCanon *self, const char *name);     // group "UserAdv"
gboolean ptz_driver_canon_imagesource_set(PTZDriverCanon *self, const char *name); // group "ImageSource"

// Declare the group's parameters to the framework, or tell it which ones the driver applies. The first two report a
// framework that does not take them and go on.
void ptz_driver_canon_install_limits(PTZDriverCanon *self);
void ptz_driver_canon_install_useradv(PTZDriverCanon *self);
void ptz_driver_canon_connect_imagesource(PTZDriverCanon *self);

// Takes every limit that has a value.
void ptz_driver_canon_read_limits(PTZDriverCanon *self);

// Applies the parameters that a start-up leaves to later changes, and "StatusUpdate", which it sets itself.
void ptz_driver_canon_settle_useradv(PTZDriverCanon *self);

// Takes over whether frame rates are those of broadcasting, where the model has both and the user has said.
void ptz_driver_canon_read_broadcast(PTZDriverCanon *self);

// Apply what the group holds to a camera block that has just started. FALSE when something was refused or not taken;
// the rest has been applied all the same.
gboolean ptz_driver_canon_apply_useradv(PTZDriverCanon *self);
gboolean ptz_driver_canon_apply_imagesource(PTZDriverCanon *self);

// Applies both groups, then focus mode, rotation, backlight compensation and outputs. FALSE when anything but the last
// two failed; the rest has been applied all the same.
gboolean ptz_driver_canon_apply_params(PTZDriverCanon *self);
