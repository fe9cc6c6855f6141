#include "replay_bus.h"

#include "failure.h"
#include "service.h"

#include <csignal>
#include <fstream>
#include <sys/prctl.h>

namespace {

constexpr gint64 kPatienceUs = 30 * gint64{G_USEC_PER_SEC};

constexpr char kBusConfig[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>%s</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

// What an undisturbed simulator says, whose traces have none of it.
constexpr std::pair<const char *, const char *> kOfTheSimulator[] = {
    {"com.orna.ImageControl VideoCaptureMode", "'1080p60'"}, {"com.orna.Streamer Rotation", "0"}};

GVariantOwned parsed(const std::string &text)
{
    return GVariantOwned(g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr));
}

} // namespace

ReplayBus::ReplayBus(const ReplayTrace &trace, std::string folder)
    : folder_(std::move(folder)), address_("unix:path=" + folder_ + "/bus"), is_ptzds_(trace.is_ptzds),
      told_(trace.told)
{
    const std::string config = folder_ + "/bus.xml";
    std::ofstream(config) << GText(g_strdup_printf(kBusConfig, address_.c_str())).get();
    daemon_ = run({"dbus-daemon", "--config-file=" + config, "--nofork", "--nopidfile"}, "bus.log");
    connect();
}

ReplayBus::~ReplayBus()
{
    if (connection_ && filter_ != 0)
        g_dbus_connection_remove_filter(connection_.get(), filter_);
    for (const Subprocess &program : {std::ref(ptzd_), std::ref(daemon_)}) {
        if (!program)
            continue;
        g_subprocess_force_exit(program.get());
        g_subprocess_wait(program.get(), nullptr, nullptr);
    }
}

ReplayBus::Subprocess ReplayBus::run(std::vector<std::string> command, const char *log)
{
    const GOwned<GSubprocessLauncher, g_object_unref> launcher(
        g_subprocess_launcher_new(G_SUBPROCESS_FLAGS_STDERR_MERGE));
    g_subprocess_launcher_set_stdout_file_path(launcher.get(), (folder_ + "/" + log).c_str());
    g_subprocess_launcher_setenv(launcher.get(), "DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), TRUE);
    for (const char *name : {"PTZ_DATA_DIR", "PTZ_BOARD", "STATE_DIRECTORY"})
        g_subprocess_launcher_setenv(launcher.get(), name, folder_.c_str(), TRUE);
    // Nothing of a replay outlives it, however it ends.
    g_subprocess_launcher_set_child_setup(
        launcher.get(), [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); }, nullptr, nullptr);
    std::vector<const char *> words;
    for (const std::string &word : command)
        words.push_back(word.c_str());
    words.push_back(nullptr);
    GErrorSlot error;
    Subprocess program(g_subprocess_launcher_spawnv(launcher.get(), words.data(), error));
    if (!program)
        throw Failure(EXIT_REFUSED, "Programs", "a replay needs dbus-daemon and ptzd: " + printable(error->message));
    return program;
}

