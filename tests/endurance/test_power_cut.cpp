// What a loss of power leaves of what is kept. The file operations of this program in one folder are noted on their way
// to the C library, and after each of them every disk is worked out that may be found then: a file that was not synced
// has what it had when it was, or all, half or zeros of what was written since; names that were not synced with their
// folder are there in the order in which they came, up to any of them.
#include "glib_owned.h"
#include "ptzorvel/ptzd/param_keeper.h"
#include "ptzorvel/ptzd/upgrade_log.h"
#include "tests/support/temp_folder.h"

#include <algorithm>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <map>
#include <sys/stat.h>

namespace {

struct File {
    std::string now, safe;
};
using FilePtr = std::shared_ptr<File>; // null: a folder

// A name is taken away, given, or both; safe once its folder is.
struct Naming {
    std::string taken, given;
    FilePtr file;
    bool safe = false;
};

using Disk = std::map<std::string, std::optional<std::string>>; // path -> content, a folder has none

std::string watched; // the folder; empty: none
std::map<int, std::pair<std::string, FilePtr>> opened;
std::vector<Naming> namings;
std::vector<std::vector<Disk>> found; // after each operation

// The path below the watched folder; empty: it is elsewhere.
std::string below(const char *path)
{
    const std::string text = path;
    return !watched.empty() && text.starts_with(watched + "/") ? text.substr(watched.size() + 1) : "";
}

std::string folder_of(const std::string &path)
{
    return std::filesystem::path(path).parent_path();
}

// With the first so many of the names that are not safe.
std::map<std::string, FilePtr> names(std::size_t unsafe)
{
    std::map<std::string, FilePtr> all;
    for (const Naming &naming : namings) {
        if (!naming.safe && unsafe == 0)
            continue;
        unsafe -= naming.safe ? 0 : 1;
        all.erase(naming.taken);
        if (!naming.given.empty())
            all[naming.given] = naming.file;
    }
    // With a folder goes what is in it; in the order of names it comes first.
    for (auto entry = all.begin(); entry != all.end();) {
        const std::string folder = folder_of(entry->first);
        entry = folder.empty() || all.contains(folder) ? std::next(entry) : all.erase(entry);
    }
    return all;
}

void note()
{
    std::vector<Disk> &disks = found.emplace_back();
    const auto unsafe = std::count_if(namings.begin(), namings.end(), [](const Naming &one) { return !one.safe; });
    for (std::size_t named = 0; named <= static_cast<std::size_t>(unsafe); ++named) {
        for (const std::size_t fate : {0U, 1U, 2U, 3U}) {
            Disk &disk = disks.emplace_back();
            for (const auto &[path, file] : names(named)) {
                if (file == nullptr) {
                    disk[path] = std::nullopt;
                    continue;
                }
                const auto &[now, safe] = *file;
                disk[path] = std::array{safe, now, now.substr(0, now.size() / 2),
                                        std::string(now.size(), '\0')}[now == safe ? 0 : fate];
            }
        }
    }
}

#define NEXT(function) reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function))

int note_open(const char *path, int flags, int fd)
{
    const std::string name = below(path);
    if (fd < 0 || (name.empty() && path != watched))
        return fd;
    const auto all = names(namings.size());
    const auto known = all.find(name);
    opened[fd] = {name, known != all.end() ? known->second : nullptr};
    if (known == all.end() && (flags & O_CREAT) != 0) {
        namings.push_back({"", name, opened[fd].second = std::make_shared<File>()});
        note();
    }
    return fd;
}

} // namespace

#pragma GCC visibility push(default)
extern "C" {

int open(const char *path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return note_open(path, flags, NEXT(open)(path, flags, mode));
}

int mkdir(const char *path, mode_t mode) noexcept
{
    const int result = NEXT(mkdir)(path, mode);
    if (const std::string name = below(path); result == 0 && !name.empty()) {
        namings.push_back({"", name, nullptr});
        note();
    }
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
    const auto file = opened.find(fd);
    if (file == opened.end())
        return NEXT(fsync)(fd);
    if (const auto &[path, content] = file->second; content != nullptr) {
        content->safe = content->now;
    } else {
        for (Naming &one : namings)
            one.safe |= folder_of(one.given.empty() ? one.taken : one.given) == path;
    }
    note();
    return 0;
}

int close(int fd)
{
    opened.erase(fd);
    return NEXT(close)(fd);
}

int rename(const char *from, const char *to) noexcept
{
    const int result = NEXT(rename)(from, to);
    if (const std::string name = below(from); result == 0 && !name.empty()) {
        namings.push_back({name, below(to), names(namings.size()).at(name)});
        note();
    }
    return result;
}

int unlink(const char *path) noexcept
{
    const int result = NEXT(unlink)(path);
    if (const std::string name = below(path); result == 0 && !name.empty()) {
        namings.push_back({name, "", nullptr});
        note();
    }
    return result;
}
}
#pragma GCC visibility pop

