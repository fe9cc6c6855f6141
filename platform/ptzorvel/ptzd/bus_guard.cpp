#include "ptzorvel/ptzd/bus_guard.h"

#include "glib_owned.h"
#include "ptzorvel/ptzd/clients.h"
#include "ptzorvel/ptzd/face.h"

#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr char kDaemon[] = "org.freedesktop.DBus";
constexpr char kPictureService[] = "com.orna.ImageControl";     // whose changes the driver follows
constexpr std::size_t kLongestMessage = std::size_t{64} * 1024; // what a message says, with the path that it goes to
constexpr std::size_t kHeaderSize = 128;                        // about

using Message = GOwned<GDBusMessage, g_object_unref>;

std::size_t size_of(GDBusMessage *message)
{
    GVariant *body = g_dbus_message_get_body(message);
    const char *path = g_dbus_message_get_path(message);
    return (body != nullptr ? g_variant_get_size(body) : 0) + (path != nullptr ? std::strlen(path) : 0);
}

bool is_stop(GDBusMessage *message)
{
    const char *interface = g_dbus_message_get_interface(message);
    return g_strcmp0(g_dbus_message_get_member(message), "Stop") == 0 &&
           g_strcmp0(g_dbus_message_get_path(message), kObjectPath) == 0 &&
           (interface == nullptr || std::strcmp(interface, kInterfaceName) == 0) &&
           *g_dbus_message_get_signature(message) == '\0';
}

// What is wrong with the call as such.
std::optional<CallError> call_fault(GDBusMessage *message)
{
    if (size_of(message) > kLongestMessage)
        return CallError{ErrorKind::invalid_argument, "The call is too long; none needs more than 64 kB."};
    return std::nullopt;
}

// Which client has left, by the arguments of NameOwnerChanged.
std::optional<std::string> client_that_left(GVariant *arguments)
{
    const char *name = nullptr;
    const char *new_owner = nullptr;
    g_variant_get(arguments, "(&s&s&s)", &name, nullptr, &new_owner);
    return *name == ':' && *new_owner == '\0' ? std::optional<std::string>(name) : std::nullopt;
}

