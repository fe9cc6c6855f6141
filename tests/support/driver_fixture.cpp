#include "tests/support/driver_fixture.h"

#include "driver/type.h"
#include "port/config.h"
#include "tests/support/bus_fake.h"
#include "vcc/status.h"

#include <algorithm>

static PortBench *bench; // of the fake port: one at a time

static void set_up_port_class(gpointer klass, gpointer)
{
    auto *port_class = static_cast<PTZPortClass *>(klass);
    port_class->port_open = [](PTZPort *) { return ++bench->opens, 3; };
    port_class->port_close = [](PTZPort *) { return ++bench->closes, 0; };
    port_class->port_read = [](PTZPort *, void *buffer, int length, int, int) {
        ++bench->reads;
        const std::size_t count = std::min(bench->status.size(), static_cast<std::size_t>(length));
        std::copy_n(bench->status.begin(), count, static_cast<std::uint8_t *>(buffer));
        return static_cast<int>(count);
    };
    port_class->port_write = [](PTZPort *, const void *buffer, int length, int, int) {
        ++bench->attempts;
        if (bench->deaf || bench->packets.size() >= bench->takes)
            return -1;
        bench->packets.push_back(to_hex(static_cast<const std::uint8_t *>(buffer), static_cast<std::size_t>(length)));
        return length;
    };
}

DriverBench::DriverBench()
{
    framework() = FrameworkBench{};
    bus() = BusBench{};
    ptz_port_canon_forget_config();
    vccif_clear_status();
}

void DriverBench::make_driver(bool initialized)
{
    fake_framework_install();
    if (!std::filesystem::exists(folder_.file("krx_driver.conf")))
        write_file("krx_driver.conf", GOOD_CONFIG);
    driver = ptz_driver_canon_new(1, 1);
    g_clear_object(&driver->port);
    static const GType port_type =
        g_type_register_static_simple(PTZ_TYPE_PORT, "FakePort", sizeof(PTZPortClass), set_up_port_class,
                                      sizeof(PTZPort), nullptr, static_cast<GTypeFlags>(0));
    driver->port = PTZ_PORT(g_object_new(port_type, nullptr));
    bench = &port;
    initialized ? Life::run(driver) : Life::stop(driver);
    log.take();
    framework().take();
}
