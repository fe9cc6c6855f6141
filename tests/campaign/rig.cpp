#include "tests/campaign/rig.h"

#include "sim/image.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

constexpr guint kLookMs = 10;
constexpr gint64 kConditionUs = 2000; // conditions ask other processes
// Link is told down after a second; the rest is for the ways between three processes, 25 ms on the wall.
constexpr double kLinkTold = 1.5;
constexpr std::size_t kImageBytes = 300'000;

} // namespace

Rig::Rig(double bounds_times) : patience(bounds_times)
{
    const auto hear = [](GDBusConnection *, const char *, const char *, const char *, const char *name,
                         GVariant *parameters, gpointer data) {
        auto *self = static_cast<Rig *>(data);
        self->told.push_back({self->now(), name, print(parameters)});
        const std::string &text = self->told.back().text;
        if (self->told.back().name == "StateChanged")
            self->state = std::atoi(text.c_str() + 1);
        else if (self->told.back().name == "LinkChanged")
            self->link = text.substr(2, text.find('\'', 2) - 2);
    };
    subscription_ =
        g_dbus_connection_signal_subscribe(client.connection(), nullptr, "com.orna.PTZ", nullptr, "/com/orna/PTZ",
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, hear, this, nullptr);
    timer_ = g_timeout_add(
        kLookMs,
        [](gpointer data) -> gboolean {
            static_cast<Rig *>(data)->look();
            return G_SOURCE_CONTINUE;
        },
        this);
}

Rig::~Rig()
{
    g_source_remove(timer_);
    g_dbus_connection_signal_unsubscribe(client.connection(), subscription_);
}

bool Rig::wait_exactly(double seconds, const std::function<bool()> &condition)
{
    const double latest = now() + seconds;
    for (;;) {
        if (condition())
            return true;
        const gint64 next = g_get_monotonic_time() + kConditionUs;
        while (g_get_monotonic_time() < next) {
            if (g_main_context_iteration(nullptr, FALSE) == FALSE)
                g_usleep(kConditionUs / 4);
        }
        if (now() >= latest)
            return false;
    }
}

void Rig::look()
{
    const gint64 time = g_get_monotonic_time();
    stalled = std::max(stalled, static_cast<double>(time - looked_at_) / 1e6 - kLookMs / 1e3);
    looked_at_ = time;
    if (work)
        work();
    if (dead())
        return;
    if (asked_ != nullptr) {
        slowest_answer = std::max(slowest_answer, static_cast<double>(time - asked_at_) / 1e6);
        if (!asked_->done)
            return;
        if (asked_->error.empty() && asks_status_)
            take_status(asked_->text);
        else if (asked_->error.empty())
            state = std::atoi(asked_->text.c_str() + 1);
    }
    asks_status_ = !asks_status_;
    asked_ = client.send(asks_status_ ? "GetStatus" : "GetState");
    asked_at_ = time;
}

void Rig::take_status(const std::string &text)
{
    const auto after = [&text](const std::string &key) {
        const std::size_t at = text.find(key);
        return at == std::string::npos ? std::string() : text.substr(at + key.size());
    };
    const std::string shown = after("'link': <'");
    link = shown.substr(0, shown.find('\''));
    const double age = std::strtod(after("'status-age': <").c_str(), nullptr);
    if (link == "up" && age > kLinkTold * patience + stalled * kScale)
        lie = "the last status is " + std::to_string(age) + " s old and the link is up";
}

void Rig::forget()
{
    told.clear();
    slowest_answer = stalled = 0;
    looked_at_ = g_get_monotonic_time();
    lie.clear();
}

void Rig::renew()
{
    ptzd.reset();
    sim.reset();
    asked_.reset();
    state = -1;
    for (const auto &entry : std::filesystem::directory_iterator(folder.path()))
        std::filesystem::remove_all(entry.path());
    start_sim({"--force"});
}

void Rig::begin_start()
{
    asked_.reset();
    state = -1;
    link.clear();
    start_ptzd();
}

void Rig::begin_upgrade()
{
    const std::vector<std::uint8_t> image = sim::make_image(kNewFirmware, kImageBytes);
    folder.write("IMC.APP", {image.begin(), image.end()});
    sim_command("set firmware 01000000");
    transfer_from_ = sim->output().size();
    begin_start();
}

