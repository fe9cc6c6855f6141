// One port as an object on the bus: configuration written there reaches the port on the command thread.
#pragma once

#include "ptzorvel/ptz_port.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

class PortPresence : public std::enable_shared_from_this<PortPresence> {
  public:
    // `port` is not kept alive. `name`: "Port.KRX.SIO0".
    PortPresence(GObject *port, std::string name);
    ~PortPresence();
    PortPresence(const PortPresence &) = delete;
    PortPresence &operator=(const PortPresence &) = delete;

    // Exports the port with the first interface of the XML; false, and a warning, when that cannot be done.
    bool put_on_bus(GDBusConnection *connection, const char *introspection_xml);
    void take_off_bus();

    // "/com/orna/PTZ/Port/KRX/SIO0"
    std::string object_path() const;
    // The number at the end of the name; 0 when there is none.
    int index() const;

    // A new reference on the port; null when it is gone.
    GObject *port();

  private:
    GWeakRef port_;
    const std::string name_;
    std::mutex mutex_;
    GDBusConnection *connection_ = nullptr;
    guint registration_ = 0;
};

// What a write of that property asks of port_config; none for a property that ports do not have.
std::optional<PTZPortConfig> port_config_for(std::string_view property, int value);
