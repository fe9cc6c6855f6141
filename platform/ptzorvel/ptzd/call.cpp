#include "ptzorvel/ptzd/call.h"

#include <utility>

const char *error_name(ErrorKind kind)
{
    switch (kind) {
    case ErrorKind::invalid_argument:
        return "com.orna.PTZ.Error.InvalidArgument";
    case ErrorKind::out_of_range:
        return "com.orna.PTZ.Error.OutOfRange";
    case ErrorKind::unknown_parameter:
        return "com.orna.PTZ.Error.UnknownParameter";
    case ErrorKind::not_ready:
        return "com.orna.PTZ.Error.NotReady";
    case ErrorKind::busy:
        return "com.orna.PTZ.Error.Busy";
    case ErrorKind::not_supported:
        return "com.orna.PTZ.Error.NotSupported";
    case ErrorKind::cancelled:
        return "com.orna.PTZ.Error.Cancelled";
    case ErrorKind::still_moving:
        return "com.orna.PTZ.Error.StillMoving";
    case ErrorKind::failed:
        break;
    }
    return "com.orna.PTZ.Error.Failed";
}

Call::~Call()
{
    refuse({ErrorKind::failed, "The PTZ service is shutting down."});
}

void Call::answer(GVariant *result)
{
    if (invocation_ != nullptr)
        g_dbus_method_invocation_return_value(std::exchange(invocation_, nullptr), result);
    else if (result != nullptr)
        g_variant_unref(g_variant_ref_sink(result));
}

void Call::refuse(const CallError &error)
{
    if (invocation_ != nullptr)
        g_dbus_method_invocation_return_dbus_error(std::exchange(invocation_, nullptr), error_name(error.kind),
                                                   error.text.c_str());
}
