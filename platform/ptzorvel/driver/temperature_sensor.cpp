#include "ptzorvel/driver/temperature_sensor.h"

#include "ptzorvel/common/regular_file.h"
#include "ptzorvel/driver/driver_private.h"

#include <charconv>
#include <cstdlib>
#include <mutex>
#include <syslog.h>

namespace {

// Beyond these no camera is alive to be measured.
constexpr double kColdest = -100.0;
constexpr double kHottest = 200.0;

struct Told {
    std::mutex mutex;
    std::string problem;
};

Told &told()
{
    static Told instance;
    return instance;
}

std::optional<double> parse_degrees(std::string_view text)
{
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    long millidegrees = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), millidegrees);
    const double degrees = static_cast<double>(millidegrees) / 1000.0;
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || degrees < kColdest ||
        degrees > kHottest)
        return std::nullopt;
    return degrees;
}

} // namespace

TemperatureReading read_temperature_sensor(int zone)
{
    const char *board = std::getenv("PTZ_BOARD");
    const std::string folder = board != nullptr && *board != '\0' ? board : "/sys/class/thermal";
    const std::string path = folder + "/thermal_zone" + std::to_string(zone) + "/temp";
    constexpr std::size_t kMostBytes = 31;
    std::string problem = "holds no temperature";
    const auto text = read_regular_file(path, kMostBytes, problem);
    const auto degrees = text ? parse_degrees(*text) : std::nullopt;
    return {degrees, degrees ? "" : "The temperature sensor " + path + " " + problem + "."};
}

void note_temperature_problem(const std::string &problem, bool ever)
{
    const char *meaning = ever ? " The last good value decides whether the camera runs."
                               : " There has been no good value yet: the camera is not protected from heat and cold.";
    const std::string text = problem.empty() ? "" : problem + meaning;
    const std::lock_guard lock(told().mutex);
    if (text == told().problem)
        return;
    if (text.empty())
        syslog(LOG_NOTICE, "The temperature sensor can be read again.");
    else
        syslog(LOG_WARNING, "%s", text.c_str());
    told().problem = text;
}

void forget_temperature_problem()
{
    const std::lock_guard lock(told().mutex);
    told().problem.clear();
}

std::string ptz_temperature_problem()
{
    const std::lock_guard lock(told().mutex);
    return told().problem;
}
