// A board on manual time and the host's end of it, used through the same two libraries as the product.
#pragma once

#include "sim/board.h"
#include "spidev/spidev_link.h"
#include "tests/support/temp_folder.h"
#include "ugpio/ugpio.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <linux/spi/spidev.h>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// An environment variable that gets its old value back.
class Environment {
  public:
    Environment(const char *name, const std::string &value);
    ~Environment();

  private:
    const char *name_;
    std::optional<std::string> old_;
};

// The host's SPI device, set up as the product does.
class SpiHost {
  public:
    explicit SpiHost(const std::string &path);
    ~SpiHost();
    int fd() const { return fd_; }
    // Clocks `host` out; gives what came in, empty on failure.
    Bytes burst(const Bytes &host);
    spi_ioc_transfer transfer{}; // settings used by burst(); the buffers are filled in there

  private:
    int fd_;
};

Bytes with_head(std::initializer_list<std::size_t> head, const Bytes &rest);
// A host frame of 1024 bytes around a payload, and around a packet of records.
Bytes host_frame(const Bytes &payload);
Bytes command(const Bytes &records);
// The run of an answer, its header read least significant byte first; none when its length or checksum is wrong.
std::optional<Bytes> answered(const Bytes &burst);

// One level read, and one driven output, as the product does them; -1 on failure.
int read_line(const char *name);
int drive_line(const char *name, bool high);

class BoardTest : public testing::Test {
  protected:
    explicit BoardTest(sim::CameraOptions camera = {})
        : board({.folder = folder.path(), .manual_time = true, .camera = camera})
    {
    }
    void SetUp() override
    {
        ASSERT_EQ(board.start(), std::nullopt);
        spi = std::make_unique<SpiHost>(folder.file("spi0"));
    }
    // Whatever a test provokes it takes back with expect_offences().
    void TearDown() override { EXPECT_EQ(board.offences(), sim::Counts{}); }

    // Powers the block up in the documented order and boots it; takes reset, clock and power away in that order.
    void power_up();
    static void power_down();
    // Does one thing after another and looks at a line each time: a command of the language, "LINE=0" or "LINE=1",
    // "burst", or nothing; then lets time pass; then the line has that level (-1: it cannot be read).
    struct Step {
        std::string act;
        std::int64_t us;
        const char *line;
        int level;
    };
    void walk(std::initializer_list<Step> steps);
    // Sends records and gives the words they were understood as.
    std::vector<std::string> send(const Bytes &records)
    {
        board.take_heard();
        EXPECT_TRUE(answered(spi->burst(command(records))));
        return board.take_heard();
    }
    // Reads the status run once.
    Bytes status() { return answered(spi->burst(Bytes(1024))).value_or(Bytes()); }
    // A big-endian field of a status block.
    struct Field {
        std::uint8_t tag;
        std::size_t offset, size;
        std::int64_t value;
    };
    void expect_status(const std::vector<Field> &fields);
    // Sends records (or nothing), lets time pass, then the status says that; one after another.
    struct Leg {
        Bytes records;
        std::int64_t us;
        std::vector<Field> fields;
    };
    void drive(const std::vector<Leg> &legs);
    void expect_offences(const sim::Counts &offences)
    {
        EXPECT_EQ(board.offences(), offences);
        board.clear_offences();
    }
    void order(const std::string &line) { EXPECT_TRUE(board.command(line).ok) << line; }

    TempFolder folder;
    Environment environment{"PTZ_BOARD", folder.path()};
    sim::Board board;
    std::unique_ptr<SpiHost> spi;
};

class RunningBoardTest : public BoardTest {
  protected:
    void SetUp() override
    {
        BoardTest::SetUp();
        power_up();
    }
};
