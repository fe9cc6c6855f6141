// A board on manual time and the host's end of it, used through the same two libraries as the product.
#pragma once

#include "sim/board.h"
#include "tests/support/temp_folder.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <linux/spi/spidev.h>
#include <string>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// A variable of the environment as long as this lives.
struct Environment {
    Environment(const char *variable, const std::string &value) : name(variable) { setenv(name, value.c_str(), 1); }
    ~Environment() { unsetenv(name); }
    const char *name;
};

// What digits (and blanks between records) stand for.
Bytes hex(std::string digits);
Bytes with_head(std::initializer_list<std::size_t> head, const Bytes &rest);
// A host frame of 1024 bytes around a payload, and around a packet of records.
Bytes host_frame(const Bytes &payload);
Bytes command(const std::string &records);
// The run of an answer, its header read least significant byte first; none when its length or checksum is wrong.
std::optional<Bytes> answered(const Bytes &burst);

// Drives an output as the product does; -1 on failure.
int drive_line(const std::string &name, bool high);

class BoardTest : public testing::Test {
  protected:
    // The tests begin with a running block.
    void SetUp() override
    {
        ASSERT_EQ(board.start(), std::nullopt);
        power(true);
    }
    // Whatever a test provokes it takes back with expect_offences().
    void TearDown() override { EXPECT_EQ(board.offences(), sim::Counts{}); }

    // Clocks `host` out through a device set up as the product does; gives what came in, empty on failure.
    Bytes burst(const Bytes &host, const char *port = "spi0");
    // Powers the block up and boots it, or the reverse, in the documented order.
    void power(bool on);
    // Does one thing after another: "LINE=0" or "LINE=1", records in digits, a command of the language, or nothing;
    // lets time pass; then looks at lines, and at fields of status blocks ("TAG OFFSET:SIZE").
    struct Step {
        std::string act;
        std::int64_t us;
        std::vector<std::pair<const char *, std::int64_t>> looks;
    };
    void walk(const std::vector<Step> &steps);
    // Sends records and gives the words they were understood as.
    std::vector<std::string> send(const std::string &records)
    {
        board.take_heard();
        EXPECT_TRUE(answered(burst(command(records))));
        return board.take_heard();
    }
    // Reads the status run once.
    Bytes status() { return answered(burst(Bytes(1024))).value_or(Bytes()); }
    void expect_offences(const sim::Counts &offences)
    {
        EXPECT_EQ(board.offences(), offences);
        board.clear_offences();
    }

    TempFolder folder{"PTZ_BOARD"};
    sim::Board board{{.folder = folder.path(), .manual_time = true}};
    std::uint32_t mode = 9;                                             // and transfer: the settings burst() uses
    spi_ioc_transfer transfer{0, 0, 0, 3'000'000, 1, 8, 0, 0, 0, 0, 0}; // speed, pause, bits per word

  private:
    std::int64_t look(const char *where);
};
