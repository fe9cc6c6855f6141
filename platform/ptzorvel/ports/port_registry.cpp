#include "ptzorvel/ports/port_registry.h"

#include "ptzorvel/ports/port_presence.h"

namespace {

std::mutex connection_mutex;
GDBusConnection *ports_connection = nullptr;

} // namespace

void PTZPortRegistry::lock()
{
    std::unique_lock lock(mutex_);
    if (holder_ == std::this_thread::get_id()) {
        g_critical("The port locks are taken again by the thread that holds them; ignored");
        return;
    }
    released_.wait(lock, [this] { return holder_ == std::thread::id(); });
    holder_ = std::this_thread::get_id();
}

void PTZPortRegistry::unlock()
{
    const std::lock_guard lock(mutex_);
    if (holder_ != std::this_thread::get_id()) {
        g_critical("The port locks are released by a thread that does not hold them; ignored");
        return;
    }
    holder_ = {};
    released_.notify_all();
}

bool PTZPortRegistry::try_lock()
{
    const std::lock_guard lock(mutex_);
    if (holder_ != std::thread::id())
        return false;
    holder_ = std::this_thread::get_id();
    return true;
}

void PTZPortRegistry::add(int index, const std::shared_ptr<PortPresence> &presence)
{
    const std::lock_guard lock(mutex_);
    entries_.push_back({index, presence});
}

void PTZPortRegistry::forget(const PortPresence *presence)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(entries_, [&](const Entry &entry) { return entry.presence.get() == presence; });
}

void PTZPortRegistry::remove(int index)
{
    std::vector<std::shared_ptr<PortPresence>> removed; // taken off the bus after the lock
    {
        const std::lock_guard lock(mutex_);
        for (const Entry &entry : entries_)
            if (entry.index == index)
                removed.push_back(entry.presence);
        std::erase_if(entries_, [&](const Entry &entry) { return entry.index == index; });
    }
    for (const auto &presence : removed)
        presence->take_off_bus();
}

std::size_t PTZPortRegistry::size() const
{
    const std::lock_guard lock(mutex_);
    return entries_.size();
}

PTZPortRegistry *ptz_port_registry_current()
{
    static PTZPortRegistry registry;
    return &registry;
}

void ptz_ports_set_connection(GDBusConnection *connection)
{
    const std::lock_guard lock(connection_mutex);
    g_set_object(&ports_connection, connection);
}

GDBusConnection *ptz_ports_get_connection()
{
    const std::lock_guard lock(connection_mutex);
    return ports_connection != nullptr ? G_DBUS_CONNECTION(g_object_ref(ports_connection)) : nullptr;
}

void ptz_driver_port_lock_all(PTZPortRegistry *registry)
{
    if (registry != nullptr)
        registry->lock();
}

void ptz_driver_port_unlock_all(PTZPortRegistry *registry)
{
    if (registry != nullptr)
        registry->unlock();
}

void ptz_driver_port_unregister(PTZPortRegistry *registry, int index)
{
    if (registry != nullptr)
        registry->remove(index);
}
