// The simulator on the system bus: com.orna.KrxSim, described in data/com.orna.KrxSim.xml.
#pragma once

#include "sim/board.h"

#include <gio/gio.h>

namespace sim {

// Serves on the thread-default main context from construction to destruction. Without a bus, or when somebody else owns
// the name, it says so once on stderr and the simulator runs without.
class DBusFace {
  public:
    explicit DBusFace(Board &board);
    ~DBusFace();
    DBusFace(const DBusFace &) = delete;
    DBusFace &operator=(const DBusFace &) = delete;

  private:
    void serve(GDBusConnection *connection);

    Board &board_;
    GDBusConnection *connection_ = nullptr;
    GDBusNodeInfo *node_ = nullptr;
    guint object_ = 0;
    guint name_ = 0;
};

} // namespace sim
