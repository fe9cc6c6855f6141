#include "ptzorvel/ptzd/call.h"

#include "clean_text.h"
#include "glib_owned.h"
#include "ptzorvel/common/quote.h"

#include <utility>

std::optional<CallError> check_text(const std::string &what, const std::string &text)
{
    constexpr std::size_t kLongest = 255;
    if (text.size() > kLongest)
        return CallError{ErrorKind::invalid_argument, what + ": a text of more than 255 bytes means nothing here."};
    if (printable(text) != text)
        return CallError{ErrorKind::invalid_argument, what + ": there are control characters in " + quoted(text) + "."};
    return std::nullopt;
}

const char *error_name(ErrorKind kind)
{
    switch (kind) {
    case ErrorKind::invalid_argument:
        return "com.orna.PTZ.Error.InvalidArgument";
    case ErrorKind::out_of_range:
        return "com.orna.PTZ.Error.OutOfRange";
    case ErrorKind::unknown_parameter:
        return "com.orna.PTZ.Error.UnknownParameter";
    case ErrorKind::unknown_preset:
        return "com.orna.PTZ.Error.UnknownPreset";
    case ErrorKind::not_ready:
        return "com.orna.PTZ.Error.NotReady";
    case ErrorKind::busy:
        return "com.orna.PTZ.Error.Busy";
    case ErrorKind::not_supported:
        return "com.orna.PTZ.Error.NotSupported";
    case ErrorKind::cancelled:
        return "com.orna.PTZ.Error.Cancelled";
    case ErrorKind::limits_exceeded:
        return "com.orna.PTZ.Error.LimitsExceeded";
    case ErrorKind::not_kept:
        return "com.orna.PTZ.Error.NotKept";
    case ErrorKind::still_moving:
        return "com.orna.PTZ.Error.StillMoving";
    case ErrorKind::failed:
        break;
    }
    return "com.orna.PTZ.Error.Failed";
}

Call::Call(GDBusConnection *connection, GDBusMessage *message, unsigned stops_before)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))), message_(G_DBUS_MESSAGE(g_object_ref(message))),
      stops_before_(stops_before)
{
    GVariant *body = g_dbus_message_get_body(message);
    parameters_ = g_variant_ref_sink(body != nullptr ? body : g_variant_new_tuple(nullptr, 0));
}

Call::~Call()
{
    refuse({ErrorKind::failed, "The PTZ service is shutting down."});
    g_variant_unref(parameters_);
    g_object_unref(message_);
    g_object_unref(connection_);
}

void Call::answer(GVariant *result)
{
    const GVariantOwned body(g_variant_ref_sink(result != nullptr ? result : g_variant_new_tuple(nullptr, 0)));
    if (std::exchange(answered_, true))
        return;
    g_variant_get_data(body.get()); // in one piece, which takes far less than the parts while it waits to be written
    GDBusMessage *reply = g_dbus_message_new_method_reply(message_);
    g_dbus_message_set_body(reply, body.get());
    send(reply);
}

void Call::refuse(const CallError &error)
{
    if (!std::exchange(answered_, true))
        send(g_dbus_message_new_method_error_literal(message_, error_name(error.kind), error.text.c_str()));
}

void Call::send(GDBusMessage *reply)
{
    // Fails only without a bus, and then nobody waits for it.
    g_dbus_connection_send_message(connection_, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
}