std::string Rig::have_running()
{
    if (sim == nullptr || sim->ended())
        renew();
    if (!dead() && state == 1 && link == "up")
        return {};
    if (std::string wrong = have_stopped(); !wrong.empty())
        return wrong;
    begin_start();
    return wait(60, [this] { return (state == 1 && link == "up") || dead(); }) && !dead() ? "" : "no clean start";
}

std::string Rig::have_stopped()
{
    if (sim == nullptr || sim->ended())
        renew();
    if (dead()) {
        ptzd.reset();
    } else {
        const double before = now();
        ptzd->signal(SIGTERM);
        const bool ended = wait(40, [this] { return ptzd->ended(); });
        const double took = now() - before;
        const int status = ended ? ptzd->wait() : -1;
        ptzd.reset();
        if (!ended || status != 0 || took > 20 * patience)
            return "ending took " + std::to_string(took) + " s, exit status " + std::to_string(status);
        if (sim_state() != "off")
            return "ended and left the block " + sim_state();
    }
    for (const char *file : {"IMC.APP", "upgrade.conf", "parameters.conf"})
        std::filesystem::remove(folder.file(file));
    return {};
}

std::string Rig::offences(const std::string &but)
{
    std::string all;
    for (const auto &[name, count] : sim_counts("Offences"))
        if (but.find(name) == std::string::npos)
            all += (all.empty() ? "" : ", ") + std::to_string(count) + " " + name;
    return all;
}

Rig::Settings Rig::settings()
{
    static constexpr const char *kOfMoves[] = {"Zoom", "Pan", "Tilt", "Focus position", "Focus speed", "System"};
    Settings all;
    GVariant *table = sim_property("Settings");
    for (gsize i = 0; i < g_variant_n_children(table); ++i) {
        const char *name = nullptr;
        GVariant *values = nullptr;
        g_variant_get_child(table, i, "{&s@ai}", &name, &values);
        gsize count = 0;
        const auto *numbers = static_cast<const gint32 *>(g_variant_get_fixed_array(values, &count, sizeof(gint32)));
        if (std::none_of(std::begin(kOfMoves), std::end(kOfMoves),
                         [name](const char *part) { return std::string(name).starts_with(part); }))
            all[name].assign(numbers, numbers + count);
        g_variant_unref(values);
    }
    g_variant_unref(table);
    return all;
}

Holdings Rig::holdings()
{
    const std::filesystem::directory_iterator threads("/proc/" + ptzd->pid() + "/task");
    std::size_t pages = 0;
    std::ifstream("/proc/" + ptzd->pid() + "/statm").ignore(99, ' ') >> pages;
    const std::string status = client.call("GetStatus").text, key = "'tasks': <uint32 ";
    Holdings held{.descriptors = ptzd_descriptors(),
                  .threads = static_cast<std::size_t>(std::distance(begin(threads), end(threads))),
                  .memory_kib = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024};
    if (const std::size_t at = status.find(key); at != std::string::npos)
        held.tasks = static_cast<unsigned>(std::stoul(status.substr(at + key.size())));
    GVariant *reply = g_dbus_connection_call_sync(client.connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus.Debug.Stats", "GetConnectionStats",
                                                  g_variant_new("(s)", "com.orna.PTZ"), nullptr, G_DBUS_CALL_FLAGS_NONE,
                                                  -1, nullptr, nullptr);
    if (reply == nullptr) // a bus that does not tell
        return held;
    GVariant *stats = g_variant_get_child_value(reply, 0);
    g_variant_lookup(stats, "MatchRules", "u", &held.subscriptions);
    g_variant_unref(stats);
    g_variant_unref(reply);
    return held;
}

std::string Rig::logs() const
{
    std::string all = "-- told\n";
    for (const auto &[at, name, text] : told)
        all.append(std::to_string(at)).append(" ").append(name).append(text).append("\n");
    return all + "-- ptzd\n" + (ptzd ? ptzd->output() : "") + "-- simulator\n" + (sim ? sim->output() : "");
}
