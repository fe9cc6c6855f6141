// A board on manual time and the host's end of it, used through the same two libraries as the product.
#pragma once

#include "sim/board.h"
#include "spidev/spidev_link.h"
#include "ugpio/ugpio.h"

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <initializer_list>
#include <linux/spi/spidev.h>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// A folder that exists for the length of a test.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }
    void write(const std::string &name, const std::string &text) const;
    std::string read(const std::string &name) const;

  private:
    std::string path_;
};

// An environment variable that gets its old value back.
class Environment {
  public:
    Environment(const char *name, const std::string &value);
    ~Environment();

  private:
    const char *name_;
    std::string old_;
    bool was_set_;
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

// A host frame of `size` bytes around a payload.
Bytes host_frame(const Bytes &payload, std::size_t size = 1024);
// A packet of records in such a frame.
Bytes command(const Bytes &records);

// One level read, and one driven output, as the product does them; -1 on failure.
int read_line(const char *name);
int drive_line(const char *name, bool high);

// An answer, its header read least significant byte first.
struct Answer {
    bool good = false; // length and checksum are right
    Bytes run;
};
Answer parse_answer(const Bytes &burst);
// A field of the block with that tag, unsigned big-endian; -1 without the block.
std::int64_t field(const Bytes &run, std::uint8_t tag, std::size_t offset, std::size_t size);

class BoardTest : public testing::Test {
  protected:
    explicit BoardTest(sim::CameraOptions camera = {});
    void SetUp() override;
    // Whatever a test provokes it takes back with expect_offences().
    void TearDown() override;

    // Powers the block up in the documented order and boots it.
    void power_up();
    // Takes reset, clock and power away in the documented order.
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
    std::vector<std::string> send(const Bytes &records);
    // Reads the status run once.
    Bytes status();
    void expect_offences(const sim::Counts &offences);
    void order(const std::string &line);

    TempFolder folder;
    Environment environment{"PTZ_BOARD", folder.path()};
    sim::Board board;
    std::unique_ptr<SpiHost> spi;
};