void ReplayBus::connect()
{
    const gint64 latest = g_get_monotonic_time() + kPatienceUs;
    while (!connection_) {
        GErrorSlot error;
        connection_.reset(g_dbus_connection_new_for_address_sync(
            address_.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, error));
        if (!connection_ && g_get_monotonic_time() > latest)
            throw Failure(EXIT_REFUSED, "NoBus", "the bus of the replay did not come up: " + printable(error->message));
        if (!connection_)
            g_usleep(10'000);
    }
    filter_ = g_dbus_connection_add_filter(
        connection_.get(),
        [](GDBusConnection *, GDBusMessage *message, gboolean incoming, gpointer self) {
            return incoming != FALSE ? static_cast<ReplayBus *>(self)->answer(message) : message;
        },
        this, nullptr);
    for (const char *name : {"com.orna.ImageControl", "com.orna.Streamer"})
        GVariantOwned(g_dbus_connection_call_sync(
            connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", name, 0u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
}

// What was told next; what was told last is told again.
GVariantOwned ReplayBus::value_of(const std::string &property)
{
    for (const auto &[name, value] : kOfTheSimulator)
        if (!is_ptzds_ && property == name)
            return parsed(value);
    const auto found = told_.find(property);
    if (found == told_.end())
        return nullptr;
    GVariantOwned value = parsed(found->second.front());
    if (found->second.size() > 1)
        found->second.pop_front();
    return value;
}

// The connection's thread: questions for the image services end here.
GDBusMessage *ReplayBus::answer(GDBusMessage *message)
{
    GVariant *body = g_dbus_message_get_body(message);
    if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL || body == nullptr ||
        g_strcmp0(g_dbus_message_get_member(message), "Get") != 0 ||
        !g_variant_is_of_type(body, G_VARIANT_TYPE("(ss)")))
        return message;
    const char *property = nullptr;
    g_variant_get(body, "(&s&s)", nullptr, &property);
    const std::string path = g_dbus_message_get_path(message);
    const std::string service = path.starts_with("/com/orna/Streamer") ? "com.orna.Streamer" : "com.orna.ImageControl";
    const GVariantOwned value = value_of(service + " " + property);
    const GOwned<GDBusMessage, g_object_unref> reply(
        value ? g_dbus_message_new_method_reply(message)
              : g_dbus_message_new_method_error_literal(message, "org.freedesktop.DBus.Error.ServiceUnknown",
                                                        "it was not there when the trace was recorded"));
    if (value)
        g_dbus_message_set_body(reply.get(), g_variant_new("(v)", value.get()));
    g_dbus_connection_send_message(connection_.get(), reply.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(message);
    return nullptr;
}

void ReplayBus::start_ptzd(const std::string &plugin, double time_scale)
{
    const char *named = g_getenv("PTZD");
    std::vector<std::string> command{named != nullptr && *named != '\0' ? named : PTZD_FILE};
    if (!plugin.empty())
        command.insert(command.end(), {"--plugin", plugin});
    command.emplace_back("--foreground");
    g_setenv("PTZ_TIME_SCALE", std::to_string(time_scale).c_str(), TRUE);
    ptzd_ = run(command, "ptzd.log");
    const gint64 latest = g_get_monotonic_time() + kPatienceUs;
    for (bool there = false; !there;) {
        const GVariantOwned owner(g_dbus_connection_call_sync(
            connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
            g_variant_new("(s)", kServiceName), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
        there = owner != nullptr;
        if (!there && (ptzd_ended() || g_get_monotonic_time() > latest))
            throw Failure(EXIT_REFUSED, "NoService", "ptzd did not come up: " + last_words());
        if (!there)
            g_usleep(5'000);
    }
}

bool ReplayBus::ptzd_ended() const
{
    while (g_main_context_iteration(nullptr, FALSE) != FALSE) { // which notices
    }
    return g_subprocess_get_identifier(ptzd_.get()) == nullptr;
}

std::string ReplayBus::last_words() const
{
    std::ifstream log(folder_ + "/ptzd.log");
    std::string last = "it says nothing";
    for (std::string line; std::getline(log, line);)
        if (!line.empty())
            last = line;
    return printable(last);
}

void ReplayBus::make(const ReplayEvent &event)
{
    using Kind = sim::TraceLine::Kind;
    const sim::TraceLine &line = event.line;
    if (line.kind == Kind::close) {
        g_subprocess_send_signal(ptzd_.get(), SIGTERM);
        return;
    }
    const GVariantOwned arguments = parsed(line.text);
    if (!arguments || !g_variant_is_of_type(arguments.get(), G_VARIANT_TYPE_TUPLE))
        throw Failure(EXIT_REFUSED, "NoTrace",
                      "line " + std::to_string(event.number) +
                          ": the arguments cannot be read: " + printable(line.text));
    if (line.kind == Kind::call) {
        g_dbus_connection_call(connection_.get(), kServiceName, kServicePath, kServiceInterface, line.name.c_str(),
                               arguments.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr, nullptr, nullptr);
        return;
    }
    const GTexts words(g_strsplit(line.name.c_str(), " ", 3)); // path, interface, member
    g_dbus_connection_emit_signal(connection_.get(), nullptr, words.get()[0], words.get()[1], words.get()[2],
                                  arguments.get(), nullptr);
}
