// Parameters and what other services decide, through the real programs.
#include "tests/scenario/system_fixture.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

// Every match of a pattern: the whole and its groups.
std::vector<Texts> all_matches(const std::string &text, const char *pattern)
{
    std::vector<Texts> matches;
    GRegex *regex = g_regex_new(pattern, static_cast<GRegexCompileFlags>(0), static_cast<GRegexMatchFlags>(0), nullptr);
    GMatchInfo *match = nullptr;
    for (g_regex_match(regex, text.c_str(), static_cast<GRegexMatchFlags>(0), &match); g_match_info_matches(match);
         g_match_info_next(match, nullptr)) {
        char **groups = g_match_info_fetch_all(match);
        matches.emplace_back(groups, groups + g_strv_length(groups));
        g_strfreev(groups);
    }
    g_match_info_unref(match);
    g_regex_unref(regex);
    return matches;
}

// "off|Off, on|All" as "off, on".
std::string without_labels(std::string choices)
{
    for (std::size_t bar = choices.find('|'); bar != std::string::npos; bar = choices.find('|'))
        choices.erase(bar, choices.find(',', bar) - bar);
    return choices;
}

using SystemCapture = SystemTest;

TEST_F(SystemCapture, EveryParameterIsAsDocumentedAndReachesTheCamera)
{
    start_all();
    std::ifstream file(PARAMETERS_MD);
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const std::string listed = ptzctl({"params"});
    const std::vector<Texts> params =
        all_matches(listed, "\"group\":\"(\\w+)\",\"name\":\"(\\w+)\",\"display\":\"[^\"]*\",\"kind\":\"(\\w+)\","
                            "\"default\":\"([^\"]*)\",\"range\":\"([^\"]*)\",\"writable\":(\\w+)");
    EXPECT_EQ(params.size(), all_matches(page, "\n\\| `").size()); // nothing stands in the page that ptzd does not have
    for (const Texts &part : params) {
        const std::string range = without_labels(part[5]);
        const std::string row = "| `" + part[2] + "` | " + part[3] + " | " + part[4] + " | " + range;
        EXPECT_NE(page.find(row + " | "), std::string::npos) << row;
        const std::string first = range.substr(0, range.find_first_of(".,")); // of what is allowed
        if (part[6] == "true")
            ptzctl({"params", "set", part[1] + "." + part[2], part[4].empty() ? first : part[4]});
    }
    const Counts records = sim_counts("Records");
    for (const char *row : {"Auto focus near limit", "Brightness level", "Colour hue", "Colour level", "Defog effect",
                            "Exposure mode", "Gain", "IR correction", "Maximum gain", "Shutter limits",
                            "Spot exposure position", "White balance blue gain set"})
        EXPECT_GT(records.count(row) != 0 ? records.at(row) : 0u, 1u) << row; // once at the start, once by its name
    EXPECT_EQ(sim_counts("Offences"), Counts{});
    EXPECT_EQ(logged("Faulty type"), 0u);
}

TEST_F(SystemCapture, FollowsTheImagePipelineWithARestartWhereNeeded)
{
    start_sim({"--verbose"});
    start_ptzd();
    await_state(1);
    ptzctl({"params", "set", "ImageSource.Sharpness", "77"});
    const std::size_t descriptors = ptzd_descriptors();
    const std::size_t before = logged_in_sim("block off");
    for (const char *mode : {"1080p50", "720p60", "1080p50"}) { // each of another frequency than the one before
        sim_command(std::string("set video-capture-mode ") + mode);
        const unsigned switches = sim_counts("Records")["Sensor capture mode"];
        const unsigned sharpness = sim_counts("Records")["Sharpness"];
        sim_command("set capture-frequency 50");
        run_until([&] { return sim_counts("Records")["Sharpness"] > sharpness; });
        await_state(1);
        EXPECT_EQ(sim_counts("Records")["Sensor capture mode"], switches + 1); // one subscription, one refresh
    }
    EXPECT_GE(logged_in_sim("block off"), before + 3);
    sim_command("set video-capture-mode 720p25"); // the same frequency: no restart
    const std::size_t now = logged_in_sim("block off");
    const unsigned rates = sim_counts("Records")["Capture frame rate"];
    sim_command("set capture-frequency 25");
    run_until([&] { return sim_counts("Records")["Capture frame rate"] > rates; });
    EXPECT_EQ(logged_in_sim("block off"), now);
    sim_command("set rotation 180");
    run_until([&] { return logged_in_sim("Rotation 1") > 0; });
    await_state(1);
    run_until([&] { return ptzd_descriptors() <= descriptors; }); // one may be open for a moment
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(SystemCapture, ServicesThatFailLeaveACameraThatComesBack)
{
    start_all();
    for (const char *fault : {"missing", "error", "wrong-type", "garbage"}) {
        SCOPED_TRACE(fault);
        sim_command(std::string("fault image-control ") + fault);
        const std::size_t failures = logged("Fatal error, failed to initialize capture mode");
        const ReplyPtr reset = client.send("RunSpecialCommand", "('reset',)");
        run_until([&] { return reset->done; });
        await_state(7);
        EXPECT_EQ(logged("Fatal error, failed to initialize capture mode"), failures + 1);
        sim_command("clear faults");
        ptzctl({"special", "reset"});
        await_state(1);
    }
    sim_command("fault streamer missing");
    ptzctl({"special", "reset"});
    await_state(1); // not fatal
    EXPECT_EQ(logged("Could not get rotation."), 1u);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

} // namespace
