#include "driver/config_check.h"

#include "driver/config_file.h"
#include "port/config.h"
#include "port/frame.h"
#include "port/settings.h"

#include <algorithm>
#include <array>

namespace {

using enum ConfigKind;

// Of numbers that the reader takes as they are.
struct Range {
    const char *key;
    double lowest;
    double highest;
};
constexpr Range RANGES[] = {
    {"TemperatureHysteresisGeneric", 0, 100}, {"TemperatureHysteresisCooling", 0, 100},
    {"TemperatureSensor", 0, 1000},           {"MaxDigitalZoom", 1, 1000},
    {"PTZCounterUpdateInterval", 0, 1e6},
};

const std::vector<ConfigRule> &common_port_rules()
{
    static const std::vector<ConfigRule> rules = {
        {"Ports", integer, true, true, 1, PORTS_MAX, true},
        {"BigEndian", boolean, false, true, 0, 0, false},
    };
    return rules;
}

const std::vector<ConfigRule> &port_rules()
{
    static const std::vector<ConfigRule> rules = {
        {"Device", text, true, false, 0, 0, false},
        {"RequestPin", pin, true, false, 0, PORT_REQUEST_PIN_MAX, false},
        {"BurstLenght", integer, false, false, PORT_BURST_LENGTH_MIN, PORT_FRAME_MAX, true},
        {"TriggerMode", integer, false, false, 0, PORT_TRIGGER_MAX, false},
    };
    return rules;
}

ConfigRule rule_of(const ConfigKey &key, bool with_fpga)
{
    const bool required = key.need == ConfigNeed::required || (key.need == ConfigNeed::with_fpga && with_fpga);
    const auto range = std::find_if(std::begin(RANGES), std::end(RANGES),
                                    [&](const Range &one) { return std::string(one.key) == key.name; });
    const bool bounded = range != std::end(RANGES);
    return {key.name, key.kind, required, true, bounded ? range->lowest : 0, bounded ? range->highest : 0, false};
}

void check_limits(ConfigFile &file)
{
    constexpr char LOWER[] = "TemperatureLowerLimit";
    constexpr char UPPER[] = "TemperatureUpperLimit";
    const auto lower = file.number(CONFIG_GROUP, LOWER);
    const auto upper = file.number(CONFIG_GROUP, UPPER);
    if (upper && !lower)
        file.warning(CONFIG_GROUP, UPPER, std::string(UPPER) + " counts only beside a " + LOWER);
    else if (lower && !upper)
        file.warning(CONFIG_GROUP, LOWER,
                     std::string("without a ") + UPPER + " nothing stops a camera that is too hot");
    else if (lower && upper && *lower >= *upper)
        file.warning(CONFIG_GROUP, UPPER, std::string(UPPER) + " is not above " + LOWER);
}

void check_driver(ConfigReport &report)
{
    ConfigFile file("krx_driver.conf", report);
    if (!file.load())
        return;
    const bool with_fpga = file.has(CONFIG_GROUP, "FpgaIsUsed");
    std::vector<ConfigRule> rules;
    for (const ConfigKey &key : ptz_driver_canon_config_keys())
        rules.push_back(rule_of(key, with_fpga));
    file.check_groups({CONFIG_GROUP});
    file.check(CONFIG_GROUP, rules);
    check_limits(file);
}

void check_port(ConfigFile &file, const std::string &group, ConfigReport &report)
{
    file.check(group.c_str(), port_rules());
    if (const std::string device = file.text(group, "Device"); !device.empty())
        report.devices.push_back({file.place(group, "Device"), "Device", device});
}

void check_ports(ConfigReport &report)
{
    ConfigFile file("krx_port.conf", report);
    if (!file.load())
        return;
    file.check(PORTS_GROUP, common_port_rules());
    const int count = static_cast<int>(std::clamp(file.number(PORTS_GROUP, "Ports").value_or(0), 0.0, 0.0 + PORTS_MAX));
    std::vector<std::string> groups = {PORTS_GROUP};
    for (int i = 0; i < count; ++i) {
        const std::string group = ptz_port_canon_group(i);
        groups.push_back(group);
        if (file.has(group))
            check_port(file, group, report);
        else
            file.error(PORTS_GROUP, "Ports", "[" + group + "] is missing");
    }
    file.check_groups(groups);
    if (count == 1)
        file.warning(PORTS_GROUP, "Ports", "without a second port the firmware cannot be upgraded");
}

} // namespace

ConfigReport ptz_driver_canon_check_config()
{
    ConfigReport report;
    check_driver(report);
    check_ports(report);
    return report;
}
