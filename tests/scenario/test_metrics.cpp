// Numbers over time, against what was done.
#include "tests/scenario/system_fixture.h"

#include "ptzorvel/ptzd/histogram.h"
#include "ptzorvel/ptzd/metrics_file.h"

#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <sys/stat.h>

namespace {

std::mutex disk; // held: it hangs

}

// In the place of the C library's.
extern "C" __attribute__((visibility("default"))) int rename(const char *from, const char *to) noexcept
{
    const std::lock_guard writing(disk);
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

namespace {

TEST(Histogram, TellsQuantilesToAnEighth)
{
    Histogram histogram;
    EXPECT_EQ(histogram.quantile_us(0.5), 0);
    for (int us = 1; us <= 100'000; us++)
        histogram.add(us);
    for (const double part : {0.0001, 0.5, 0.9, 0.99, 1.0}) {
        EXPECT_GE(histogram.quantile_us(part), part * 100'000);
        EXPECT_LE(histogram.quantile_us(part), part * 100'000 * 9 / 8) << part;
    }
    histogram.add(-5);
    histogram.add(std::int64_t{1} << 62);
    EXPECT_EQ(histogram.quantile_us(0), 0);
    EXPECT_GT(histogram.quantile_us(1), 3.6e9);
}

TEST(MetricsFile, TakesTheirPlaceFromFilesAlone)
{
    const TempFolder folder;
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &path : {pipe, folder.file("new")})
        MetricsFile(path, [] { return "1\n"; });
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(folder.read("new"), "1\n");
}

TEST(MetricsFile, GivesUpADiskThatHangs)
{
    const TempFolder folder;
    {
        const std::lock_guard hung(disk);
        std::optional<MetricsFile> file;
        file.emplace(
            folder.file("late"), [] { return "1\n"; }, std::chrono::milliseconds(10));
        file.reset();
        EXPECT_FALSE(std::filesystem::exists(folder.file("late")));
    }
    run_until([&] { return folder.read("late") == "1\n"; }); // by a thread that is still there
}

class MetricsOf : public SystemTest {
  protected:
    MetricsOf() { time_scale = "4"; } // a pause of the machine is no outage then

    // Of a text of samples, by name and labels.
    static std::map<std::string, double> samples(const std::string &text)
    {
        std::map<std::string, double> all;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            if (!line.starts_with("#"))
                all[line.substr(0, line.rfind(' '))] = std::stod(line.substr(line.rfind(' ')));
        return all;
    }
    std::map<std::string, double> ask()
    {
        const auto process = run({PTZCTL_FILE, "metrics"}, "metrics.log");
        EXPECT_EQ(process->wait(), 0);
        text = process->output();
        return samples(text);
    }

    std::string text; // of the last
};

TEST_F(MetricsOf, AreWhatWasDone)
{
    start_sim();
    start_ptzd({"--metrics", folder.file("ptz.prom")});
    await_state(1);
    const auto before = ask();
    const auto grown = [&](const std::map<std::string, double> &now, const std::string &name) {
        const auto was = before.find(name);
        return now.contains(name) ? now.at(name) - (was == before.end() ? 0 : was->second) : -1;
    };
    for (const char *place : {"pan=1", "pan=2", "pan=3"})
        ptzctl({"move", place, "--wait"});
    const std::string checksum = "ptz_frames_total{outcome=\"checksum\"}";
    const std::string length = "ptz_frames_total{outcome=\"length\"}";
    sim_command("fault bad-checksum 2");
    run_until([&] { return ask().at(checksum) >= 2; });
    sim_command("fault stretch-frame once");
    run_until([&] { return ask().at(length) >= 1; });
    sim_command("fault silence for 60s");
    run_until([this] { return ask().at("ptz_link_up") == 0; });
    sim_command("clear faults");
    run_until([this] { return ask().at("ptz_link_up") == 1; });

    const auto now = ask();
    const std::string pan = "{record=\"Pan position\"}";
    EXPECT_EQ(grown(now, "ptz_command_seconds_count" + pan), 3);
    EXPECT_EQ(grown(now, "ptz_command_failures_total" + pan), 0);
    EXPECT_EQ(now.at(checksum), 2);
    EXPECT_EQ(now.at(length), 1);
    EXPECT_EQ(grown(now, "ptz_link_outages_total"), 1);
    EXPECT_GT(grown(now, "ptz_frames_total{outcome=\"good\"}"), 3);
    EXPECT_GT(now.at("ptz_refresh_age_seconds{quantile=\"0.5\"}"), 0.005);
    EXPECT_EQ(now.at("ptz_state"), 1);
    EXPECT_EQ(now.at("ptz_temperature_celsius"), 40);
    // Every family has its two lines, ahead of its samples.
    for (const auto &[name, value] : now) {
        std::string family = name.substr(0, name.find('{'));
        for (const char *end : {"_sum", "_count"})
            if (family.ends_with(end))
                family.resize(family.rfind('_'));
        EXPECT_LT(text.find("# TYPE " + family + " "), text.find("\n" + name + " ")) << name;
    }
    EXPECT_NE(ptzctl({"metrics"}).find(R"({"name":"ptz_frames_total","outcome":"checksum","value":2})"),
              std::string::npos);
    ptzd->signal(SIGTERM);
    EXPECT_EQ(ptzd->wait(), 0);
    EXPECT_EQ(samples(folder.read("ptz.prom")).at("ptz_command_seconds_count" + pan),
              now.at("ptz_command_seconds_count" + pan));
}

} // namespace