// Who has that name now; nobody: empty.
std::string owner_of(GDBusConnection *connection, const char *name)
{
    const GVariantOwned reply(g_dbus_connection_call_sync(
        connection, kDaemon, "/org/freedesktop/DBus", kDaemon, "GetNameOwner", g_variant_new("(s)", name),
        G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    const char *owner = "";
    if (reply != nullptr)
        g_variant_get(reply.get(), "(&s)", &owner);
    return owner;
}

bool tells_of_properties(GDBusMessage *message)
{
    return g_strcmp0(g_dbus_message_get_member(message), "PropertiesChanged") == 0;
}

// Whether a signal can be one that somebody here waits for.
bool well_formed_signal(GDBusMessage *message)
{
    const bool to_all = g_dbus_message_get_destination(message) == nullptr;
    const bool properties = tells_of_properties(message);
    return to_all && size_of(message) <= kLongestMessage &&
           (!properties || g_strcmp0(g_dbus_message_get_signature(message), "sa{sv}as") == 0);
}

} // namespace

class BusGuard::Post {
  public:
    explicit Post(Handlers handlers) : handlers_(std::move(handlers)) {}

    // From now on GDBus's thread has it in hand too, until its filter ends.
    void begin(const std::shared_ptr<Post> &self, MainWake &stops_came, MainWake &signals_came);
    void end_of_filter() { const auto last = std::move(self_); }
    // GDBus's thread: the message, changed or not, or null when it goes no further.
    GDBusMessage *look_at(GDBusConnection *connection, GDBusMessage *message, bool incoming);

    // Main thread
    void picture_service_was(const std::string &owner);
    void client_left(const std::string &client);
    void take_stops();
    void signals_handled() { clients_.signals_handled(); }
    void retire();
    CallPtr take(GDBusMethodInvocation *invocation);

  private:
    GDBusMessage *came(GDBusConnection *connection, Message message);
    GDBusMessage *goes(GDBusConnection *connection, Message message);
    GDBusMessage *call_came(GDBusConnection *connection, Message message);
    GDBusMessage *signal_came(Message message);
    void owner_changed(GVariant *arguments);
    bool counts(GDBusMessage *signal);
    GDBusMessage *reply_came(Message message);
    void ask(GDBusConnection *connection, const std::string &client, Clients::Witness witness);
    unsigned count_stops(bool one_more);

    std::mutex mutex_;
    bool on_duty_ = false;              // these are under the mutex
    Handlers handlers_;                 // but the functions are the main thread's
    std::deque<CallPtr> waiting_stops_; // for the main thread
    MainWake *stops_came_ = nullptr;
    MainWake *signals_came_ = nullptr;
    std::optional<std::string> picture_service_; // its owner, nobody: empty; none as long as that is not known

    std::shared_ptr<Post> self_;
    Clients clients_;
};

void BusGuard::Post::begin(const std::shared_ptr<Post> &self, MainWake &stops_came, MainWake &signals_came)
{
    self_ = self;
    const std::lock_guard lock(mutex_);
    on_duty_ = true;
    stops_came_ = &stops_came;
    signals_came_ = &signals_came;
}

void BusGuard::Post::retire()
{
    std::deque<CallPtr> refused; // after the lock
    const std::lock_guard lock(mutex_);
    on_duty_ = false;
    refused.swap(waiting_stops_);
}

GDBusMessage *BusGuard::Post::look_at(GDBusConnection *connection, GDBusMessage *message, bool incoming)
{
    {
        const std::lock_guard lock(mutex_);
        if (!on_duty_)
            return message;
    }
    return incoming ? came(connection, Message(message)) : goes(connection, Message(message));
}

GDBusMessage *BusGuard::Post::came(GDBusConnection *connection, Message message)
{
    if (g_dbus_message_get_sender(message.get()) == nullptr)
        return message.release(); // not by way of the daemon
    switch (g_dbus_message_get_message_type(message.get())) {
    case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
        return call_came(connection, std::move(message));
    case G_DBUS_MESSAGE_TYPE_SIGNAL:
        return signal_came(std::move(message));
    default:
        return reply_came(std::move(message));
    }
}

GDBusMessage *BusGuard::Post::call_came(GDBusConnection *connection, Message message)
{
    const std::string client = g_dbus_message_get_sender(message.get());
    const auto flags = g_dbus_message_get_flags(message.get());
    const bool wants_reply = (flags & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) == 0;
    const auto fault = call_fault(message.get());
    const bool stop = !fault && is_stop(message.get());
    const Clients::Kind wanted = fault ? Clients::Kind::refusal : stop ? Clients::Kind::stop : Clients::Kind::work;
    const auto kind =
        clients_.call_came(client, g_dbus_message_get_serial(message.get()), wanted, wants_reply, count_stops(stop));
    if (!kind) {
        ask(connection, client, Clients::Witness::daemon); // it may have read by now
        return nullptr;
    }
    if (*kind == Clients::Kind::refusal) {
        Call(connection, message.get(), 0)
            .refuse(fault.value_or(
                CallError{ErrorKind::limits_exceeded,
                          "You have as many calls in work as you may; wait for answers before you send more."}));
        return nullptr;
    }
    // Every call is answered, so that its end is seen; an answer that nobody waits for is dropped on its way out.
    if (!wants_reply) {
        message.reset(g_dbus_message_copy(message.get(), nullptr));
        g_dbus_message_set_flags(message.get(),
                                 static_cast<GDBusMessageFlags>(flags & ~G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED));
    }
    if (!stop)
        return message.release();
    const std::lock_guard lock(mutex_);
    if (on_duty_) {
        waiting_stops_.push_back(std::make_shared<Call>(connection, message.get(), 0u));
        stops_came_->wake();
    }
    return nullptr;
}

GDBusMessage *BusGuard::Post::signal_came(Message message)
{
    const char *sender = g_dbus_message_get_sender(message.get());
    if (std::string_view(sender) == kDaemon) {
        if (g_strcmp0(g_dbus_message_get_member(message.get()), "NameOwnerChanged") == 0)
            owner_changed(g_dbus_message_get_body(message.get()));
        return message.release();
    }
    if (!well_formed_signal(message.get()) || !counts(message.get()) || !clients_.signal_came(sender))
        return nullptr;
    const std::lock_guard lock(mutex_);
    if (on_duty_)
        signals_came_->wake(); // with this one, or after it
    return message.release();
}

void BusGuard::Post::owner_changed(GVariant *arguments)
{
    // The handlers hear of it behind all that the client has sent.
    if (const auto client = client_that_left(arguments))
        clients_.left(*client);
    const char *name = nullptr;
    const char *owner = nullptr;
    g_variant_get(arguments, "(&s&s&s)", &name, nullptr, &owner);
    const std::lock_guard lock(mutex_);
    if (std::string_view(name) == kPictureService)
        picture_service_ = owner;
}

// The driver follows changed properties whoever tells of them, and each costs pictures.
bool BusGuard::Post::counts(GDBusMessage *signal)
{
    const std::lock_guard lock(mutex_);
    return !tells_of_properties(signal) || !picture_service_ || *picture_service_ == g_dbus_message_get_sender(signal);
}

GDBusMessage *BusGuard::Post::reply_came(Message message)
{
    std::optional<std::size_t> left;
    guint32 bytes = 0;
    GVariant *body = g_dbus_message_get_body(message.get());
    if (body != nullptr && g_variant_is_of_type(body, G_VARIANT_TYPE("(a{sv})"))) {
        const GVariantOwned numbers(g_variant_get_child_value(body, 0));
        if (g_variant_lookup(numbers.get(), "OutgoingBytes", "u", &bytes))
            left = bytes;
    }
    const bool ours = clients_.answered(g_dbus_message_get_sender(message.get()),
                                        g_dbus_message_get_reply_serial(message.get()), left);
    return ours ? nullptr : message.release();
}

GDBusMessage *BusGuard::Post::goes(GDBusConnection *connection, Message message)
{
    const char *destination = g_dbus_message_get_destination(message.get());
    const GDBusMessageType type = g_dbus_message_get_message_type(message.get());
    if (destination == nullptr || (type != G_DBUS_MESSAGE_TYPE_METHOD_RETURN && type != G_DBUS_MESSAGE_TYPE_ERROR))
        return message.release();
    if (!clients_.reply_goes(destination, g_dbus_message_get_reply_serial(message.get()),
                             size_of(message.get()) + kHeaderSize))
        return nullptr;
    for (const Clients::Witness witness : {Clients::Witness::client, Clients::Witness::daemon})
        ask(connection, destination, witness);
    return message.release();
}

void BusGuard::Post::ask(GDBusConnection *connection, const std::string &client, Clients::Witness witness)
{
    if (!clients_.worth_asking(client, witness))
        return;
    const bool to_client = witness == Clients::Witness::client;
    const Message question(
        to_client ? g_dbus_message_new_method_call(client.c_str(), "/", "org.freedesktop.DBus.Peer", "Ping")
                  : g_dbus_message_new_method_call(kDaemon, "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats",
                                                   "GetConnectionStats"));
    if (!to_client)
        g_dbus_message_set_body(question.get(), g_variant_new("(s)", client.c_str()));
    // Its answer is read by this same thread, so not before the question is noted.
    volatile guint32 serial = 0;
    if (g_dbus_connection_send_message(connection, question.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, &serial, nullptr))
        clients_.asked(client, witness, serial);
}

unsigned BusGuard::Post::count_stops(bool one_more)
{
    const std::lock_guard lock(mutex_);
    if (!on_duty_)
        return 0;
    return one_more ? ++*handlers_.stops : handlers_.stops->load();
}

void BusGuard::Post::take_stops()
{
    std::deque<CallPtr> stops;
    {
        const std::lock_guard lock(mutex_);
        stops.swap(waiting_stops_);
    }
    for (const CallPtr &stop : stops)
        handlers_.stop(stop);
}

CallPtr BusGuard::Post::take(GDBusMethodInvocation *invocation)
{
    GDBusMessage *message = g_dbus_method_invocation_get_message(invocation);
    if (clients_.drop_abandoned(g_dbus_message_get_sender(message))) {
        g_object_unref(invocation);
        return nullptr;
    }
    const auto stops = clients_.stops_before(g_dbus_message_get_sender(message), g_dbus_message_get_serial(message));
    auto call = std::make_shared<Call>(g_dbus_method_invocation_get_connection(invocation), message,
                                       stops ? *stops : count_stops(false));
    g_object_unref(invocation);
    return call;
}

void BusGuard::Post::picture_service_was(const std::string &owner)
{
    const std::lock_guard lock(mutex_);
    if (!picture_service_) // else it has changed meanwhile
        picture_service_ = owner;
}

void BusGuard::Post::client_left(const std::string &client)
{
    handlers_.left(client);
}

BusGuard::BusGuard(GDBusConnection *connection, Handlers handlers)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))), post_(std::make_shared<Post>(std::move(handlers))),
      stops_came_(G_PRIORITY_HIGH, [this] { post_->take_stops(); }),
      signals_came_(G_PRIORITY_DEFAULT, [this] { post_->signals_handled(); })
{
    post_->begin(post_, stops_came_, signals_came_);
    const auto on_owner_changed = +[](GDBusConnection *, const char *, const char *, const char *, const char *,
                                      GVariant *parameters, gpointer data) {
        if (const auto client = client_that_left(parameters))
            static_cast<Post *>(data)->client_left(*client);
    };
    subscription_ =
        g_dbus_connection_signal_subscribe(connection_, kDaemon, kDaemon, "NameOwnerChanged", "/org/freedesktop/DBus",
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, on_owner_changed, post_.get(), nullptr);
    filter_ = g_dbus_connection_add_filter(
        connection_,
        [](GDBusConnection *source, GDBusMessage *message, gboolean incoming, gpointer data) {
            return static_cast<Post *>(data)->look_at(source, message, incoming != FALSE);
        },
        post_.get(), [](gpointer data) { static_cast<Post *>(data)->end_of_filter(); });
    post_->picture_service_was(owner_of(connection_, kPictureService));
}

BusGuard::~BusGuard()
{
    post_->retire();
    g_dbus_connection_signal_unsubscribe(connection_, subscription_);
    g_dbus_connection_remove_filter(connection_, filter_);
    g_object_unref(connection_);
}

CallPtr BusGuard::take(GDBusMethodInvocation *invocation)
{
    return post_->take(invocation);
}
