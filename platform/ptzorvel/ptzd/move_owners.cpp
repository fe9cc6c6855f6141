#include "ptzorvel/ptzd/move_owners.h"

#include <algorithm>
#include <utility>

MoveOwners::MoveOwners(GDBusConnection *connection, std::function<void()> abandoned)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))), abandoned_(std::move(abandoned))
{
}

MoveOwners::~MoveOwners()
{
    for (const auto &[client, id] : watches_)
        g_bus_unwatch_name(id);
    g_object_unref(connection_);
}

unsigned MoveOwners::begin(const std::string &client, const MoveRequest &request)
{
    unsigned move = 0;
    {
        const std::lock_guard lock(mutex_);
        move = ++moves_;
        for (std::size_t axis = 0; axis < owners_.size(); axis++) {
            const AxisMask bit = 1u << axis;
            const bool runs = (request.running() & bit) != 0;
            if ((request.requested() & bit) != 0)
                owners_[axis] = {runs ? client : "", owners_[axis].client, move};
        }
    }
    if (request.running() != 0)
        watch(client);
    drop_idle_watches();
    return move;
}

void MoveOwners::confirm(unsigned move)
{
    const std::lock_guard lock(mutex_);
    for (Owner &owner : owners_)
        if (owner.move == move)
            owner.former.clear();
}

void MoveOwners::give_up(unsigned move)
{
    const std::lock_guard lock(mutex_);
    for (Owner &owner : owners_)
        if (owner.move == move)
            owner.client = std::exchange(owner.former, {});
}

unsigned MoveOwners::latest() const
{
    const std::lock_guard lock(mutex_);
    return moves_;
}

void MoveOwners::stopped(unsigned up_to)
{
    const std::lock_guard lock(mutex_);
    for (Owner &owner : owners_) {
        owner.former.clear();
        if (owner.move <= up_to)
            owner.client.clear();
    }
}

void MoveOwners::watch(const std::string &client)
{
    if (watches_.count(client) == 0)
        watches_[client] = g_bus_watch_name_on_connection(connection_, client.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE,
                                                          nullptr, on_vanished, this, nullptr);
}

void MoveOwners::on_vanished(GDBusConnection *, const char *name, gpointer self)
{
    static_cast<MoveOwners *>(self)->vanished(name);
}

void MoveOwners::vanished(const std::string &client)
{
    bool left_running = false;
    {
        const std::lock_guard lock(mutex_);
        left_running = owns_any(client);
        // It leaves once: what it owned is nobody's now, whatever becomes of the stop.
        for (Owner &owner : owners_)
            for (std::string *name : {&owner.client, &owner.former})
                if (*name == client)
                    name->clear();
    }
    drop_idle_watches();
    if (left_running)
        abandoned_();
}

void MoveOwners::drop_idle_watches()
{
    std::map<std::string, guint> idle;
    {
        const std::lock_guard lock(mutex_);
        for (const auto &[client, id] : watches_)
            if (!owns_any(client))
                idle[client] = id;
    }
    for (const auto &[client, id] : idle) {
        watches_.erase(client);
        g_bus_unwatch_name(id);
    }
}

bool MoveOwners::owns_any(const std::string &client) const
{
    return std::any_of(owners_.begin(), owners_.end(),
                       [&](const Owner &owner) { return owner.client == client || owner.former == client; });
}
