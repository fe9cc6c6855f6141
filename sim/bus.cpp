#include "sim/bus.h"

#include "glib_owned.h"
#include "sim/faces.h"

#include <cstring>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace sim {
namespace {

constexpr char kDBus[] = "org.freedesktop.DBus";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";
constexpr unsigned kRetryMs = 200;
constexpr guint32 kDoNotQueue = 4;
constexpr guint32 kPrimaryOwner = 1;
constexpr guint32 kAlreadyOwner = 4;
constexpr std::int64_t kLateUs = 1'000'000;
// After the host has given the answer up. Its patience is that of REPLY_TIMEOUT_MS in utils/services.cpp.
constexpr std::int64_t kTooLateUs = 11'000'000;

// An answer that GDBus would not let through, because its type is not the property's.
void answer_raw(GDBusMethodInvocation *invocation, GVariant *body)
{
    GDBusMessage *reply = g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation));
    g_dbus_message_set_body(reply, body);
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply,
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(invocation);
}

// Something of another type than `value`, which it takes.
GVariant *other_type(GVariant *value)
{
    const bool is_text = g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) != FALSE;
    g_variant_unref(g_variant_ref_sink(value));
    return is_text ? g_variant_new_int32(1080) : g_variant_new_string("fifty");
}

GVariant *garbage()
{
    return g_variant_new("(s)", "%s%n garbage\n");
}

// Asks the bus about a name; 0, and a message that says why, when it refuses.
guint32 ask_for_name(GDBusConnection *connection, const char *method, GVariant *arguments)
{
    guint32 answer = 0;
    GErrorSlot error;
    const GVariantOwned reply(g_dbus_connection_call_sync(connection, kDBus, "/org/freedesktop/DBus", kDBus, method,
                                                          arguments, G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1,
                                                          nullptr, error));
    if (reply)
        g_variant_get(reply.get(), "(u)", &answer);
    else if (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED))
        g_printerr(
            "krx-sim: running without a name on D-Bus: %s. Start the service krx-sim, or name a bus of your own in "
            "DBUS_SYSTEM_BUS_ADDRESS.\n",
            error->message);
    return answer;
}

} // namespace

struct Bus::Impl {
    explicit Impl(Board &wanted) : board(wanted)
    {
        for (std::size_t i = 0; i < kFaces.size(); ++i)
            nodes[i] = g_dbus_node_info_new_for_xml(kFaces[i].xml, nullptr);
        std::promise<void> ready;
        thread = std::thread([this, &ready] { serve(ready); });
        ready.get_future().wait();
        board.watch_services([this](ServiceChange what) { queue(what); });
    }
    ~Impl()
    {
        board.watch_services({});
        g_main_context_invoke(
            context,
            [](gpointer running) -> gboolean {
                g_main_loop_quit(static_cast<GMainLoop *>(running));
                return G_SOURCE_REMOVE;
            },
            loop);
        thread.join();
        for (GDBusNodeInfo *node : nodes)
            g_dbus_node_info_unref(node);
        g_main_loop_unref(loop);
        g_main_context_unref(context);
    }
    Impl(const Impl &) = delete;
    Impl &operator=(const Impl &) = delete;

    Board &board;
    GMainContext *context = g_main_context_new();
    GMainLoop *loop = g_main_loop_new(context, FALSE);
    std::array<GDBusNodeInfo *, kFaces.size()> nodes{};
    std::thread thread;
    std::mutex mutex; // guards `changes`
    std::deque<ServiceChange> changes;
    // Of the thread alone:
    std::array<GDBusConnection *, 2> connections{}; // the second one owns names while a fault wants it
    std::array<GDBusConnection *, kFaces.size()> owners{};
    struct Late {
        std::int64_t due;
        GDBusMethodInvocation *invocation;
        GVariant *value;
    };
    std::vector<Late> late;
    bool complained = false;

    void serve(std::promise<void> &ready)
    {
        g_main_context_push_thread_default(context);
        connect();
        ready.set_value();
        g_main_loop_run(loop);
        disconnect();
        for (const Late &answer : late) {
            g_object_unref(answer.invocation);
            g_variant_unref(answer.value);
        }
        g_main_context_pop_thread_default(context);
    }

    void connect();
    void disconnect();
    void retry_later();
    void register_faces();
    void update_name(std::size_t index);
    GDBusConnection *wanted_owner(const Face &face);
    void queue(ServiceChange what);
    void tell_changes();
    void emit_properties_changed(std::size_t index, const char *property);
    void emit(std::size_t index, const char *interface, const char *signal, GVariant *body);
    void answer_command(GDBusMethodInvocation *invocation, GVariant *parameters);
    void answer_get(const Face &face, GDBusMethodInvocation *invocation, GVariant *parameters);
    void answer_later(GDBusMethodInvocation *invocation, GVariant *value, std::int64_t wall_us);
    void send_late_answers();
    void answer_get_all(std::size_t index, GDBusMethodInvocation *invocation);

