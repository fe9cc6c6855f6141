#include "tests/support/port_fake.h"

#include <algorithm>

namespace {

struct FakePort {
    PTZPort parent_instance;
    PortBench *bench;
};
struct FakePortClass {
    PTZPortClass parent_class;
};

} // namespace

G_DEFINE_TYPE(FakePort, fake_port, PTZ_TYPE_PORT)

namespace {

PortBench &bench_of(PTZPort *port)
{
    return *reinterpret_cast<FakePort *>(port)->bench;
}

int open_port(PTZPort *port)
{
    ++bench_of(port).opens;
    return 3;
}

int close_port(PTZPort *port)
{
    ++bench_of(port).closes;
    return 0;
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
    if (bench.on_write)
        bench.on_write();
    return length;
}

} // namespace

static void fake_port_init(FakePort *)
{
}

static void fake_port_class_init(FakePortClass *klass)
{
    klass->parent_class.port_open = open_port;
    klass->parent_class.port_close = close_port;
    klass->parent_class.port_read = read_port;
    klass->parent_class.port_write = write_port;
}

PTZPort *fake_port_new(PortBench *bench)
{
    auto *port = static_cast<FakePort *>(g_object_new(fake_port_get_type(), nullptr));
    port->bench = bench;
    return &port->parent_instance;
}
