// Runs every target over the inputs that are kept for it: FOLDER/TARGET/*, in each folder of the command line.
#include "fuzz/target.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

int replay(const fuzz::Target &target, const std::filesystem::path &folder)
{
    std::error_code none; // most targets have no findings
    std::vector<std::filesystem::path> files;
    for (const auto &entry : std::filesystem::directory_iterator(folder / target.name, none))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const auto &file : files) {
        // Said before it runs, so that the last line names the one that ended the program.
        std::fprintf(stderr, "%s\n", file.c_str());
        std::ifstream stream(file, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
        fuzz::run(target, {reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()});
    }
    return static_cast<int>(files.size());
}

} // namespace

int main(int argc, char **argv)
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr) // what the targets print
        return 1;
    for (const fuzz::Target &target : fuzz::targets()) {
        int inputs = 0;
        for (int i = 1; i < argc; ++i)
            inputs += replay(target, argv[i]);
        if (inputs == 0) {
            std::fprintf(stderr, "%s: nothing to replay\n", target.name);
            return 1;
        }
    }
    std::fprintf(stderr, "%zu targets\n", fuzz::targets().size());
    return 0;
}