    static void call(GDBusConnection *, const char *, const char *, const char *interface, const char *method,
                     GVariant *parameters, GDBusMethodInvocation *invocation, gpointer data);
    static void closed(GDBusConnection *, gboolean, GError *, gpointer data);
};

void Bus::Impl::connect()
{
    GErrorSlot error;
    const GText address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, error));
    for (GDBusConnection *&connection : connections) {
        if (address && !error)
            connection = g_dbus_connection_new_for_address_sync(
                address.get(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                nullptr, nullptr, error);
    }
    if (error) {
        if (!complained)
            g_printerr("krx-sim: running without D-Bus: %s\n", error->message);
        complained = true;
        disconnect();
        retry_later();
        return;
    }
    complained = false;
    for (GDBusConnection *connection : connections)
        g_signal_connect(connection, "closed", G_CALLBACK(closed), this);
    register_faces();
}

void Bus::Impl::disconnect()
{
    owners = {};
    for (GDBusConnection *&connection : connections) {
        if (!connection)
            continue;
        g_signal_handlers_disconnect_by_data(connection, this);
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_clear_object(&connection);
    }
}

void Bus::Impl::closed(GDBusConnection *, gboolean, GError *, gpointer data)
{
    Impl &self = *static_cast<Impl *>(data);
    self.disconnect();
    self.retry_later();
}

void Bus::Impl::retry_later()
{
    GSource *source = g_timeout_source_new(kRetryMs);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            static_cast<Impl *>(data)->connect();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, context);
    g_source_unref(source);
}

void Bus::Impl::register_faces()
{
    // Properties are answered like methods: some of them wrongly, late or never.
    static const GDBusInterfaceVTable kTable{call, nullptr, nullptr, {}};
    for (std::size_t i = 0; i < kFaces.size(); ++i) {
        for (GDBusConnection *connection : connections) {
            GErrorSlot error;
            if (g_dbus_connection_register_object(connection, kFaces[i].path, nodes[i]->interfaces[0], &kTable, this,
                                                  nullptr, error) == 0)
                g_printerr("krx-sim: cannot serve on D-Bus: %s\n", error->message);
        }
        update_name(i);
    }
}

GDBusConnection *Bus::Impl::wanted_owner(const Face &face)
{
    switch (board.service_fault(face.fault, false)) {
    case ServiceFault::missing:
        return nullptr;
    case ServiceFault::new_owner:
        return connections[1];
    default:
        return connections[0];
    }
}

// Has the right connection own the name of a service, or none when that is to be missing.
void Bus::Impl::update_name(std::size_t index)
{
    const Face &face = kFaces[index];
    GDBusConnection *const wanted = wanted_owner(face);
    if (wanted == owners[index])
        return;
    if (owners[index])
        ask_for_name(owners[index], "ReleaseName", g_variant_new("(s)", face.name));
    owners[index] = nullptr;
    if (!wanted)
        return;
    const guint32 answer = ask_for_name(wanted, "RequestName", g_variant_new("(su)", face.name, kDoNotQueue));
    if (answer == kPrimaryOwner || answer == kAlreadyOwner)
        owners[index] = wanted;
    else if (answer != 0)
        g_printerr("krx-sim: the bus name %s belongs to somebody else; running without it\n", face.name);
}

void Bus::Impl::queue(ServiceChange what)
{
    {
        const std::lock_guard lock(mutex);
        changes.push_back(what);
    }
    GSource *source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_HIGH);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            static_cast<Impl *>(data)->tell_changes();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(source, context);
    g_source_unref(source);
}

void Bus::Impl::tell_changes()
{
    constexpr auto kImageControl = static_cast<std::size_t>(FaceId::image_control);
    constexpr auto kStreamer = static_cast<std::size_t>(FaceId::streamer);
    for (;;) {
        ServiceChange what{};
        {
            const std::lock_guard lock(mutex);
            if (changes.empty())
                return;
            what = changes.front();
            changes.pop_front();
        }
        switch (what) {
        case ServiceChange::video_capture_mode:
            emit_properties_changed(kImageControl, "VideoCaptureMode");
            break;
        case ServiceChange::capture_frequency:
            emit_properties_changed(kImageControl, "CaptureFrequency");
            break;
        case ServiceChange::rotation:
            emit_properties_changed(kStreamer, "Rotation");
            emit(kStreamer, nodes[kStreamer]->interfaces[0]->name, "CurrentRotationChanged",
                 g_variant_new("(i)", board.services().rotation));
            break;
        case ServiceChange::faults:
            update_name(kImageControl);
            update_name(kStreamer);
            break;
        case ServiceChange::reminder:
            send_late_answers();
            break;
        }
    }
}

