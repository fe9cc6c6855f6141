#include "sim_fixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <numeric>
#include <unistd.h>

TempFolder::TempFolder()
{
    std::string name = testing::TempDir() + "krx-sim-XXXXXX";
    path_ = mkdtemp(name.data());
}

void TempFolder::write(const std::string &name, const std::string &text) const
{
    std::filesystem::create_directories(std::filesystem::path(file(name)).parent_path());
    std::ofstream(file(name)) << text;
}

std::string TempFolder::read(const std::string &name) const
{
    std::ifstream stream(file(name));
    return {std::istreambuf_iterator<char>(stream), {}};
}

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
    if (spidev_ioctl(fd_, SPI_IOC_MESSAGE(1), &transfer) != static_cast<int>(host.size()))
        return {};
    return answer;
}

namespace {

unsigned sum_of(const Bytes &bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), 0u);
}

Bytes with_head(std::initializer_list<std::size_t> head, const Bytes &rest)
{
    Bytes bytes;
    for (const std::size_t value : head)
        bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    return bytes;
}

// A field of the block with that tag; -1 without the block.
std::int64_t field(const Bytes &run, std::uint8_t tag, std::size_t offset, std::size_t size)
{
    std::size_t at = 0;
    while (at + 4 <= run.size() && run[at] != tag)
        at += (static_cast<std::size_t>(run[at + 2]) << 8 | run[at + 3]) + 4;
    std::int64_t value = at + offset + size > run.size() ? -1 : 0;
    for (std::size_t i = at + offset; value >= 0 && i < at + offset + size; ++i)
        value = value << 8 | run[i];
    return value;
}

} // namespace

Bytes host_frame(const Bytes &payload)
{
    const unsigned checksum = 0x10000 - sum_of(payload);
    Bytes frame = with_head({payload.size() >> 8, payload.size(), checksum >> 8, checksum}, payload);
    frame.resize(1024);
    return frame;
}

Bytes command(const Bytes &records)
{
    return host_frame(with_head({0x10, 0x01, records.size() >> 8, records.size()}, records));
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

Answer parse_answer(const Bytes &burst)
{
    const std::size_t end = burst.size() < 4 ? 4 : (burst[0] | static_cast<std::size_t>(burst[1]) << 8) + 4;
    if (end > burst.size())
        return {};
    const Bytes run(burst.begin() + 4, burst.begin() + static_cast<std::ptrdiff_t>(end));
    return {((burst[2] | static_cast<unsigned>(burst[3]) << 8) + sum_of(run)) % 0x10000 == 0, run};
}

BoardTest::BoardTest(sim::CameraOptions camera)
    : board({.folder = folder.path(), .manual_time = true, .camera = camera})
{
}

void BoardTest::SetUp()
{
    ASSERT_EQ(board.start(), std::nullopt);
    spi = std::make_unique<SpiHost>(folder.file("spi0"));
}

void BoardTest::power_up()
{
    for (const auto &[line, us] : {std::pair{"cam_power", 5'000},
                                   {"cam_pcie_clk", 0},
                                   {"cam_reset", 300'000},
                                   {"cam_reset_pcie", 0},
                                   {"fpga_reset", 500'000}}) {
        ASSERT_EQ(drive_line(line, true), 0);
        board.advance(us);
    }
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

std::vector<std::string> BoardTest::send(const Bytes &records)
{
    board.take_heard();
    EXPECT_TRUE(parse_answer(spi->burst(command(records))).good);
    return board.take_heard();
}

Bytes BoardTest::status()
{
    const Answer answer = parse_answer(spi->burst(Bytes(1024)));
    EXPECT_TRUE(answer.good);
    return answer.run;
}

void BoardTest::expect_status(const std::vector<Field> &fields)
{
    const Bytes run = status();
    for (const auto &[tag, offset, size, value] : fields)
        EXPECT_EQ(field(run, tag, offset, size), value & ((std::int64_t{1} << 8 * size) - 1)) << "at " << offset;
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

void BoardTest::expect_offences(const sim::Counts &offences)
{
    EXPECT_EQ(board.offences(), offences);
    board.clear_offences();
}

void BoardTest::order(const std::string &line)
{
    const sim::CommandResult result = board.command(line);
    EXPECT_TRUE(result.ok) << line << ": " << result.text;
}

void RunningBoardTest::SetUp()
{
    BoardTest::SetUp();
    power_up();
}
