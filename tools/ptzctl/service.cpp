#include "service.h"

#include "numbers.h"

#include <algorithm>
#include <csignal>
#include <glib-unix.h>
#include <memory>

namespace {

constexpr const char *kErrorPrefix = "com.orna.PTZ.Error.";
constexpr const char *kNoBus = "start the bus, or set DBUS_SYSTEM_BUS_ADDRESS to the address of the bus that ptzd uses";

// One line without GDBus's own prefix.
std::string message_of(GError *error)
{
    g_dbus_error_strip_remote_error(error);
    return printable(error->message);
}

Failure wrong_version()
{
    return {EXIT_REFUSED, "WrongVersion", "ptzd does not understand that; use ptzctl and ptzd of one version"};
}

Failure failure_of(GError *error, int timeout_ms)
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
                "no answer within " + number_text(timeout_ms / 1000.0) +
                    " s; the operation goes on, see 'ptzctl state', or give more time with --timeout"};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY))
        return {EXIT_NO_SERVICE, "NoService",
                "ptzd left the bus before it answered; see the system log, then start it"};
    // What the bus says of these two is in the words of its interface.
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED))
        return {
            EXIT_REFUSED, "AccessDenied",
            "the bus does not let you do that: members of the group ptz move and set the camera, those of ptz-admin "
            "reset and upgrade it"};
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS))
        return wrong_version();
    if (error->domain == G_IO_ERROR)
        return {EXIT_NO_SERVICE, "NoBus", "the bus went away (" + text + "); " + kNoBus};
    return {EXIT_REFUSED, "Failed", text};
}

// A call under way, on a main loop of its own: what else arrives on the bus waits.
struct Pending {
    GOwned<GMainContext, g_main_context_unref> context{g_main_context_new()};
    GMainLoopOwned loop{g_main_loop_new(context.get(), FALSE)};
    GVariantOwned results;
    GErrorSlot error;
    bool interrupted = false;
};

void on_answer(GObject *connection, GAsyncResult *result, gpointer data)
{
    auto *pending = static_cast<Pending *>(data);
    pending->results.reset(g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, pending->error));
    g_main_loop_quit(pending->loop.get());
}

gboolean on_interrupt(gpointer data)
{
    auto *pending = static_cast<Pending *>(data);
    pending->interrupted = true;
    g_main_loop_quit(pending->loop.get());
    return G_SOURCE_CONTINUE;
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

GVariantOwned Service::call_of(const char *interface, const char *method, GVariant *arguments, const char *reply)
{
    Pending pending;
    const GOwned<GCancellable, g_object_unref> leaving(g_cancellable_new());
    GSource *interrupt = g_unix_signal_source_new(SIGINT);
    g_source_set_callback(interrupt, on_interrupt, &pending, nullptr);
    g_source_attach(interrupt, pending.context.get());

    g_main_context_push_thread_default(pending.context.get());
    g_dbus_connection_call(connection_.get(), kServiceName, kServicePath, interface, method, arguments,
                           G_VARIANT_TYPE(reply), G_DBUS_CALL_FLAGS_NO_AUTO_START, timeout_ms_, leaving.get(),
                           on_answer, &pending);
    g_main_loop_run(pending.loop.get());
    const bool interrupted = pending.interrupted && !pending.results && !pending.error;
    if (interrupted) { // nobody is called back for it any more once that has come
        g_cancellable_cancel(leaving.get());
        g_main_loop_run(pending.loop.get());
    }
    g_main_context_pop_thread_default(pending.context.get());
    g_source_destroy(interrupt);
    g_source_unref(interrupt);
    if (interrupted)
        throw Interrupted();
    if (!pending.results)
        throw failure_of(pending.error.get(), timeout_ms_);
    return std::move(pending.results);
}

GVariantOwned Service::property(const char *name, const char *type)
{
    const GVariantOwned reply =
        call_of("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", kServiceInterface, name), "(v)");
    const GVariantOwned boxed(g_variant_get_child_value(reply.get(), 0));
    GVariantOwned value(g_variant_get_variant(boxed.get()));
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE(type)) == FALSE)
        throw wrong_version();
    return value;
}

void Service::call_later(const char *method, GVariant *arguments, const char *reply, Answer answer,
                         const char *interface)
{
    struct Later {
        Service &service;
        Answer answer;
    };
    const auto done = +[](GObject *connection, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<Later> later(static_cast<Later *>(data));
        GErrorSlot error;
        GVariantOwned results(g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, error));
        later->service.later_--;
        if (results)
            return later->answer(std::move(results), nullptr);
        const Failure failure = failure_of(error.get(), later->service.timeout_ms_);
        later->answer(nullptr, &failure);
    };
    g_dbus_connection_call(connection_.get(), kServiceName, kServicePath, interface, method, arguments,
                           G_VARIANT_TYPE(reply), G_DBUS_CALL_FLAGS_NO_AUTO_START, timeout_ms_, dropping_.get(), done,
                           new Later{*this, std::move(answer)});
    later_++;
}

void Service::drop_calls()
{
    g_cancellable_cancel(dropping_.get());
    while (later_ > 0)
        g_main_context_iteration(nullptr, TRUE);
    g_cancellable_reset(dropping_.get());
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
