// Lines of a kernel that exists only in the test: its sysfs is a folder, its character devices answer from here.
#include "tests/support/temp_folder.h"
#include "ugpio/ugpio.h"
#include "ugpio/ugpio_kernel.h"

#include <gtest/gtest.h>
#include <linux/gpio.h>
#include <map>
#include <poll.h>
#include <set>

namespace {

namespace fs = std::filesystem;
using Lines = std::map<std::string, std::string>;

struct Chip {
    std::string parent; // the hardware's folder below devices/, if it has one
    int base;
    bool own_names = false; // its driver's, under which its lines are exported
    std::vector<std::string> names = {"", "", "", "", "", "imc_req", "", "cam_power"};
};

// The only kernel of this program, as no other test has lines without a board.
class FakeKernel {
  public:
    explicit FakeKernel(std::map<std::string, Chip> with) : chips(std::move(with))
    {
        setenv("UGPIO_DEV_ROOT", folder.file("dev").c_str(), 1);
        folder.write("class/gpio/export", "");
        folder.write("bus/gpio/devices/none", "");
        for (const auto &[name, chip] : chips)
            plug(name, chip);
        current = this;
        ugpio_internal::kernel_calls = {
            [](const char *path, unsigned long request, void *arg) {
                return current->result(current->ask_chip(fs::path(path).filename(), request, arg));
            },
            [](int, unsigned long request, void *arg) { return current->result(current->ask_line(request, arg)); },
            [](const char *path, const char *text) { return current->result(current->write(path, text)); }};
    }
    ~FakeKernel() { unsetenv("UGPIO_DEV_ROOT"); }

    // What the kernel makes of a new chip.
    void plug(const std::string &name, const Chip &chip)
    {
        const std::string hardware = chip.parent.empty() ? device(name) : "devices/" + chip.parent,
                          number = "gpiochip" + std::to_string(chip.base), at = hardware + "/gpio/" + number;
        folder.write(device(name) + "/dev", "");
        folder.write("dev/" + name, "");
        folder.write(at + "/base", std::to_string(chip.base) + "\n");
        folder.write(at + "/ngpio", std::to_string(chip.names.size()) + "\n");
        link(hardware, at + "/device");
        link(at, "class/gpio/" + number);
        link(device(name), "bus/gpio/devices/" + name);
    }
    std::string configured() const
    {
        return std::to_string(config.flags) + " " + std::to_string(config.attrs[0].attr.values);
    }

    TempFolder folder{"UGPIO_SYSFS_ROOT"};
    std::map<std::string, Chip> chips;
    std::set<std::string> unreadable, held; // chips; lines that somebody else has
    bool old = false;                       // before the second version of the character devices
    Lines lines; // that are exported, "gpiochip0/gpio37", with what was written to an attribute of theirs last
    int calls = 0, taken = 0, line_error = 0, level = 0;
    gpio_v2_line_config config{};   // of a line that was taken
    ugpio_internal::OwnedFd events; // what is written here, the line that was taken last reads

  private:
    static inline FakeKernel *current = nullptr;

    int result(int error) { return ++calls, error == 0 ? 0 : (errno = error, -1); }

    std::string device(const std::string &name) const { return fs::path("devices") / chips.at(name).parent / name; }

    void link(const std::string &to, const std::string &from) const
    {
        fs::remove(folder.file(from));
        fs::create_directory_symlink(folder.file(to), folder.file(from));
    }

    int ask_chip(const std::string &chip, unsigned long request, void *arg)
    {
        const auto &names = chips.at(chip).names;
        const bool version_two = request == GPIO_V2_GET_LINEINFO_IOCTL || request == GPIO_V2_GET_LINE_IOCTL;
        if (unreadable.contains(chip) || (old && version_two))
            return old && version_two ? EINVAL : EACCES;
        if (request == GPIO_GET_CHIPINFO_IOCTL)
            static_cast<gpiochip_info *>(arg)->lines = static_cast<std::uint32_t>(names.size());
        else if (auto *older = static_cast<gpioline_info *>(arg); request == GPIO_GET_LINEINFO_IOCTL)
            names.at(older->line_offset).copy(older->name, sizeof older->name);
        else if (auto *info = static_cast<gpio_v2_line_info *>(arg); request == GPIO_V2_GET_LINEINFO_IOCTL)
            names.at(info->offset).copy(info->name, sizeof info->name);
        else
            return take(*static_cast<gpio_v2_line_request *>(arg), names);
        return 0;
    }

