#include "sim_fixture.h"

#include "ugpio/ugpio.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <numeric>
#include <sys/ioctl.h>
#include <unistd.h>

Bytes hex(std::string digits)
{
    Bytes bytes;
    std::erase(digits, ' ');
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

Bytes with_head(std::initializer_list<std::size_t> head, const Bytes &rest)
{
    Bytes bytes(head.begin(), head.end());
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

Bytes command(const std::string &records)
{
    const Bytes bytes = hex(records);
    return host_frame(with_head({0x10, 0x01, bytes.size() >> 8, bytes.size()}, bytes));
}

std::optional<Bytes> answered(const Bytes &burst)
{
    const auto word = [&](std::size_t at) { return burst[at] | static_cast<unsigned>(burst[at + 1]) << 8; };
    if (burst.size() < 4 || word(0) + 4 > burst.size())
        return std::nullopt;
    const Bytes run(burst.begin() + 4, burst.begin() + 4 + static_cast<std::ptrdiff_t>(word(0)));
    return std::accumulate(run.begin(), run.end(), word(2)) % 0x10000 == 0 ? std::optional(run) : std::nullopt;
}

int drive_line(const std::string &name, bool high)
{
    ugpio *line = ugpio_request_one_named(name.c_str(), high ? UGPIO_OUT_HIGH : UGPIO_OUT_LOW);
    ugpio_free(line);
    return line ? 0 : -1;
}

Bytes BoardTest::burst(const Bytes &host, const char *port)
{
    Bytes answer(host.size());
    transfer.tx_buf = reinterpret_cast<std::uintptr_t>(host.data());
    transfer.rx_buf = reinterpret_cast<std::uintptr_t>(answer.data());
    transfer.len = static_cast<std::uint32_t>(host.size());
    const int fd = open(folder.file(port).c_str(), O_RDWR);
    ioctl(fd, SPI_IOC_WR_MODE32, &mode);
    ioctl(fd, SPI_IOC_WR_BITS_PER_WORD, &transfer.bits_per_word);
    ioctl(fd, SPI_IOC_WR_MAX_SPEED_HZ, &transfer.speed_hz);
    const bool done = ioctl(fd, SPI_IOC_MESSAGE(1), &transfer) == static_cast<int>(host.size());
    close(fd);
    return done ? answer : Bytes();
}

void BoardTest::power(bool on)
{
    std::vector<const char *> lines{"cam_power", "cam_pcie_clk", "cam_reset", "cam_reset_pcie", "fpga_reset"};
    if (!on)
        std::reverse(lines.begin(), lines.end());
    for (const char *line : lines) {
        drive_line(line, on);
        board.advance(500'000);
    }
}

void BoardTest::walk(const std::vector<Step> &steps)
{
    for (const auto &[act, us, looks] : steps) {
        SCOPED_TRACE(act + ", then " + std::to_string(us) + " us");
        EXPECT_TRUE(act.find('=') != std::string::npos
                        ? drive_line(act.substr(0, act.find('=')), act.back() == '1') == 0
                    : act.starts_with('0') ? !send(act).empty()
                                           : act.empty() || board.command(act).ok);
        board.advance(us);
        for (const auto &[where, value] : looks)
            EXPECT_EQ(look(where), value) << where;
    }
}

std::int64_t BoardTest::look(const char *where)
{
    unsigned tag = 0, offset = 0, size = 0;
    if (std::sscanf(where, "%x %u:%u", &tag, &offset, &size) != 3)
        return board.level(*sim::find_line(where)) ? 1 : 0;
    const Bytes run = status();
    std::size_t at = 0;
    while (run.at(at) != tag)
        at += (static_cast<std::size_t>(run.at(at + 2)) << 8 | run.at(at + 3)) + 4;
    std::int64_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = value << 8 | run.at(at + offset + i);
    return size == 4 ? static_cast<std::int32_t>(value) : value;
}
