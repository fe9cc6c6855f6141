// What a loss of power leaves of what is kept. The file operations of this program in one folder are noted on their way
// to the C library, and after each of them every disk is worked out that may be found then: a file that was not synced
// has what it had when it was, or all, half or zeros of what was written since; names that were not synced with their
// folder are there in the order in which they came, up to any of them.
#include "glib_owned.h"
#include "ptzorvel/ptzd/param_file.h"
#include "ptzorvel/ptzd/presets.h"
#include "ptzorvel/ptzd/state_file.h"
#include "ptzorvel/ptzd/upgrade_log.h"
#include "tests/support/temp_folder.h"

#include <algorithm>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

namespace {

struct File {
    std::string now, safe;
};
using FilePtr = std::shared_ptr<File>; // null: a folder
using Names = std::map<std::string, FilePtr>;

// A name is given, perhaps in the place of another; safe once its folder is.
struct Naming {
    std::string given, taken;
    FilePtr file;
    bool safe = false;
};

constexpr char kFolder[] = "/"; // no content of a file
using Disk = std::map<std::string, std::string>;

std::string watched; // the folder; empty: none yet
std::map<int, std::pair<std::string, FilePtr>> opened;
std::vector<Naming> namings;
std::vector<std::vector<Disk>> found; // after each operation

// The path below the watched folder; empty: it is elsewhere.
std::string below(const std::string &path)
{
    return !watched.empty() && path.starts_with(watched + "/") ? path.substr(watched.size() + 1) : "";
}

std::string folder_of(const std::string &path)
{
    return std::filesystem::path(path).parent_path();
}

// With the first so many of the names that are not safe.
Names names(std::size_t unsafe)
{
    Names all;
    for (const Naming &naming : namings) {
        if (!naming.safe && unsafe == 0)
            continue;
        unsafe -= naming.safe ? 0 : 1;
        all.erase(naming.taken);
        // What is in a folder that is lost is lost.
        if (folder_of(naming.given).empty() || all.contains(folder_of(naming.given)))
            all[naming.given] = naming.file;
    }
    return all;
}

void note()
{
    std::vector<Disk> &disks = found.emplace_back();
    for (std::size_t unsafe = 0; unsafe <= namings.size(); ++unsafe) {
        for (const std::size_t fate : {0U, 1U, 2U, 3U}) {
            Disk &disk = disks.emplace_back();
            for (const auto &[path, file] : names(unsafe)) {
                const auto &[now, safe] = file != nullptr ? *file : File{kFolder, kFolder};
                disk[path] = std::array{safe, now, now.substr(0, now.size() / 2),
                                        std::string(now.size(), '\0')}[now == safe ? 0 : fate];
            }
        }
    }
}

void name(const std::string &given, const std::string &taken, const FilePtr &file)
{
    namings.push_back({given, taken, file});
    note();
}

} // namespace

#define NEXT(function) reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))
#pragma GCC visibility push(default)
extern "C" {

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const int fd = NEXT(open)(path, flags, va_arg(rest, mode_t));
    va_end(rest);
    const std::string below_it = below(path);
    if (fd < 0 || watched.empty() || (below_it.empty() && path != watched))
        return fd;
    const Names all = names(namings.size());
    const auto known = all.find(below_it);
    const bool made = known == all.end() && (flags & O_CREAT) != 0;
    opened[fd] = {below_it, made ? std::make_shared<File>() : known != all.end() ? known->second : nullptr};
    if (made)
        name(below_it, "", opened[fd].second);
    return fd;
}

int mkdir(const char *path, mode_t mode) noexcept
{
    const int result = NEXT(mkdir)(path, mode);
    if (result == 0 && !below(path).empty())
        name(below(path), "", nullptr);
    return result;
}

ssize_t write(int fd, const void *bytes, size_t size)
{
    const ssize_t result = NEXT(write)(fd, bytes, size);
    if (const auto file = opened.find(fd); result > 0 && file != opened.end()) {
        file->second.second->now.append(static_cast<const char *>(bytes), static_cast<std::size_t>(result));
        note();
    }
    return result;
}