void Bus::Impl::emit_properties_changed(std::size_t index, const char *property)
{
    const Face &face = kFaces[index];
    ServiceFault fault = board.service_fault(face.fault, false);
    if (fault == ServiceFault::wrong_type || fault == ServiceFault::garbage) // the others show in answers alone
        fault = board.service_fault(face.fault, true);
    GVariant *value = face.get(board, property);
    if (fault == ServiceFault::wrong_type)
        value = other_type(value);
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&changed, "{sv}", property, value);
    GVariant *body = g_variant_new("(sa{sv}as)", nodes[index]->interfaces[0]->name, &changed, nullptr);
    if (fault == ServiceFault::garbage) {
        g_variant_unref(g_variant_ref_sink(body));
        body = garbage();
    }
    emit(index, kProperties, "PropertiesChanged", body);
}

void Bus::Impl::emit(std::size_t index, const char *interface, const char *signal, GVariant *body)
{
    if (owners[index])
        g_dbus_connection_emit_signal(owners[index], nullptr, kFaces[index].path, interface, signal, body, nullptr);
    else
        g_variant_unref(g_variant_ref_sink(body));
}

void Bus::Impl::call(GDBusConnection *, const char *, const char *path, const char *interface, const char *method,
                     GVariant *parameters, GDBusMethodInvocation *invocation, gpointer data)
{
    Impl &self = *static_cast<Impl *>(data);
    if (std::strcmp(interface, kProperties) != 0) {
        self.answer_command(invocation, parameters);
        return;
    }
    std::size_t index = 0;
    while (std::strcmp(kFaces[index].path, path) != 0)
        ++index;
    if (std::strcmp(method, "GetAll") == 0)
        self.answer_get_all(index, invocation);
    else
        self.answer_get(kFaces[index], invocation, parameters);
}

void Bus::Impl::answer_command(GDBusMethodInvocation *invocation, GVariant *parameters)
{
    const char *line = nullptr;
    g_variant_get(parameters, "(&s)", &line);
    const CommandResult result = board.command(line);
    // Whoever gets the answer finds the names and signals as it says.
    tell_changes();
    if (result.ok)
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(s)", result.text.c_str()));
    else
        g_dbus_method_invocation_return_dbus_error(invocation, "com.orna.KrxSim.Error.BadCommand", result.text.c_str());
}

void Bus::Impl::answer_get(const Face &face, GDBusMethodInvocation *invocation, GVariant *parameters)
{
    const char *property = nullptr;
    g_variant_get(parameters, "(s&s)", nullptr, &property);
    GVariant *value = face.get(board, property);
    const ServiceFault fault = board.service_fault(face.fault, true);
    switch (fault) {
    case ServiceFault::none:
    case ServiceFault::new_owner:
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(v)", value));
        return;
    case ServiceFault::wrong_type:
        answer_raw(invocation, g_variant_new("(v)", other_type(value)));
        return;
    case ServiceFault::late:
    case ServiceFault::too_late:
        answer_later(invocation, value, fault == ServiceFault::late ? kLateUs : kTooLateUs);
        return;
    case ServiceFault::garbage:
        answer_raw(invocation, garbage());
        break;
    case ServiceFault::silent:
        g_object_unref(invocation);
        break;
    case ServiceFault::missing: // asked for before the name was given back
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.ServiceUnknown",
                                                   "The service is told to be missing");
        break;
    case ServiceFault::error:
        g_dbus_method_invocation_return_dbus_error(invocation, "com.orna.KrxSim.Error.Fault",
                                                   "The service is told to fail");
        break;
    }
    g_variant_unref(g_variant_ref_sink(value));
}

void Bus::Impl::answer_later(GDBusMethodInvocation *invocation, GVariant *value, std::int64_t wall_us)
{
    late.push_back({board.remind(wall_us), invocation, g_variant_ref_sink(value)});
}

void Bus::Impl::send_late_answers()
{
    std::erase_if(late, [now = board.now()](const Late &answer) {
        if (answer.due > now)
            return false;
        g_dbus_method_invocation_return_value(answer.invocation, g_variant_new("(v)", answer.value));
        g_variant_unref(answer.value);
        return true;
    });
}

// For people who look around: never spoiled.
void Bus::Impl::answer_get_all(std::size_t index, GDBusMethodInvocation *invocation)
{
    GVariantBuilder all;
    g_variant_builder_init(&all, G_VARIANT_TYPE_VARDICT);
    for (GDBusPropertyInfo **property = nodes[index]->interfaces[0]->properties; *property; ++property)
        g_variant_builder_add(&all, "{sv}", (*property)->name, kFaces[index].get(board, (*property)->name));
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(a{sv})", &all));
}

Bus::Bus(Board &board) : impl_(std::make_unique<Impl>(board))
{
}

Bus::~Bus() = default;

} // namespace sim
