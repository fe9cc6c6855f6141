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

TEST_F(Lines, NamesAndNumbersAreTheSameLines)
{
    ugpio_free(ugpio_request_one(40, UGPIO_OUT_HIGH, "power"));
    EXPECT_EQ(read_line("cam_power"), 1); // kept after the release
    EXPECT_TRUE(board.level(sim::Line::power));
    ugpio *good = ugpio_request(41, nullptr);
    EXPECT_NE(good, nullptr);
    ugpio_free(good);
}

TEST_F(Lines, MissingNamesHandlesAndOpensAreRefused)
{
    const std::pair<std::function<bool()>, int> refused[] = {
        {[] { return ugpio_request(39, nullptr) == nullptr; }, ENOENT},
        {[] { return ugpio_request_named("cam_sofa") == nullptr; }, ENOENT},
        {[] { return ugpio_request_named(nullptr) == nullptr; }, EINVAL},
        {[] { return ugpio_request_one_named(nullptr, 0) == nullptr; }, EINVAL},
        {[] { return ugpio_request(-1, "x") == nullptr; }, EINVAL},
        {[] { return ugpio_request_one(40, 7, nullptr) == nullptr; }, EINVAL}};
    for (const auto &[call, error] : refused) {
        EXPECT_TRUE(call());
        EXPECT_EQ(errno, error);
    }
    EXPECT_EQ(ugpio_full_open(nullptr), -1);
    EXPECT_EQ(ugpio_get_value(nullptr), -1);
    EXPECT_EQ(ugpio_close(nullptr), -1);
    ugpio_free(nullptr);

    ugpio *line = ugpio_request_named("imc_req");
    EXPECT_EQ(ugpio_get_value(line), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(ugpio_full_open(line), 0);
    EXPECT_EQ(ugpio_fd(line), -1); // no edge chosen
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(ugpio_set_edge(line, 5), -1);
    ugpio_free(line);
}

TEST_F(Lines, AnEdgeIsPendingUntilTheLevelIsRead)
{
    ugpio *line = ugpio_request_named("imc_req");
    ASSERT_EQ(ugpio_full_open(line), 0);
    ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    const int fd = ugpio_fd(line);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_TRUE(edge_pending(fd)); // from the start
    EXPECT_EQ(ugpio_get_value(line), 0);
    EXPECT_FALSE(edge_pending(fd));

    power_up();
    EXPECT_TRUE(edge_pending(fd, 1000));
    EXPECT_EQ(ugpio_get_value(line), 1);
    EXPECT_FALSE(edge_pending(fd));
    spi->burst(Bytes(1024)); // falls and rises
    spi->burst(Bytes(1024));
    EXPECT_TRUE(edge_pending(fd, 1000));
    EXPECT_EQ(ugpio_get_value(line), 1);
    EXPECT_FALSE(edge_pending(fd));
    drive_line("cam_reset", false); // a falling edge is none
    EXPECT_FALSE(edge_pending(fd));

    // The descriptor is the caller's: it outlives the handle.
    EXPECT_EQ(ugpio_close(line), 0);
    ugpio_free(line);
    EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    close(fd);
}

TEST_F(Lines, ManyHandlesAtATimeAndManyEdgeWaitsLeaveNothingBehind)
{
    std::array<ugpio *, 50> handles{};
    for (ugpio *&handle : handles)
        handle = ugpio_request_named("imc_req");
    for (ugpio *handle : handles) {
        EXPECT_EQ(ugpio_full_open(handle), 0);
        EXPECT_EQ(ugpio_get_value(handle), 0);
        ugpio_free(handle);
    }
    for (int i = 0; i < 2000; ++i) {
        ugpio *line = ugpio_request_named("imc_req");
        ASSERT_EQ(ugpio_full_open(line), 0);
        ASSERT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
        const int fd = ugpio_fd(line);
        ASSERT_GE(fd, 0) << i;
        ASSERT_LT(fd, 200) << i; // descriptors do not pile up
        close(fd);
        ugpio_free(line);
    }
}

TEST_F(Lines, ADeadBoardIsAnErrorAndANewOneIsFound)
{
    ugpio *held = ugpio_request_named("cam_power");
    ASSERT_EQ(ugpio_full_open(held), 0);
    board.stop();
    EXPECT_EQ(ugpio_request_named("cam_power"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ugpio_get_value(held), -1);
    EXPECT_EQ(drive_line("cam_power", true), -1);
    ASSERT_EQ(board.start(), std::nullopt);
    EXPECT_EQ(ugpio_get_value(held), 0);
    EXPECT_EQ(drive_line("cam_power", true), 0);
    EXPECT_EQ(ugpio_get_value(held), 1);
    ugpio_free(held);
}

// The kernel's side, with ordinary files in its place.
class KernelLines : public testing::Test {
  protected:
    void SetUp() override
    {
        folder.write("gpio/export", "");
        folder.write("gpio/gpio12/value", "1\n");
        folder.write("gpio/gpio12/direction", "");
        folder.write("gpio/gpio12/edge", "");
    }

    TempFolder folder;
    Environment board{"PTZ_BOARD", ""};
    Environment sysfs{"UGPIO_SYSFS_ROOT", folder.file("gpio")};
    Environment dev{"UGPIO_DEV_ROOT", folder.file("dev")};
};

TEST_F(KernelLines, ValueDirectionAndEdgeAreTheirFiles)
{
    ugpio *line = ugpio_request(12, "x");
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(folder.read("gpio/gpio12/direction"), "");
    ASSERT_EQ(ugpio_full_open(line), 0);
    EXPECT_EQ(ugpio_get_value(line), 1);
    folder.write("gpio/gpio12/value", "0\n");
    EXPECT_EQ(ugpio_get_value(line), 0);
    EXPECT_EQ(ugpio_set_edge(line, UGPIO_EDGE_RISING), 0);
    EXPECT_EQ(folder.read("gpio/gpio12/edge"), "rising");
    const int fd = ugpio_fd(line);
    EXPECT_GE(fd, 0);
    ugpio_free(line);
    EXPECT_EQ(close(fd), 0);

    ugpio_free(ugpio_request_one(12, UGPIO_OUT_HIGH, nullptr));
    EXPECT_EQ(folder.read("gpio/gpio12/direction"), "high");
    folder.write("gpio/gpio12/direction", "");
    ugpio_free(ugpio_request_one(12, UGPIO_OUT_LOW, nullptr));
    EXPECT_EQ(folder.read("gpio/gpio12/direction"), "low");
}

TEST_F(KernelLines, AnUnexportedLineIsExportedAndAMissingOneRefused)
{
    ugpio *line = ugpio_request(13, nullptr);
    ASSERT_NE(line, nullptr);
    EXPECT_EQ(folder.read("gpio/export"), "13");
    EXPECT_EQ(ugpio_full_open(line), -1); // no kernel has made the files
    EXPECT_EQ(errno, ENOENT);
    ugpio_free(line);
    EXPECT_EQ(ugpio_request_one(13, UGPIO_OUT_LOW, nullptr), nullptr);
    std::filesystem::remove(folder.file("gpio/export"));
    EXPECT_EQ(ugpio_request(13, nullptr), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ugpio_request_named("imc_req"), nullptr);
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
    folder.write("dev/gpiochip0", "");
    folder.write("dev/gpiochip1", "");
    folder.write("dev/null", "");
    for (const auto &[chip, label] : {std::pair{"gpiochip500", "bank-a"}, {"gpiochip509", "bank-b"}}) {
        folder.write(std::string("gpio/") + chip + "/label", std::string(label) + "\n");
        folder.write(std::string("gpio/") + chip + "/ngpio", "3\n");
        folder.write(std::string("gpio/") + chip + "/base", std::string(chip).substr(8) + "\n");
    }
    const auto find = [&](const char *name) {
        return ugpio_internal::find_kernel_line(name, folder.file("dev"), folder.file("gpio"), reader);
    };
    EXPECT_EQ(find("imc_req"), 511);
    EXPECT_EQ(find("other"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ugpio_internal::find_kernel_line("x", "/nonexistent", "/nonexistent", reader), -1);
}

} // namespace
