#include "tests/support/driver_fixture.h"

#include "driver/ptz_driver_canon_type.h"
#include "port/ptz_port_canon_config.h"
#include "tests/support/bus_fake.h"
#include "vcc/vccif_status.h"

#include <algorithm>

StatusRun &StatusRun::set(std::uint8_t tag, unsigned offset, unsigned size, std::int64_t value)
{
    const unsigned at = offset + (tag == 0xF8 ? 0 : tag == 0xE0 ? 528 : tag == 0x60 ? 528 + 128 : 528 + 128 + 64);
    for (unsigned i = 0; i < size; ++i)
        bytes_[at + i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    return *this;
}

static PortBench &bench_of(PTZPort *port)
{
    return *static_cast<PortBench *>(g_object_get_data(G_OBJECT(port), "bench"));
}

static void set_up_port_class(gpointer klass, gpointer)
{
    auto *port_class = static_cast<PTZPortClass *>(klass);
    port_class->port_open = [](PTZPort *port) { return ++bench_of(port).opens, 3; };
    port_class->port_close = [](PTZPort *port) { return ++bench_of(port).closes, 0; };
    port_class->port_read = [](PTZPort *port, void *buffer, int length, int, int) {
        PortBench &bench = bench_of(port);
        ++bench.reads;
        const std::size_t count = std::min(bench.status.size(), static_cast<std::size_t>(length));
        std::copy_n(bench.status.begin(), count, static_cast<std::uint8_t *>(buffer));
        return static_cast<int>(count);
    };
    port_class->port_write = [](PTZPort *port, const void *buffer, int length, int, int) {
        PortBench &bench = bench_of(port);
        ++bench.attempts;
        if (bench.deaf)
            return -1;
        bench.packets.push_back(to_hex(static_cast<const std::uint8_t *>(buffer), static_cast<std::size_t>(length)));
        return length;
    };
}

// A new port without a device, on that bench, which must outlive it.
static PTZPort *new_port(PortBench *bench)
{
    static const GType type =
        g_type_register_static_simple(PTZ_TYPE_PORT, "FakePort", sizeof(PTZPortClass), set_up_port_class,
                                      sizeof(PTZPort), nullptr, static_cast<GTypeFlags>(0));
    gpointer port = g_object_new(type, nullptr);
    g_object_set_data(G_OBJECT(port), "bench", bench);
    return PTZ_PORT(port);
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
    driver->port = new_port(&port);
    driver->driver_initialized = initialized;
    log.take();
    framework().take();
}