namespace {

Disk what_is_there(const std::filesystem::path &folder)
{
    Disk disk;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        std::ifstream stream(entry.path());
        disk[std::filesystem::relative(entry.path(), folder)] =
            entry.is_directory() ? std::nullopt
                                 : std::optional(std::string(std::istreambuf_iterator<char>(stream), {}));
    }
    return disk;
}

void build(const Disk &disk, const std::filesystem::path &folder)
{
    for (const auto &[path, content] : disk) {
        if (content)
            std::ofstream(folder / path) << *content;
        else
            std::filesystem::create_directory(folder / path);
    }
}

// What is kept in a state folder: how, and what is read back.
struct Kept {
    const char *file, *nothing, *values[2];
    void (*keep)(const std::string &folder, const char *value);
    std::string (*load)(const std::string &folder);
};

constexpr PTZParamDefinition kParams[] = {
    {PTZ_PARAM_INTEGER, "MinPan", "Lower end", "-170", 0x81, PTZ_CONTROL_PLAIN, "-170..170"},
    {PTZ_PARAM_END, nullptr, nullptr, nullptr, 0, 0, nullptr},
};

struct Params {
    explicit Params(const std::string &folder) : keeper(folder)
    {
        group->add_table(kParams);
        keeper.load(store);
    }
    ParamStore store;
    PTZDynamicalProperties *group = store.group("Limit", true);
    ParamKeeper keeper;
};

constexpr Kept kKept[] = {
    {"parameters.conf",
     "-170",
     {"-90", "15"},
     [](const std::string &folder, const char *value) {
         Params params(folder);
         params.group->set("MinPan", std::atoi(value));
         std::promise<std::string> problem;
         params.keeper.save(params.store, [&](const std::string &text) { problem.set_value(text); });
         EXPECT_EQ(problem.get_future().get(), "");
     },
     [](const std::string &folder) { return param_value_to_text(Params(folder).group->find("MinPan")->value); }},
    {"upgrade.conf",
     "",
     {"given up", "done"},
     [](const std::string &folder, const char *value) {
         UpgradeLog(folder).ended({"image", "01", "02", 9, 9, value}, true);
     },
     [](const std::string &folder) {
         GVariant *last = UpgradeLog(folder).variant();
         if (last == nullptr)
             return std::string();
         const GVariantOwned owned(g_variant_ref_sink(last));
         const char *result = "";
         g_variant_lookup(last, "result", "&s", &result);
         return std::string(result);
     }},
};

TEST(PowerCut, LeavesTheOldOrTheNewAndNothingBesideWhenItComesAndTheNewWhenItWasAcknowledged)
{
    for (const auto &[file, nothing, values, keep, load] : kKept) {
        const TempFolder folder;
        std::string former = nothing;
        namings.clear();
        for (const char *value : values) {
            found.clear();
            watched = folder.path();
            keep(folder.file("made/state"), value);
            watched.clear();
            ASSERT_GE(found.size(), 4u);
            EXPECT_EQ(found.back()[0], what_is_there(folder.path())); // all was seen, and is safe
            for (std::size_t step = 0; step < found.size(); ++step) {
                for (const Disk &disk : found[step]) {
                    const TempFolder copy;
                    build(disk, copy.path());
                    const std::string loaded = load(copy.file("made/state"));
                    const bool acknowledged = step + 1 == found.size();
                    EXPECT_TRUE(loaded == value || (loaded == former && !acknowledged))
                        << file << " after operation " << step << " of " << value << ": " << loaded;
                    for (const auto &[path, content] : what_is_there(copy.path()))
                        EXPECT_TRUE(!content || path == "made/state/" + std::string(file)) << path;
                }
            }
            former = value;
        }
    }
}

} // namespace
