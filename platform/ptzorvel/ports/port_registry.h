// Which ports are there, who holds them, and their presence on the bus. For the framework and ptzd; drivers see
// ptz_port.h.
#pragma once

#include "ptzorvel/ptz_port.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A port on the bus: shared by its server object, the registry and the calls on their way.
class PortPresence;

struct _PTZPortRegistry {
  public:
    // Holds all ports for the calling thread; waits while another thread holds them. Taking what the thread holds
    // already, or releasing what it does not hold, is reported and has no effect.
    void lock();
    void unlock();
    // As lock(), but false at once when they are held by anybody.
    bool try_lock();

    // Remembers a port until forget() or remove().
    void add(int index, const std::shared_ptr<PortPresence> &presence);
    void forget(const PortPresence *presence);
    // Takes the port with that index out and off the bus.
    void remove(int index);
    std::size_t size() const;

  private:
    struct Entry {
        int index;
        std::shared_ptr<PortPresence> presence;
    };

    mutable std::mutex mutex_;
    std::condition_variable released_;
    std::thread::id holder_{}; // default: nobody
    std::vector<Entry> entries_;
};

// The registry of this process.
PTZPortRegistry *ptz_port_registry_current();

// The bus on which new ports are served; null: none. A reference is kept until the next call.
void ptz_ports_set_connection(GDBusConnection *connection);
GDBusConnection *ptz_ports_get_connection(); // a new reference, or null