    int take(gpio_v2_line_request &line, const std::vector<std::string> &names)
    {
        int ends[2];
        if (held.contains(names.at(line.offsets[0])) || pipe(ends) != 0)
            return EBUSY;
        line.fd = ends[0];
        events = ugpio_internal::OwnedFd(ends[1]);
        ++taken;
        return line_error = 0;
    }

    int ask_line(unsigned long request, void *arg)
    {
        if (line_error == 0 && request == GPIO_V2_LINE_SET_CONFIG_IOCTL)
            config = *static_cast<gpio_v2_line_config *>(arg);
        else if (line_error == 0)
            static_cast<gpio_v2_line_values *>(arg)->bits = static_cast<std::uint64_t>(level);
        return line_error;
    }

    int write(const fs::path &path, const std::string &text)
    {
        const std::string file = path.filename();
        if (file != "export" && file != "unexport") {
            const fs::path line = path.parent_path(), chip = line.parent_path().parent_path();
            return fs::exists(path) ? (lines[chip.filename() / line.filename()] = text, 0) : ENOENT;
        }
        for (const auto &[name, chip] : chips) {
            const auto offset = static_cast<std::size_t>(std::stoi(text) - chip.base);
            if (offset >= chip.names.size())
                continue;
            const bool own = chip.own_names && !chip.names[offset].empty();
            const std::string entry = own ? chip.names[offset] : "gpio" + text, at = device(name) + "/gpio/" + entry,
                              line = fs::path(name) / entry;
            if (file == "unexport") {
                lines.erase(line);
                fs::remove(folder.file("class/gpio/" + entry));
                return fs::remove_all(folder.file(at)) > 0 ? 0 : EINVAL;
            }
            if (fs::exists(folder.file(at)) || held.contains(chip.names[offset]))
                return EBUSY;
            for (const char *attribute : {"/value", "/direction", "/edge"})
                folder.write(at + attribute, "1\n");
            link(device(name), at + "/device");
            link(at, "class/gpio/" + entry);
            lines[line];
            return 0;
        }
        return EINVAL;
    }
};

// The error of a request by number or by name, 0 for none.
int drive(const char *which, unsigned flags)
{
    const int number = std::atoi(which);
    ugpio *line = number ? ugpio_request_one(number, flags, nullptr) : ugpio_request_one_named(which, flags);
    const int error = line ? 0 : errno;
    ugpio_free(line);
    return error;
}

const std::vector<std::string> NAMELESS(8);

TEST(KernelLines, AreThoseOfTheirChipBesideATwinUnderEitherName)
{
    for (const auto &[parent, base] : {std::pair("", 16), {"", 64}, {"board", 16}, {"board", 64}, {"other", 64}})
        for (const bool own : {false, true}) {
            FakeKernel kernel({{"gpiochip0", {"board", 32, own}}, {"gpiochip1", {parent, base, false, NAMELESS}}});
            kernel.old = base == 16;
            const std::string line = own ? "gpiochip0/imc_req" : "gpiochip0/gpio37";
            EXPECT_EQ(drive("imc_req", UGPIO_OUT_HIGH), 0);
            EXPECT_EQ(kernel.lines, (Lines{{line, "high"}})) << parent << base;
            // Two chips on one piece of hardware cannot be told apart by the numbers of lines with names of their own.
            const bool either = own && parent == std::string("board");
            EXPECT_EQ(drive("37", UGPIO_OUT_LOW), either ? EBUSY : 0);
            EXPECT_EQ(drive("39", UGPIO_IN), either ? ENOTUNIQ : 0);
            EXPECT_EQ(kernel.lines.size(), either ? 1u : 2u);
            EXPECT_EQ(kernel.lines[line], either ? "high" : "low") << parent << base;
        }
}

TEST(KernelLines, FailWithTheTrueErrorAndLookingForANameTakesNothing)
{
    FakeKernel kernel({{"gpiochip0", {"board", 32}}, {"gpiochip1", {"", 64, false, {"spare"}}}});
    const auto named = [](const char *name) { return errno = 0, std::pair(ugpio_is_named(name), errno); };
    EXPECT_EQ(named("imc_req").first, 1);
    EXPECT_EQ(named("cam_sofa"), std::pair(0, ENOENT));
    kernel.unreadable = {"gpiochip0"};
    EXPECT_EQ(named("imc_req"), std::pair(-1, EACCES));
    EXPECT_EQ(named("spare").first, 1);
    EXPECT_EQ(drive("imc_req", UGPIO_IN), EACCES);
    kernel.unreadable.clear();
    kernel.held = {"imc_req"};
    EXPECT_EQ(drive("imc_req", UGPIO_IN), EBUSY);
    EXPECT_EQ(drive("37", UGPIO_IN), EBUSY);
    EXPECT_EQ(drive("99", UGPIO_IN), EINVAL);
    EXPECT_EQ(kernel.lines, Lines{});
}

TEST(KernelLines, AreFoundOnceAndAgainWhenTheirChipHasMoved)
{
    FakeKernel kernel({{"gpiochip0", {"board", 32}}});
    for (const int base : {32, 480}) {
        fs::remove_all(kernel.folder.file("devices/board"));
        fs::remove(kernel.folder.file("class/gpio/gpiochip32"));
        kernel.plug("gpiochip0", kernel.chips["gpiochip0"] = {"board", base});
        EXPECT_EQ(drive("imc_req", UGPIO_OUT_HIGH), 0);
        kernel.calls = 0;
        ugpio *line = ugpio_request_named("imc_req");
        EXPECT_EQ(ugpio_full_open(line), 0);
        EXPECT_EQ(ugpio_get_value(line), 1);
        EXPECT_EQ(kernel.calls, 0);
        EXPECT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
        EXPECT_EQ(kernel.lines["gpiochip0/gpio" + std::to_string(base + 5)], "rising");
        ugpio_free(line);
    }
}

TEST(KernelLines, WithoutSysfsAreTakenFromTheirChipAndTellOfEdges)
{
    FakeKernel kernel({{"gpiochip0", {"board", 32}}, {"gpiochip1", {"board", 64, false, NAMELESS}}});
    fs::remove_all(kernel.folder.file("class"));
    EXPECT_EQ(drive("37", UGPIO_IN), EOPNOTSUPP);
    kernel.held = {"cam_power"};
    EXPECT_EQ(drive("cam_power", UGPIO_OUT_LOW), EBUSY);
    kernel.held.clear();
    for (const auto &[use, config] : {std::pair(UGPIO_OUT_LOW, "8 0"), {UGPIO_OUT_HIGH, "8 1"}, {UGPIO_IN, "4 0"}}) {
        EXPECT_EQ(drive("cam_power", use), 0);
        EXPECT_EQ(kernel.configured(), config); // output 8, input 4
    }
    EXPECT_EQ(kernel.taken, 1); // and held from then on, as an output goes with its holder

    ugpio *line = ugpio_request_named("imc_req");
    EXPECT_EQ(ugpio_full_open(line) + ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    EXPECT_EQ(kernel.configured(), "20 0"); // an input with rising edges, 16
    const int fd = ugpio_fd(line);
    // From the start, then after each edge until the level is read.
    for (const bool pending : {true, false, true, false, true}) {
        pollfd entry{fd, POLLPRI, 0};
        EXPECT_EQ(poll(&entry, 1, pending ? 30000 : 0) == 1 && (entry.revents & POLLPRI) != 0, pending);
        EXPECT_EQ(ugpio_get_value(line), kernel.level);
        kernel.level = pending ? 0 : 1;
        const gpio_v2_line_event edge{};
        EXPECT_GE(pending ? 0 : write(kernel.events.get(), &edge, sizeof edge), 0);
    }
    kernel.line_error = ENODEV; // the chip goes and comes back
    EXPECT_EQ(ugpio_get_value(line), 0);
    EXPECT_EQ(kernel.taken, 3);
    ugpio_free(line);
    EXPECT_EQ(close(fd), 0);
}

} // namespace