int fsync(int fd)
{
    if (const auto file = opened.find(fd); file != opened.end()) {
        const auto &[path, content] = file->second;
        if (content != nullptr)
            content->safe = content->now;
        for (Naming &one : namings)
            one.safe |= content == nullptr && folder_of(one.given) == path;
        note();
    }
    return NEXT(fsync)(fd);
}

int close(int fd)
{
    if (!watched.empty())
        opened.erase(fd);
    return NEXT(close)(fd);
}

int rename(const char *from, const char *to) noexcept
{
    const int result = NEXT(rename)(from, to);
    if (result == 0 && !below(from).empty())
        name(below(to), below(from), names(namings.size()).at(below(from)));
    return result;
}
}
#pragma GCC visibility pop

namespace {

// What is kept in a state folder: two values one after the other, how, and what is read back.
struct Kept {
    const char *file, *nothing, *values[2];
    void (*keep)(const std::string &folder, const char *value);
    std::string (*load)(const std::string &folder);
};

struct Params : ParamStore {
    explicit Params(const std::string &folder)
    {
        static constexpr PTZParamDefinition kTable[] = {
            {PTZ_PARAM_INTEGER, "MinPan", "Lower end", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
            {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
        };
        group("Limit", true)->add_table(kTable);
        remove_stray_params(folder);
        load_params(folder, *this);
    }
};

constexpr Kept kKept[] = {
    {"parameters.conf",
     "-170",
     {"-90", "15"},
     [](const std::string &folder, const char *value) {
         Params params(folder);
         params.group("Limit")->set("MinPan", std::atoi(value));
         EXPECT_EQ(write_state_file(folder, kParamFile, params_text(params)), "");
     },
     [](const std::string &folder) {
         return param_value_to_text(Params(folder).group("Limit")->find("MinPan")->value);
     }},
    {"upgrade.conf",
     "",
     {"given up", "done"},
     [](const std::string &folder, const char *value) {
         UpgradeLog(folder).ended({"image", "01", "02", 9, 9, value}, true);
     },
     [](const std::string &folder) {
         const GVariantOwned last(UpgradeLog(folder).variant());
         const char *result = "";
         if (last != nullptr)
             g_variant_lookup(last.get(), "result", "&s", &result);
         return std::string(result);
     }},
    {kPresetFile,
     "",
     {"Door", "Gate"},
     [](const std::string &folder, const char *value) {
         PresetList list;
         EXPECT_EQ(list.put({{value, {10.0}, {}}}), std::nullopt);
         EXPECT_EQ(write_state_file(folder, kPresetFile, list.text()), "");
     },
     [](const std::string &folder) {
         const Presets presets({[](auto...) {}, [] { return 0u; }}, folder);
         return presets.all().empty() ? "" : presets.all()[0].name;
     }},
};

TEST(PowerCut, LeavesTheOldOrTheNewAndNothingBesideAndTheNewWhenItWasAcknowledged)
{
    for (const auto &[file, nothing, values, keep, load] : kKept) {
        const TempFolder folder;
        watched = folder.path();
        namings.clear();
        std::string former = nothing;
        for (const char *value : values) {
            found.clear();
            keep(folder.file("made/state"), value);
            for (std::size_t step = 0; step < found.size(); ++step) {
                for (const Disk &disk : found[step]) {
                    const TempFolder copy;
                    for (const auto &[path, content] : disk) {
                        if (content == kFolder)
                            std::filesystem::create_directory(copy.path() / path);
                        else
                            copy.write(path, content);
                    }
                    const std::string loaded = load(copy.file("made/state"));
                    EXPECT_TRUE(loaded == value || (loaded == former && step + 1 < found.size()))
                        << file << " after operation " << step << " of " << value << ": " << loaded;
                    for (const auto &entry : std::filesystem::recursive_directory_iterator(copy.path()))
                        EXPECT_TRUE(entry.is_directory() || entry.path().filename() == file) << entry.path();
                }
            }
            former = value;
        }
        EXPECT_GE(found.size(), 4U); // there was something to see
    }
}

} // namespace
