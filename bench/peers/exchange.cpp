// 1024 bytes to another process and 1024 back: a burst over the simulated link with its request line and checksum,
// modbus over a pty and over TCP, and pairs of sockets.
#include "bench/camera.h"
#include "bench/peers/contest.h"
#include "bench/wire.h"
#include "port/spi_port.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <modbus.h>
#include <pty.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int SIZE = 1024;

bool burst()
{
    static PTZDriverCanon *const driver = camera_driver(Wire::at_once);
    std::array<guint8, SIZE> run;
    return driver != nullptr && ptz_port_canon_read_data(driver->port, run.data(), SIZE, 0, 0) > 0;
}

// Modbus knows pieces of at most 121 registers of two bytes.
constexpr int REGISTERS = SIZE / 2;
constexpr int PIECE = 103;

void serve(modbus_t *server)
{
    modbus_mapping_t *const registers = modbus_mapping_new(0, 0, REGISTERS, 0);
    std::array<std::uint8_t, MODBUS_MAX_ADU_LENGTH> query;
    for (int got = 0; got >= 0;) {
        got = modbus_receive(server, query.data());
        if (got > 0)
            modbus_reply(server, query.data(), got, registers);
    }
}

bool modbus_once(modbus_t *client)
{
    std::array<std::uint16_t, REGISTERS> out{}, in{};
    for (int at = 0; at < REGISTERS; at += PIECE) {
        const int count = std::min(PIECE, REGISTERS - at);
        if (modbus_write_and_read_registers(client, at, count, &out[static_cast<std::size_t>(at)], at, count,
                                            &in[static_cast<std::size_t>(at)]) != count)
            return false;
    }
    return true;
}

bool modbus_over_pty(modbus_t *&client)
{
    int master = -1, slave = -1;
    char name[64];
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&master, &slave, name, &raw, nullptr) != 0)
        return false;
    const pid_t pid = start_child([&] {
        modbus_t *const server = modbus_new_rtu(name, 115200, 'N', 8, 1);
        modbus_set_slave(server, 1);
        modbus_set_socket(server, slave);
        serve(server);
    });
    client = modbus_new_rtu(name, 115200, 'N', 8, 1);
    return pid != 0 && modbus_set_slave(client, 1) == 0 && modbus_set_socket(client, master) == 0;
}

bool modbus_over_tcp(modbus_t *&client)
{
    constexpr int port = 15020;
    modbus_t *const server = modbus_new_tcp("127.0.0.1", port);
    int listener = modbus_tcp_listen(server, 1);
    const pid_t pid = listener < 0 ? 0 : start_child([&] {
        modbus_tcp_accept(server, &listener);
        serve(server);
    });
    client = modbus_new_tcp("127.0.0.1", port);
    const bool good = pid != 0 && modbus_connect(client) == 0;
    close(listener);
    return good;
}

Contender modbus(const char *name, bool (*connect)(modbus_t *&client))
{
    const auto client = std::make_shared<modbus_t *>(nullptr);
    return {.name = name, .set_up = [=] { return connect(*client); }, .once = [=] { return modbus_once(*client); }};
}

// Receives a whole message. With MSG_DONTWAIT in `flags` it asks for a millisecond before it waits: who takes turns
// with others must not keep a processor busy in theirs.
bool receive(int fd, void *bytes, int flags)
{
    for (const std::int64_t patience = monotonic_ns() + 1'000'000;;) {
        const ssize_t got = recv(fd, bytes, SIZE, flags);
        if (got == SIZE)
            return true;
        if (got >= 0 || (errno != EAGAIN && errno != EINTR))
            return false;
        if (monotonic_ns() > patience)
            flags = 0;
    }
}

Contender sockets(const char *name, int flags)
{
    const auto fd = std::make_shared<int>(-1);
    const auto set_up = [=] {
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0)
            return false;
        *fd = pair[0];
        const pid_t pid = start_child([&] {
            close(pair[0]);
            std::array<char, SIZE> bytes;
            while (receive(pair[1], bytes.data(), flags) && send(pair[1], bytes.data(), SIZE, MSG_NOSIGNAL) == SIZE) {
            }
        });
        close(pair[1]);
        return pid != 0;
    };
    const auto once = [=] {
        std::array<char, SIZE> bytes{};
        return send(*fd, bytes.data(), SIZE, MSG_NOSIGNAL) == SIZE && receive(*fd, bytes.data(), flags);
    };
    return {.name = name, .set_up = set_up, .once = once};
}

} // namespace

Contest exchange()
{
    return {"exchange",
            7,
            1000,
            1,
            {{.name = "ours", .set_up = {}, .once = burst},
             sockets("a pair of sockets, blocking", 0),
             sockets("a pair of sockets, spinning", MSG_DONTWAIT),
             modbus("libmodbus over a pty", modbus_over_pty),
             modbus("libmodbus over TCP", modbus_over_tcp)}};
}
