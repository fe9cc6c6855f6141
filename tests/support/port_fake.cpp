#include "tests/support/driver_fixture.h"

#include <algorithm>

namespace {

struct FakePort {
    PTZPort parent_instance;
    PortBench *bench;
};

PortBench &bench_of(PTZPort *port)
{
    return *reinterpret_cast<FakePort *>(port)->bench;
}

int read_port(PTZPort *port, void *buffer, int length, int, int)
{
    PortBench &bench = bench_of(port);
    ++bench.reads;
    const std::size_t count = std::min(bench.status.size(), static_cast<std::size_t>(length));
    std::copy_n(bench.status.begin(), count, static_cast<std::uint8_t *>(buffer));
    return static_cast<int>(count);
}

int write_port(PTZPort *port, const void *buffer, int length, int, int)
{
    PortBench &bench = bench_of(port);
    ++bench.attempts;
    if (bench.deaf)
        return -1;
    bench.packets.push_back(to_hex(static_cast<const std::uint8_t *>(buffer), static_cast<std::size_t>(length)));
    return length;
}

void set_up_class(gpointer klass, gpointer)
{
    auto *port_class = static_cast<PTZPortClass *>(klass);
    port_class->port_open = [](PTZPort *port) { return ++bench_of(port).opens, 3; };
    port_class->port_close = [](PTZPort *port) { return ++bench_of(port).closes, 0; };
    port_class->port_read = read_port;
    port_class->port_write = write_port;
}

} // namespace

PTZPort *fake_port_new(PortBench *bench)
{
    static const GType type =
        g_type_register_static_simple(PTZ_TYPE_PORT, "FakePort", sizeof(PTZPortClass), set_up_class, sizeof(FakePort),
                                      nullptr, static_cast<GTypeFlags>(0));
    auto *port = static_cast<FakePort *>(g_object_new(type, nullptr));
    port->bench = bench;
    return &port->parent_instance;
}
