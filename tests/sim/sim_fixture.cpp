#include "sim_fixture.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <unistd.h>

TempFolder::TempFolder()
{
    std::string name = testing::TempDir() + "krx-sim-XXXXXX";
    path_ = mkdtemp(name.data());
}

TempFolder::~TempFolder()
{
    std::filesystem::remove_all(path_);
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
    const char *old = std::getenv(name);
    was_set_ = old != nullptr;
    old_ = old ? old : "";
    setenv(name, value.c_str(), 1);
}

Environment::~Environment()
{
    if (was_set_)
        setenv(name_, old_.c_str(), 1);
    else
        unsetenv(name_);
}

SpiHost::SpiHost(const std::string &path) : fd_(spidev_open(path.c_str(), O_RDWR))
{
    std::uint32_t mode = 9;
    std::uint8_t bits = 8;
    std::uint32_t speed = 3'000'000;
    EXPECT_GE(fd_, 0);
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_MODE32, &mode), 0);
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_BITS_PER_WORD, &bits), 0);
    EXPECT_EQ(spidev_ioctl(fd_, SPI_IOC_WR_MAX_SPEED_HZ, &speed), 0);
    transfer.speed_hz = speed;
    transfer.bits_per_word = bits;
    transfer.delay_usecs = 1;
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

Bytes host_frame(const Bytes &payload, std::size_t size)
{
    unsigned sum = 0;
    for (const std::uint8_t value : payload)
        sum += value;
    const unsigned checksum = (0x10000 - sum) & 0xFFFF;
    Bytes frame{static_cast<std::uint8_t>(payload.size() >> 8), static_cast<std::uint8_t>(payload.size()),
                static_cast<std::uint8_t>(checksum >> 8), static_cast<std::uint8_t>(checksum)};
    frame.insert(frame.end(), payload.begin(), payload.end());
    frame.resize(size);
    return frame;
}

Bytes command(const Bytes &records)
{
    Bytes packet{0x10, 0x01, static_cast<std::uint8_t>(records.size() >> 8), static_cast<std::uint8_t>(records.size())};
    packet.insert(packet.end(), records.begin(), records.end());
    return host_frame(packet);
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
    Answer answer;
    if (burst.size() < 4)
        return answer;
    const auto length = static_cast<std::size_t>(burst[0] | burst[1] << 8);
    if (length + 4 > burst.size())
        return answer;
    answer.run.assign(burst.begin() + 4, burst.begin() + 4 + static_cast<std::ptrdiff_t>(length));
    unsigned sum = burst[2] | static_cast<unsigned>(burst[3] << 8);
    for (const std::uint8_t value : answer.run)
        sum += value;
    answer.good = (sum & 0xFFFF) == 0;
    return answer;
}

std::int64_t field(const Bytes &run, std::uint8_t tag, std::size_t offset, std::size_t size)
{
    for (std::size_t at = 0; at + 4 <= run.size();) {
        const std::size_t length = (static_cast<std::size_t>(run[at + 2]) << 8 | run[at + 3]) + 4;
        if (run[at] == tag && at + offset + size <= run.size()) {
            std::int64_t value = 0;
            for (std::size_t i = 0; i < size; ++i)
                value = value << 8 | run[at + offset + i];
            return value;
        }
        at += length;
    }
    return -1;
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

void BoardTest::TearDown()
{
    EXPECT_EQ(board.offences(), sim::Counts{});
}

void BoardTest::power_up()
{
    ASSERT_EQ(drive_line("cam_power", true), 0);
    board.advance(5'000);
    ASSERT_EQ(drive_line("cam_pcie_clk", true), 0);
    ASSERT_EQ(drive_line("cam_reset", true), 0);
    board.advance(300'000);
    ASSERT_EQ(drive_line("cam_reset_pcie", true), 0);
    ASSERT_EQ(drive_line("fpga_reset", true), 0);
    board.advance(500'000);
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
