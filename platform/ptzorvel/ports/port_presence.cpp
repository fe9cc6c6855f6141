#include "ptzorvel/ports/port_presence.h"

#include "glib_owned.h"
#include "ptzorvel/common/task_queue.h"
#include "ptzorvel/ports/port_registry.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

// How often a write looks whether the port locks have become free.
constexpr std::int64_t kLockRetryUs = 10000;
constexpr char kErrorFailed[] = "com.orna.PTZ.Error.Failed";

using PresencePtr = std::shared_ptr<PortPresence>;
using NodeInfo = GOwned<GDBusNodeInfo, g_dbus_node_info_unref>;

// A write on its way to the port. One that is given up (shutdown) is answered all the same.
class PendingWrite {
  public:
    PendingWrite(PresencePtr presence, PTZPortConfig config, GDBusMethodInvocation *invocation)
        : task{run, this, destroy, {}}, presence_(std::move(presence)), config_(config), invocation_(invocation)
    {
    }
    PendingWrite(const PendingWrite &) = delete;
    PendingWrite &operator=(const PendingWrite &) = delete;
    ~PendingWrite() { refuse("The PTZ service is shutting down."); }

    PTZTask task;

  private:
    static gboolean run(PTZTask *task) { return static_cast<PendingWrite *>(task->data)->step(); }
    static void destroy(gpointer task) { delete static_cast<PendingWrite *>(static_cast<PTZTask *>(task)->data); }

    // TRUE: look again later. The command thread never waits for the locks, it may be the one to release them.
    gboolean step()
    {
        PTZPortRegistry *registry = ptz_port_registry_current();
        if (!registry->try_lock())
            return TRUE;
        GObject *port = presence_->port();
        if (port != nullptr)
            PTZ_PORT_GET_CLASS(port)->port_config(PTZ_PORT(port), &config_);
        registry->unlock();
        if (port == nullptr) {
            refuse("The port is gone; nothing was changed.");
            return FALSE;
        }
        g_object_unref(port);
        g_dbus_method_invocation_return_value(std::exchange(invocation_, nullptr), nullptr);
        return FALSE;
    }

    void refuse(const char *text)
    {
        if (invocation_ != nullptr)
            g_dbus_method_invocation_return_dbus_error(std::exchange(invocation_, nullptr), kErrorFailed, text);
    }

    PresencePtr presence_;
    PTZPortConfig config_;
    GDBusMethodInvocation *invocation_;
};

void handle_set(const PresencePtr &presence, GVariant *parameters, GDBusMethodInvocation *invocation)
{
    const char *property = nullptr;
    GVariant *value = nullptr;
    g_variant_get(parameters, "(&s&sv)", nullptr, &property, &value);
    const auto config = g_variant_is_of_type(value, G_VARIANT_TYPE_INT32)
                            ? port_config_for(property, g_variant_get_int32(value))
                            : std::nullopt;
    g_variant_unref(value);
    PTZCommandQueue *queue = ptz_command_queue_current();
    if (!config)
        g_dbus_method_invocation_return_dbus_error(invocation, "com.orna.PTZ.Error.NotSupported",
                                                   "Ports take BurstLength and TriggerMode, both numbers.");
    else if (queue == nullptr)
        g_dbus_method_invocation_return_dbus_error(invocation, kErrorFailed, "The PTZ service is not running.");
    else
        queue->queue.add(&(new PendingWrite(presence, *config, invocation))->task, kLockRetryUs);
}

// Property writes come here, because the vtable has no setter: they are answered only when the port has taken them.
void on_method_call(GDBusConnection *, const char *, const char *, const char *, const char *method,
                    GVariant *parameters, GDBusMethodInvocation *invocation, gpointer user_data)
{
    if (g_strcmp0(method, "Set") == 0)
        handle_set(*static_cast<PresencePtr *>(user_data), parameters, invocation);
    else // GetAll: nothing can be read
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(a{sv})", nullptr));
}

void release_presence(gpointer presence)
{
    delete static_cast<PresencePtr *>(presence);
}

} // namespace

PortPresence::PortPresence(GObject *port, std::string name) : name_(std::move(name))
{
    g_weak_ref_init(&port_, port);
}

