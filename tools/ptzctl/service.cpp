#include "service.h"

#include "failure.h"
#include "numbers.h"

#include <algorithm>

namespace {

constexpr const char *kErrorPrefix = "com.orna.PTZ.Error.";
constexpr const char *kNoBus = "start the bus, or set DBUS_SYSTEM_BUS_ADDRESS to the address of the bus that ptzd uses";

// One line without GDBus's own prefix.
std::string message_of(GError *error)
{
    g_dbus_error_strip_remote_error(error);
    return printable(error->message);
}

Failure failure_of(GError *error, const char *method, int timeout_ms)
{
    GText remote(g_dbus_error_get_remote_error(error));
    const std::string name = remote ? remote.get() : "";
    const std::string text = message_of(error);

    if (name.starts_with(kErrorPrefix))
        return {EXIT_REFUSED, printable(name.substr(std::string_view(kErrorPrefix).size())), text};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER))
        return {EXIT_NO_SERVICE, "NoService",
                "ptzd is not running on this bus; start it (systemctl start ptzd), or set DBUS_SYSTEM_BUS_ADDRESS to "
                "the bus it uses"};
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT))
        return {EXIT_NO_ANSWER, "NoAnswer",
                std::string("no answer to ") + method + " within " + number_text(timeout_ms / 1000.0) +
                    " s; the operation goes on, see 'ptzctl state', or give more time with --timeout"};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY))
        return {EXIT_NO_SERVICE, "NoService",
                std::string("ptzd left the bus before it answered ") + method + "; see the system log, then start it"};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED))
        return {EXIT_REFUSED, "AccessDenied",
                std::string("the bus does not let you call ") + method + "; run ptzctl as root (" + text + ")"};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS))
        return {EXIT_REFUSED, "WrongVersion",
                std::string("ptzd does not understand ") + method + "; use ptzctl and ptzd of one version (" + text +
                    ")"};
    if (error->domain == G_IO_ERROR)
        return {EXIT_NO_SERVICE, "NoBus", "the bus went away (" + text + "); " + kNoBus};
    return {EXIT_REFUSED, "Failed", std::string(method) + ": " + text};
}

} // namespace

Service::Service(double timeout_s) : timeout_ms_(static_cast<int>(std::min(timeout_s, 86400.0) * 1000))
{
    GErrorSlot error;
    connection_.reset(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
    if (!connection_)
        throw Failure(EXIT_NO_SERVICE, "NoBus", "no system bus (" + message_of(error.get()) + "); " + kNoBus);
    // A bus that goes away is reported like anything else that fails.
    g_dbus_connection_set_exit_on_close(connection_.get(), FALSE);
}

GVariantOwned Service::call(const char *method, GVariant *arguments, const char *reply)
{
    GErrorSlot error;
    GVariantOwned results(g_dbus_connection_call_sync(connection_.get(), kServiceName, kServicePath, kServiceInterface,
                                                      method, arguments, G_VARIANT_TYPE(reply),
                                                      G_DBUS_CALL_FLAGS_NO_AUTO_START, timeout_ms_, nullptr, error));
    if (!results)
        throw failure_of(error.get(), method, timeout_ms_);
    return results;
}

Position position_from(GVariant *axes)
{
    Position position;
    for (gsize i = 0; i < g_variant_n_children(axes); i++) {
        const char *axis = nullptr;
        double value = 0;
        GVariantOwned entry(g_variant_get_child_value(axes, i));
        g_variant_get(entry.get(), "{&sd}", &axis, &value);
        position[axis] = value;
    }
    return position;
}

Position Service::position(std::optional<double> *age)
{
    Position position = position_from(result("GetPosition", nullptr, "(a{sd})").get());
    // It is no axis, and grows where nothing moves.
    if (const auto entry = position.extract("age"); age != nullptr && entry)
        *age = entry.mapped();
    return position;
}

std::pair<int, std::string> Service::state()
{
    GVariantOwned reply = call("GetState", nullptr, "(is)");
    int number = 0;
    const char *text = "";
    g_variant_get(reply.get(), "(i&s)", &number, &text);
    return {number, text};
}
