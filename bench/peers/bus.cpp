// Calls over the bus, timed where they are made, and cold starts: ptzd and two bare services (bare_gdbus.cpp,
// bare_sdbus.cpp).
#include "bench/peers/contest.h"
#include "glib_owned.h"

#include <gio/gio.h>

#include <csignal>
#include <memory>
#include <sys/wait.h>

namespace {

struct Service {
    const char *name; // on the bus
    const char *path;
};

constexpr Service PTZD{"com.orna.PTZ", "/com/orna/PTZ"};
constexpr Service BARE_GDBUS{"com.orna.BenchGdbus", "/com/orna/Bench"};
constexpr Service BARE_SDBUS{"com.orna.BenchSdbus", "/com/orna/Bench"};
constexpr const char *BARE_INTERFACE = "com.orna.Bench";

GDBusConnection *bus()
{
    static GDBusConnection *const connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    return connection;
}

GVariantOwned call(const Service &service, const char *interface, const char *method, GVariant *arguments)
{
    return GVariantOwned(g_dbus_connection_call_sync(bus(), service.name, service.path, interface, method, arguments,
                                                     nullptr, G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr));
}

pid_t process_of(const Service &service)
{
    const GVariantOwned reply = call({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, "org.freedesktop.DBus",
                                     "GetConnectionUnixProcessID", g_variant_new("(s)", service.name));
    guint32 pid = 0;
    if (reply)
        g_variant_get(reply.get(), "(u)", &pid);
    return static_cast<pid_t>(pid);
}

Contender getter(const char *name, const Service &service, const char *interface, const char *method)
{
    return {.name = name,
            .set_up = {},
            .once = [=] { return call(service, interface, method, nullptr) != nullptr; },
            .server = process_of(service)};
}

// Another word each time, so that every call sets something.
Contender setter(const char *name, const Service &service, const char *interface, const char *method)
{
    const auto manual = std::make_shared<bool>(false);
    const auto once = [=] {
        *manual = !*manual;
        return call(service, interface, method, g_variant_new("(s)", *manual ? "manual" : "auto")) != nullptr;
    };
    return {.name = name, .set_up = {}, .once = once, .server = process_of(service)};
}

// The programs, and what on the bus tells that they are up.
struct Program {
    const char *name;
    std::vector<std::string> command;
    const char *sender, *signal, *text; // text: the first of the signal's arguments; null: any
    bool (*says_up)(GVariant *parameters);
};

bool is_owned(GVariant *parameters)
{
    const char *owner = nullptr;
    g_variant_get(parameters, "(&s&s&s)", nullptr, nullptr, &owner);
    return *owner != '\0';
}

bool is_state_1(GVariant *parameters)
{
    gint32 state = 0;
    g_variant_get(parameters, "(i&s)", &state, nullptr);
    return state == 1;
}

Program owner(const char *name, const Service &service, std::vector<std::string> command)
{
    return {name, std::move(command), "org.freedesktop.DBus", "NameOwnerChanged", service.name, is_owned};
}

// Starts a program and waits until it says that it is up.
class Launch {
  public:
    explicit Launch(Program program) : program_(std::move(program)) {}

    void listen()
    {
        g_dbus_connection_signal_subscribe(
            bus(), program_.sender, nullptr, program_.signal, nullptr, program_.text, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection *, const char *, const char *, const char *, const char *, GVariant *parameters,
               gpointer self) {
                auto *launch = static_cast<Launch *>(self);
                launch->up_ = launch->up_ || launch->program_.says_up(parameters);
            },
            this, nullptr);
    }

    bool go()
    {
        up_ = false;
        std::vector<char *> words;
        for (std::string &word : program_.command)
            words.push_back(word.data());
        words.push_back(nullptr);
        constexpr auto flags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDOUT_TO_DEV_NULL);
        if (g_spawn_async(nullptr, words.data(), nullptr, flags, nullptr, nullptr, &pid_, nullptr) == FALSE)
            return false;
        bool late = false;
        const guint alarm = g_timeout_add_seconds(
            60, [](gpointer flag) -> gboolean { return *static_cast<bool *>(flag) = true; }, &late);
        while (!up_ && !late)
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(alarm);
        return up_;
    }

    void end()
    {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }

  private:
    Program program_;
    GPid pid_ = 0;
    bool up_ = false;
};

Contender launch(Program program)
{
    const std::string name = program.name;
    const auto launch = std::make_shared<Launch>(std::move(program));
    launch->listen();
    return {.name = name, .set_up = {}, .once = [=] { return launch->go(); }, .after = [=] { launch->end(); }};
}

} // namespace

Contest bus_get()
{
    return {"get",
            7,
            300,
            1,
            {getter("ours", PTZD, "com.orna.PTZ", "GetPosition"), getter("GDBus", BARE_GDBUS, BARE_INTERFACE, "Get"),
             getter("sd-bus", BARE_SDBUS, BARE_INTERFACE, "Get")}};
}

Contest bus_set()
{
    return {"set",
            7,
            300,
            1,
            {setter("ours", PTZD, "com.orna.PTZ", "SetFocusMode"), setter("GDBus", BARE_GDBUS, BARE_INTERFACE, "Set"),
             setter("sd-bus", BARE_SDBUS, BARE_INTERFACE, "Set")}};
}

Contest start()
{
    const std::vector<std::string> ptzd{PTZD_PROGRAM, "--plugin", PLUGIN};
    return {"start",
            7,
            1,
            1,
            {launch({"ours", ptzd, PTZD.name, "StateChanged", nullptr, is_state_1}),
             launch(owner("`ptzd`, until it has its name", PTZD, ptzd)),
             launch(owner("GDBus", BARE_GDBUS, {BARE_GDBUS_PROGRAM})),
             launch(owner("sd-bus", BARE_SDBUS, {BARE_SDBUS_PROGRAM}))}};
}
