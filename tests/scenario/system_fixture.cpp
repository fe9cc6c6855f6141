#include "tests/scenario/system_fixture.h"

#include "tests/support/machine.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

constexpr const char *SIM = "com.orna.KrxSim";
constexpr const char *SIM_PATH = "/com/orna/KrxSim";

} // namespace

std::unique_ptr<Process> SystemTest::run(const std::vector<std::string> &command, const std::string &log_name,
                                         const Process::Variables &more)
{
    Process::Variables environment = {{"DBUS_SYSTEM_BUS_ADDRESS", address()},
                                      {"PTZ_DATA_DIR", folder.path()},
                                      {"PTZ_BOARD", folder.path()},
                                      {"PTZ_TIME_SCALE", scale()}};
    environment.insert(environment.end(), more.begin(), more.end());
    return std::make_unique<Process>(command, environment, folder.file(log_name));
}

std::string SystemTest::scale() const
{
    return std::to_string(std::max(std::atoi(time_scale) / TIME_SLOWER, 1));
}

void SystemTest::start_sim(const std::vector<std::string> &options)
{
    std::vector<std::string> command{KRX_SIM_FILE, "--board", folder.path(), "--time-scale", scale()};
    command.insert(command.end(), options.begin(), options.end());
    sim = run(command, "sim.log");
    run_until([this] { return sim->output().find("ready") != std::string::npos || sim->ended(); });
    ASSERT_FALSE(sim->ended()) << sim->output();
}

void SystemTest::start_ptzd(const std::vector<std::string> &options)
{
    std::vector<std::string> command{PTZD_FILE, "--plugin", PLUGIN_FILE, "--foreground"};
    command.insert(command.end(), options.begin(), options.end());
    ptzd = run(command, "ptzd.log", ptzd_variables);
}

void SystemTest::await_state(int state)
{
    const std::string wanted = "(" + std::to_string(state) + ",";
    run_until([&] {
        const Reply reply = client.call("GetState");
        return (reply.error.empty() && reply.text.starts_with(wanted)) || ptzd->ended();
    });
    ASSERT_FALSE(ptzd->ended()) << ptzd->output();
}

void SystemTest::start_all()
{
    start_sim();
    start_ptzd();
    await_state(1);
}

std::string SystemTest::ptzctl(const std::vector<std::string> &words, int *status)
{
    std::vector<std::string> command{PTZCTL_FILE, "--json"};
    command.insert(command.end(), words.begin(), words.end());
    const std::unique_ptr<Process> process = run(command, "ptzctl-" + std::to_string(++runs_) + ".log");
    const int result = process->wait();
    if (status != nullptr)
        *status = result;
    else
        EXPECT_EQ(result, 0) << process->output();
    return process->output();
}

GVariant *SystemTest::ask_sim(const char *interface, const char *method, GVariant *arguments)
{
    GError *error = nullptr;
    GVariant *reply = g_dbus_connection_call_sync(client.connection(), SIM, SIM_PATH, interface, method, arguments,
                                                  nullptr, G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, &error);
    if (reply == nullptr)
        throw std::runtime_error(error->message); // which ends the test
    return reply;
}

GVariant *SystemTest::sim_property(const char *name)
{
    GVariant *reply = ask_sim("org.freedesktop.DBus.Properties", "Get", g_variant_new("(ss)", SIM, name));
    GVariant *value = nullptr;
    g_variant_get(reply, "(v)", &value);
    g_variant_unref(reply);
    return value;
}

double SystemTest::sim_value(const char *name)
{
    GVariant *values = sim_property("Values");
    double value = NAN;
    g_variant_lookup(values, name, "d", &value);
    g_variant_unref(values);
    return value;
}

Counts SystemTest::sim_counts(const char *property)
{
    Counts counts;
    GVariant *table = sim_property(property);
    const char *name = nullptr;
    guint32 count = 0;
    for (gsize i = 0; i < g_variant_n_children(table); ++i) {
        g_variant_get_child(table, i, "{&su}", &name, &count);
        counts[name] = count;
    }
    g_variant_unref(table);
    return counts;
}

std::string SystemTest::sim_state()
{
    GVariant *state = sim_property("State");
    std::string text = g_variant_get_string(state, nullptr);
    g_variant_unref(state);
    return text;
}

void SystemTest::sim_command(const std::string &line)
{
    g_variant_unref(ask_sim(SIM, "Command", g_variant_new("(s)", line.c_str())));
}

void SystemTest::await_sim(const char *name, double value, double tolerance)
{
    run_until([&] { return std::fabs(sim_value(name) - value) <= tolerance; });
}

std::size_t SystemTest::ptzd_descriptors() const
{
    // What is open only for a look now and then does not count: the least of many.
    std::size_t least = SIZE_MAX;
    for (int look = 0; look < 100; ++look) {
        const std::filesystem::directory_iterator entries("/proc/" + ptzd->pid() + "/fd");
        least = std::min(least, static_cast<std::size_t>(std::distance(begin(entries), end(entries))));
    }
    return least;
}

std::string SystemTest::state_at_once()
{
    Reply reply;
    gint64 took_us = G_USEC_PER_SEC;
    for (int attempt = 0; attempt < 2 && took_us >= G_USEC_PER_SEC; ++attempt) {
        const gint64 begin = g_get_monotonic_time();
        reply = client.call("GetState");
        took_us = g_get_monotonic_time() - begin;
    }
    EXPECT_LT(took_us, G_USEC_PER_SEC);
    return reply.said();
}

void SystemTest::expect_life() const
{
    ASSERT_FALSE(ptzd->ended()) << ptzd->output();
    [[maybe_unused]] std::size_t most_kb = 0;
    std::ifstream status("/proc/" + ptzd->pid() + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:"))
            most_kb = std::stoul(line.substr(6));
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // which take several times as much
    EXPECT_LT(most_kb, PTZD_MOST_KB);
#endif
}

std::size_t SystemTest::count_of(const std::string &text, const std::string &log)
{
    std::size_t count = 0;
    for (std::size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + text.size()))
        ++count;
    return count;
}
