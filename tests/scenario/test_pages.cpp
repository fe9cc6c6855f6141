// The commands on the pages do what the pages say: every block of them runs, in its order, as somebody would type it.
#include "tests/scenario/system_fixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Pages : public SystemTest {
  protected:
    // What stands on a page between "```LANGUAGE" and "```", without the indent of the fence.
    static std::string blocks(const fs::path &page, const std::string &language)
    {
        std::ifstream file(page);
        std::string text, line;
        for (std::size_t indent = std::string::npos; std::getline(file, line);) {
            const std::size_t fence = line.find("```");
            if (fence == std::string::npos)
                text += indent == std::string::npos ? "" : line.substr(std::min(indent, line.size())) + "\n";
            else
                indent = line == std::string(fence, ' ') + "```" + language ? fence : std::string::npos;
        }
        return text;
    }
    // With the programs of this build in front, an error ending it.
    std::string run_script(const std::string &interpreter, const std::string &text, std::vector<std::string> words = {})
    {
        std::string path;
        for (const char *program : {PTZCTL_FILE, KRX_IMAGE_FILE, PTZD_FILE})
            path += fs::path(program).parent_path().string() + ":";
        folder.write("script", text);
        std::vector<std::string> command{"/usr/bin/env", "PATH=" + path + "/usr/bin:/bin", interpreter};
        if (interpreter == "bash")
            command.insert(command.end(), {"-e", "-x"});
        command.push_back(folder.file("script"));
        command.insert(command.end(), words.begin(), words.end());
        const std::unique_ptr<Process> script = run(command, "script.log");
        EXPECT_EQ(script->wait(), 0) << script->output();
        return script->output();
    }
};

TEST_F(Pages, EveryCommandOnThemRuns)
{
    start_all();
    std::vector<fs::path> all = {fs::path(DOCS).parent_path() / "README.md"};
    for (const auto &entry : fs::directory_iterator(DOCS))
        all.push_back(entry.path());
    std::size_t pages = 0;
    for (const fs::path &page : all) {
        const std::string commands = blocks(page, "sh");
        if (commands.empty())
            continue;
        SCOPED_TRACE(page);
        ++pages;
        run_script("bash", "cd " + folder.path().string() + "\n" + commands);
    }
    EXPECT_GE(pages, 3u);
    EXPECT_EQ(sim_value("Firmware"), 0x01020310);
    EXPECT_EQ(sim_counts("Offences"), Counts{});
}

TEST_F(Pages, TheClientMovesTheCamera)
{
    start_all();
    const std::string program = blocks(fs::path(DOCS) / "client.md", "python");
    EXPECT_LE(std::count(program.begin(), program.end(), '\n'), 35);
    EXPECT_THAT(run_script("python3", program, {"12", "-5"}), HasSubstr("reached: pan 12.00, tilt -5.00 degrees"));
}

} // namespace
