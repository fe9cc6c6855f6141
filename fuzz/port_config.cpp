// Ports from any krx_port.conf: none, or one that a transfer can go by.
#include "port/config.h"

#include "fuzz/target.h"
#include "port/settings.h"
#include "port/spi_port.h"
#include "tests/support/temp_folder.h"

// In the place of the framework's.
GObject *ptz_port_dbus_server_new(GObject *, const char *, const char *)
{
    return G_OBJECT(g_object_new(G_TYPE_OBJECT, nullptr));
}

FUZZ_TARGET(port_config)
{
    const TempFolder folder("PTZ_DATA_DIR");
    folder.write("krx_port.conf", fuzz::text(input));
    ptz_port_canon_forget_config();
    for (const int index : {0, 1, 255, 256, -1}) {
        const GOwned<PTZPort, g_object_unref> port(ptz_port_canon_new(index));
        if (!port)
            continue;
        HOLDS(index >= 0 && index < 256);
        const auto &made = *reinterpret_cast<const PTZPortCanon *>(port.get());
        HOLDS(made.port_index == index && made.device != nullptr && made.dbus_server != nullptr);
        HOLDS(port->name == "Port.KRX.SIO" + std::to_string(index));
        // What a property refuses stays as it was born.
        HOLDS(made.burst_len == 0 || (made.burst_len >= 16 && made.burst_len <= 1920));
        HOLDS(made.trig_mode >= 0 && made.trig_mode <= 3);
        HOLDS(made.request.number >= -1);
    }
    ptz_port_canon_forget_config();
    HOLDS(!port_transfer_settings.big_endian);
}