PortPresence::~PortPresence()
{
    g_weak_ref_clear(&port_);
}

bool PortPresence::put_on_bus(GDBusConnection *connection, const char *introspection_xml)
{
    GErrorSlot error;
    const NodeInfo info(g_dbus_node_info_new_for_xml(introspection_xml, error));
    guint id = 0;
    if (info != nullptr && info->interfaces != nullptr && info->interfaces[0] != nullptr) {
        static const GDBusInterfaceVTable vtable = {on_method_call, nullptr, nullptr, {}};
        id = g_dbus_connection_register_object(connection, object_path().c_str(), info->interfaces[0], &vtable,
                                               new PresencePtr(shared_from_this()), release_presence, error);
    }
    if (id == 0) {
        g_warning("%s is not on the bus: %s", name_.c_str(), error ? error->message : "no interface");
        return false;
    }
    const std::lock_guard lock(mutex_);
    connection_ = G_DBUS_CONNECTION(g_object_ref(connection));
    registration_ = id;
    return true;
}

void PortPresence::take_off_bus()
{
    GDBusConnection *connection = nullptr;
    guint id = 0;
    {
        const std::lock_guard lock(mutex_);
        connection = std::exchange(connection_, nullptr);
        id = std::exchange(registration_, 0u);
    }
    if (connection == nullptr)
        return;
    g_dbus_connection_unregister_object(connection, id);
    g_object_unref(connection);
}

std::string PortPresence::object_path() const
{
    std::string path = "/com/orna/PTZ/" + name_;
    std::replace(path.begin(), path.end(), '.', '/');
    return path;
}

int PortPresence::index() const
{
    const auto digits = name_.find_last_not_of("0123456789") + 1;
    return static_cast<int>(std::strtol(name_.c_str() + digits, nullptr, 10));
}

GObject *PortPresence::port()
{
    return static_cast<GObject *>(g_weak_ref_get(&port_));
}

std::optional<PTZPortConfig> port_config_for(std::string_view property, int value)
{
    if (property == "BurstLength")
        return PTZPortConfig{0, value, 0};
    if (property == "TriggerMode")
        return PTZPortConfig{0, 0, value};
    return std::nullopt;
}

// The object that a port keeps: its life is the port's presence.

struct PTZPortDBusServer {
    GObject parent_instance;
    PresencePtr *presence;
};

struct PTZPortDBusServerClass {
    GObjectClass parent_class;
};

static GType ptz_port_dbus_server_get_type();
G_DEFINE_TYPE(PTZPortDBusServer, ptz_port_dbus_server, G_TYPE_OBJECT)

static void ptz_port_dbus_server_init(PTZPortDBusServer *self)
{
    self->presence = new PresencePtr;
}

static void ptz_port_dbus_server_finalize(GObject *object)
{
    auto *self = reinterpret_cast<PTZPortDBusServer *>(object);
    if (*self->presence != nullptr) {
        ptz_port_registry_current()->forget(self->presence->get());
        (*self->presence)->take_off_bus();
    }
    delete self->presence;
    G_OBJECT_CLASS(ptz_port_dbus_server_parent_class)->finalize(object);
}

static void ptz_port_dbus_server_class_init(PTZPortDBusServerClass *klass)
{
    G_OBJECT_CLASS(klass)->finalize = ptz_port_dbus_server_finalize;
}

GObject *ptz_port_dbus_server_new(GObject *port, const char *introspection_xml, const char *name)
{
    g_return_val_if_fail(PTZ_IS_PORT(port), nullptr);
    g_return_val_if_fail(introspection_xml != nullptr && name != nullptr, nullptr);
    auto *server = static_cast<PTZPortDBusServer *>(g_object_new(ptz_port_dbus_server_get_type(), nullptr));
    *server->presence = std::make_shared<PortPresence>(port, name);
    const PresencePtr &presence = *server->presence;
    ptz_port_registry_current()->add(presence->index(), presence);
    GDBusConnection *connection = ptz_ports_get_connection();
    if (connection != nullptr) {
        presence->put_on_bus(connection, introspection_xml);
        g_object_unref(connection);
    }
    return &server->parent_instance;
}
