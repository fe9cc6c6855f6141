// Usage: service_calls PID. How long calls to the ptzd of that process take and what memory it then has, as one JSON
// object; the bus is the system bus of the environment.
#include "bench/samples.h"
#include "glib_owned.h"

#include <gio/gio.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {

using Connection = GOwned<GDBusConnection, g_object_unref>;

constexpr int CLIENTS = 200;
constexpr int CALLS = 50; // of each; all beyond 32 in work are refused at once

constexpr std::int64_t HOUR_NS = 3'600'000'000'000;

std::int64_t now_ns()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

Connection connect()
{
    const GText address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    return Connection(g_dbus_connection_new_for_address_sync(
        address.get(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr));
}

// A failed call counts as an hour.
std::int64_t time_of(GDBusConnection *connection, const char *method)
{
    const std::int64_t begin = now_ns();
    const GVariantOwned reply(g_dbus_connection_call_sync(connection, "com.orna.PTZ", "/com/orna/PTZ", "com.orna.PTZ",
                                                          method, nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, 60000,
                                                          nullptr, nullptr));
    return reply ? now_ns() - begin : HOUR_NS;
}

Samples repeat(GDBusConnection *connection, const char *method, int times)
{
    Samples samples(times);
    for (int i = 0; i < times; ++i)
        samples.add(time_of(connection, method));
    return samples;
}

double resident_mb(const char *pid)
{
    std::ifstream status("/proc/" + std::string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmRSS:"))
            return std::stod(line.substr(6)) / 1024;
    return 0;
}

// Positions for as long as a reset of the camera takes.
Samples positions_during_reset(GDBusConnection *connection)
{
    bool done = false;
    const auto on_done = [](GObject *source, GAsyncResult *result, gpointer flag) {
        const GVariantOwned reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, nullptr));
        *static_cast<bool *>(flag) = true;
    };
    const Connection other = connect();
    g_dbus_connection_call(other.get(), "com.orna.PTZ", "/com/orna/PTZ", "com.orna.PTZ", "RunSpecialCommand",
                           g_variant_new("(s)", "reset"), nullptr, G_DBUS_CALL_FLAGS_NONE, 120000, nullptr, on_done,
                           &done);
    Samples samples(1000);
    while (!done) {
        samples.add(time_of(connection, "GetPosition"));
        g_usleep(5000);
        while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
        }
    }
    return samples;
}

// A stop while thousands of moves of others wait in the service.
std::int64_t stop_behind_many(GDBusConnection *connection, const std::vector<Connection> &clients)
{
    for (int call = 0; call < CALLS; ++call)
        for (const Connection &client : clients)
            g_dbus_connection_call(client.get(), "com.orna.PTZ", "/com/orna/PTZ", "com.orna.PTZ", "Move",
                                   g_variant_new_parsed("([('zoom', 'absolute', %d)], 0.0, @a{sv} {})", 1.0 + call),
                                   nullptr, G_DBUS_CALL_FLAGS_NONE, 60000, nullptr, nullptr, nullptr);
    // Answered at once, but behind what the client has sent: then all of them are there.
    for (const Connection &client : clients)
        time_of(client.get(), "GetState");
    return time_of(connection, "Stop");
}

} // namespace

int main(int argc, char *argv[])
{
    const Connection connection = connect();
    if (!connection || argc != 2) {
        std::fputs("service_calls: there is no bus, or no process was named\n", stderr);
        return 1;
    }
    const double stop = repeat(connection.get(), "Stop", 500).median_us();
    const double position = repeat(connection.get(), "GetPosition", 500).median_us();
    const double during_reset = positions_during_reset(connection.get()).median_us();
    std::vector<Connection> clients;
    for (int i = 0; i < CLIENTS; ++i)
        clients.push_back(connect());
    for (const Connection &client : clients)
        repeat(client.get(), "GetFieldOfView", CALLS);
    const double resident = resident_mb(argv[1]);
    Samples behind(5);
    for (int i = 0; i < 5; ++i)
        behind.add(stop_behind_many(connection.get(), clients));
    std::printf("{\"stop_us\": %.1f, \"stop_behind_us\": %.1f, \"position_us\": %.1f, \"position_reset_us\": %.1f, "
                "\"resident_mb\": %.1f}\n",
                stop, behind.median_us(), position, during_reset, resident);
    return 0;
}
