#include "driver/params.h"

#include "driver/operations.h"

bool ptz_driver_canon_read_integer(const Parameter &parameter, ParameterValue *value)
{
    if (!parameter.is_integer())
        return false;
    value->number = parameter.integer();
    return true;
}

bool ptz_driver_canon_read_boolean(const Parameter &parameter, ParameterValue *value)
{
    if (!parameter.is_boolean())
        return false;
    value->number = parameter.boolean();
    return true;
}

bool ptz_driver_canon_read_text(const Parameter &parameter, ParameterValue *value)
{
    value->text = parameter.text();
    return parameter.is_text();
}

gboolean ptz_driver_canon_refuse_value(const PTZDriverCanon *self, LogMessage faulty, const char *name)
{
    if (!self->driver_initialized)
        return TRUE;
    faulty(name);
    return FALSE;
}

gboolean ptz_driver_canon_op_install_params(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    ptz_driver_canon_install_limits(self);
    ptz_driver_canon_install_useradv(self);
    ptz_driver_canon_connect_imagesource(self);
    auto *framework = static_cast<PTZDriverClass *>(g_type_class_peek(PTZ_TYPE_DRIVER));
    return framework->install_params(driver);
}

gboolean ptz_driver_canon_op_useradv_changed(PTZDriver *driver, const char *name)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_set_useradv(self, name) : TRUE;
}

gboolean ptz_driver_canon_op_imagesource_changed(PTZDriver *driver, const char *name)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    return self->driver_initialized ? ptz_driver_canon_imagesource_set(self, name) : TRUE;
}
