// The GPIO seam: a simulated board's lines, and the kernel's in a made-up folder.
#include "sim_fixture.h"

#include "ugpio/ugpio_backend.h"

#include <array>
#include <fcntl.h>
#include <functional>
#include <poll.h>
#include <unistd.h>

namespace {

using Lines = BoardTest;

bool edge_pending(int fd, int timeout_ms = 0)
{
    pollfd entry{fd, POLLPRI, 0};
    return poll(&entry, 1, timeout_ms) == 1 && (entry.revents & POLLPRI) != 0;
}

TEST_F(Lines, ManyHandlesAtATimeAreTheSameLineByNameAndByNumber)
{
    std::array<ugpio *, 20> handles{}; // more than are kept ready
    for (ugpio *&handle : handles) {
        handle = (&handle - handles.data()) % 2 == 0 ? ugpio_request_named("cam_power") : ugpio_request(40, nullptr);
        EXPECT_EQ(ugpio_full_open(handle), 0);
    }
    ugpio_free(ugpio_request_one(40, UGPIO_OUT_HIGH, "power"));
    for (ugpio *handle : handles) {
        EXPECT_EQ(ugpio_get_value(handle), 1); // kept after the release
        ugpio_free(handle);
    }
}

TEST_F(Lines, MissingNamesHandlesAndOpensAreRefused)
{
    ugpio *line = ugpio_request_named("imc_req");
    const std::pair<std::function<bool()>, int> refused[] = {
        {[] { return ugpio_request(39, nullptr) == nullptr; }, ENOENT},
        {[] { return ugpio_request_named("cam_sofa") == nullptr; }, ENOENT},
        {[] { return ugpio_request_named(nullptr) == nullptr; }, EINVAL},
        {[] { return ugpio_request_one_named(nullptr, 0) == nullptr; }, EINVAL},
        {[] { return ugpio_request(-1, "x") == nullptr; }, EINVAL},
        {[] { return ugpio_request_one(40, 7, nullptr) == nullptr; }, EINVAL},
        {[] { return ugpio_full_open(nullptr) == -1; }, EINVAL},
        {[] { return ugpio_get_value(nullptr) == -1; }, EINVAL},
        {[] { return ugpio_close(nullptr) == -1; }, EINVAL},
        {[&] { return ugpio_get_value(line) == -1; }, EBADF},
        {[&] { return ugpio_full_open(line) == 0 && ugpio_fd(line) == -1; }, EINVAL}, // no edge chosen
        {[&] { return ugpio_set_edge(line, 5) == -1; }, EINVAL}};
    for (const auto &[call, error] : refused) {
        EXPECT_TRUE(call());
        EXPECT_EQ(errno, error);
    }
    ugpio_free(line);
    ugpio_free(nullptr);
}

TEST_F(Lines, AnEdgeIsPendingUntilTheLevelIsRead)
{
    ugpio *line = ugpio_request_named("imc_req");
    ASSERT_EQ(ugpio_full_open(line), 0);
    ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    const int fd = ugpio_fd(line);
    const auto expect_edge = [&](int level) {
        EXPECT_TRUE(edge_pending(fd, 1000));
        EXPECT_EQ(ugpio_get_value(line), level);
        EXPECT_FALSE(edge_pending(fd));
    };
    expect_edge(0); // from the start
    power_up();
    expect_edge(1);
    for (int i = 0; i < 2; ++i) // falls and rises
        status();
    expect_edge(1);
    order("fault drop-edge");
    status();
    EXPECT_FALSE(edge_pending(fd));
    EXPECT_EQ(ugpio_get_value(line), 1);
    drive_line("cam_reset", false); // a falling edge is none
    EXPECT_FALSE(edge_pending(fd));

    // The descriptor is the caller's: it outlives the handle.
    EXPECT_EQ(ugpio_close(line), 0);
    ugpio_free(line);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    close(fd);
}

// The kernel's side, with ordinary files in its place.
class KernelLines : public testing::Test {
  protected:
    void SetUp() override
    {
        for (const char *file : {"export", "gpio12/value", "gpio12/direction", "gpio12/edge"})
            folder.write(std::string("gpio/") + file, "");
    }

    TempFolder folder;
    Environment board{"PTZ_BOARD", ""};
    Environment sysfs{"UGPIO_SYSFS_ROOT", folder.file("gpio")};
    Environment dev{"UGPIO_DEV_ROOT", folder.file("dev")};
};

TEST_F(KernelLines, ValueDirectionAndEdgeAreTheirFiles)
{
    ugpio *line = ugpio_request(12, "x");
    ASSERT_EQ(ugpio_full_open(line), 0);
    for (const auto &[text, level] : {std::pair{"1\n", 1}, {"0\n", 0}}) {
        folder.write("gpio/gpio12/value", text);
        EXPECT_EQ(ugpio_get_value(line), level);
    }
    EXPECT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    const int fd = ugpio_fd(line);
    ugpio_free(line);
    EXPECT_EQ(close(fd), 0);
    EXPECT_EQ(folder.read("gpio/gpio12/edge") + folder.read("gpio/gpio12/direction"), "rising");
    for (const auto &[flags, word] : {std::pair{UGPIO_OUT_HIGH, "high"}, {UGPIO_OUT_LOW, "low"}}) {
        folder.write("gpio/gpio12/direction", "");
        ugpio_free(ugpio_request_one(12, flags, nullptr));
        EXPECT_EQ(folder.read("gpio/gpio12/direction"), word);
    }
}

TEST_F(KernelLines, AnUnexportedLineIsExportedAndAMissingOneRefused)
{
    ugpio *line = ugpio_request(13, nullptr);
    EXPECT_EQ(folder.read("gpio/export"), "13");
    EXPECT_EQ(ugpio_full_open(line), -1); // no kernel has made the files
    EXPECT_EQ(errno, ENOENT);
    ugpio_free(line);
    EXPECT_EQ(ugpio_request_one(13, UGPIO_OUT_LOW, nullptr), nullptr);
    std::filesystem::remove(folder.file("gpio/export"));
    EXPECT_EQ(ugpio_request(13, nullptr), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(KernelLines, ANameIsFoundThroughItsChip)
{
    // Two chips of the same size; the second holds the line as its offset 2.
    const ugpio_internal::ChipReader reader{[](const char *path, std::string &label, unsigned &lines) {
                                                label = std::string(path).back() == '0' ? "bank-a" : "bank-b";
                                                lines = 3;
                                                return 0;
                                            },
                                            [](const char *path, unsigned offset, std::string &name) {
                                                name = std::string(path).back() == '1' && offset == 2 ? "imc_req" : "";
                                                return 0;
                                            }};
    for (const char *chip : {"dev/gpiochip0", "dev/gpiochip1", "dev/null"})
        folder.write(chip, "");
    for (const auto &[chip, label, base] :
         {std::array{"gpio/gpiochip500/", "bank-a\n", "500\n"}, {"gpio/gpiochip509/", "bank-b\n", "509\n"}}) {
        folder.write(std::string(chip) + "label", label);
        folder.write(std::string(chip) + "ngpio", "3\n");
        folder.write(std::string(chip) + "base", base);
    }
    const auto find = [&](const char *name, const std::string &dev_root) {
        return ugpio_internal::find_kernel_line(name, dev_root, folder.file("gpio"), reader);
    };
    EXPECT_EQ(find("imc_req", folder.file("dev")), 511);
    EXPECT_EQ(find("other", folder.file("dev")), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(find("imc_req", "/nonexistent"), -1);
}

} // namespace
