// The parameter groups that the driver declares.
#include "driver/ptz_driver_canon_operations.h"

#include "driver/ptz_driver_canon_device_status.h"
#include "driver/ptz_driver_canon_limits.h"

gboolean ptz_driver_canon_op_install_params(PTZDriver *driver)
{
    PTZDriverCanon *self = ptz_driver_canon_of(driver);
    ptz_driver_canon_install_limits(self);
    ptz_driver_canon_install_device_params(self);
    auto *framework = static_cast<PTZDriverClass *>(g_type_class_peek(PTZ_TYPE_DRIVER));
    return framework->install_params(driver);
}
