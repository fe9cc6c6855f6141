#include "sim_fixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <numeric>
#include <unistd.h>

Environment::Environment(const char *name, const std::string &value) : name_(name)
{
    if (const char *old = std::getenv(name))
        old_ = old;
    setenv(name, value.c_str(), 1);
}

Environment::~Environment()
{
    if (old_)
        setenv(name_, old_->c_str(), 1);
    else
        unsetenv(name_);
}

SpiHost::SpiHost(const std::string &path) : fd_(spidev_open(path.c_str(), O_RDWR))
{
    std::uint32_t mode = 9;
    transfer.speed_hz = 3'000'000;
    transfer.bits_per_word = 8;
    transfer.delay_usecs = 1;
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_MODE32, &mode), 0);
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_BITS_PER_WORD, &transfer.bits_per_word), 0);
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_MAX_SPEED_HZ, &transfer.speed_hz), 0);
}

SpiHost::~SpiHost()
{
    close(fd_);
}

Bytes SpiHost::burst(const Bytes &host)
{
    Bytes answer(host.size());
    transfer.tx_buf = reinterpret_cast<std::uintptr_t>(host.data());
    transfer.rx_buf = reinterpret_cast<std::uintptr_t>(answer.data());
    transfer.len = static_cast<std::uint32_t>(host.size());
    return spidev_ioctl(fd_, SPI_IOC_MESSAGE(1), &transfer) == static_cast<int>(host.size()) ? answer : Bytes();
}

Bytes with_head(std::initializer_list<std::size_t> head, const Bytes &rest)
{
    Bytes bytes;
    for (const std::size_t value : head)
        bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

Bytes host_frame(const Bytes &payload)
{
    const unsigned checksum = 0x10000 - std::accumulate(payload.begin(), payload.end(), 0u);
    Bytes frame = with_head({payload.size() >> 8, payload.size(), checksum >> 8, checksum}, payload);
    frame.resize(1024);
    return frame;
}

Bytes command(const Bytes &records)
{
    return host_frame(with_head({0x10, 0x01, records.size() >> 8, records.size()}, records));
}

std::optional<Bytes> answered(const Bytes &burst)
{
    const auto word = [&](std::size_t at) { return burst[at] | static_cast<unsigned>(burst[at + 1]) << 8; };
    if (burst.size() < 4 || word(0) + 4 > burst.size())
        return std::nullopt;
    const Bytes run(burst.begin() + 4, burst.begin() + 4 + static_cast<std::ptrdiff_t>(word(0)));
    return std::accumulate(run.begin(), run.end(), word(2)) % 0x10000 == 0 ? std::optional(run) : std::nullopt;
}

int read_line(const char *name)
{
    ugpio *line = ugpio_request_named(name);
    const int level = line && ugpio_full_open(line) == 0 ? ugpio_get_value(line) : -1;
    ugpio_free(line);
    return level;
}

int drive_line(const char *name, bool high)
{
    ugpio *line = ugpio_request_one_named(name, high ? UGPIO_OUT_HIGH : UGPIO_OUT_LOW);
    ugpio_free(line);
    return line ? 0 : -1;
}

void BoardTest::power_up()
{
    walk({{"cam_power=1", 5'000, "cam_power_good", 1},
          {"cam_pcie_clk=1", 0, "cam_init_done", 0},
          {"cam_reset=1", 300'000, "cam_init_done", 1},
          {"cam_reset_pcie=1", 0, "imc_req", 1},
          {"fpga_reset=1", 500'000, "imc_req", 1}});
}

void BoardTest::power_down()
{
    for (const char *line : {"fpga_reset", "cam_reset_pcie", "cam_reset", "cam_pcie_clk", "cam_power"})
        drive_line(line, false);
}

void BoardTest::walk(std::initializer_list<Step> steps)
{
    for (const Step &step : steps) {
        const std::size_t equals = step.act.find('=');
        if (equals != std::string::npos)
            EXPECT_EQ(drive_line(step.act.substr(0, equals).c_str(), step.act.back() == '1'), 0) << step.act;
        else if (step.act == "burst")
            spi->burst(Bytes(1024));
        else if (!step.act.empty())
            order(step.act);
        board.advance(step.us);
        EXPECT_EQ(read_line(step.line), step.level) << "after \"" << step.act << "\" and " << step.us << " us";
    }
}

void BoardTest::expect_status(const std::vector<Field> &fields)
{
    const Bytes run = status();
    for (const auto &[tag, offset, size, value] : fields) {
        std::size_t at = 0;
        while (at + 4 <= run.size() && run[at] != tag)
            at += (static_cast<std::size_t>(run[at + 2]) << 8 | run[at + 3]) + 4;
        ASSERT_LE(at + offset + size, run.size());
        std::int64_t found = 0;
        for (std::size_t i = 0; i < size; ++i)
            found = found << 8 | run[at + offset + i];
        EXPECT_EQ(found, value & ((std::int64_t{1} << 8 * size) - 1)) << "at " << offset;
    }
}

void BoardTest::drive(const std::vector<Leg> &legs)
{
    for (const Leg &leg : legs) {
        SCOPED_TRACE(&leg - legs.data());
        if (!leg.records.empty())
            send(leg.records);
        board.advance(leg.us);
        expect_status(leg.fields);
    }
}
