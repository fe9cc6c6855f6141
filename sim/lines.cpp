#include "sim/lines.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <system_error>
#include <termios.h>

namespace sim {
namespace {

// Flushing the slave of a pty whose master is in packet mode makes the master exceptionally ready until it is read,
// just as a rising edge does with a GPIO value file. No privileges are needed and no edge is lost.
void raise_edge(const Fd &slave)
{
    tcflush(slave.get(), TCIFLUSH);
}

} // namespace

std::optional<Line> find_line(std::string_view name)
{
    for (std::size_t i = 0; i < kLines.size(); ++i) {
        if (name == kLines[i].name)
            return static_cast<Line>(i);
    }
    return std::nullopt;
}

Lines::Lines() : page_fd_(memfd_create("krx-sim-lines", MFD_CLOEXEC))
{
    if (!page_fd_ || ftruncate(page_fd_.get(), sizeof(ugpio_wire::LevelPage)) != 0)
        throw std::system_error(errno, std::generic_category(), "shared page of the lines");
    void *memory = mmap(nullptr, sizeof(ugpio_wire::LevelPage), PROT_READ | PROT_WRITE, MAP_SHARED, page_fd_.get(), 0);
    if (memory == MAP_FAILED)
        throw std::system_error(errno, std::generic_category(), "shared page of the lines");
    page_ = new (memory) ugpio_wire::LevelPage{};
}

Lines::~Lines()
{
    munmap(page_, sizeof *page_);
}

bool Lines::shown(Line line) const
{
    return page_->level[static_cast<std::size_t>(line)].load(std::memory_order_relaxed) != 0;
}

void Lines::show(Line line, bool announced)
{
    const auto index = static_cast<std::size_t>(line);
    const bool high = level_[index] != inverted_[index];
    const bool rises = high && !shown(line);
    page_->level[index].store(high ? 1 : 0, std::memory_order_release);
    if (rises && announced)
        announce(line);
}

void Lines::set(Line line, bool high, bool announced)
{
    level_[static_cast<std::size_t>(line)] = high;
    show(line, announced);
}

void Lines::glitch(Line line, bool inverted)
{
    inverted_[static_cast<std::size_t>(line)] = inverted;
    show(line, true);
}

void Lines::announce(Line line) const
{
    for (const Edge &edge : edges_) {
        if (edge.line == line)
            raise_edge(edge.slave);
    }
}

void Lines::make_asked(Line line, bool asked)
{
    page_->asked[static_cast<std::size_t>(line)].store(asked ? 1 : 0, std::memory_order_release);
}

Fd Lines::open_edge(Line line, int &slave)
{
    Fd master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    int unlock = 0;
    int packets = 1;
    if (!master || ioctl(master.get(), TIOCSPTLCK, &unlock) != 0 || ioctl(master.get(), TIOCPKT, &packets) != 0)
        return {};
    Fd own(ioctl(master.get(), TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!own)
        return {};
    raise_edge(own);
    slave = own.get();
    edges_.push_back({line, std::move(own)});
    return master;
}

void Lines::close_edge(int slave)
{
    std::erase_if(edges_, [slave](const Edge &edge) { return edge.slave.get() == slave; });
}

ugpio_wire::Hello Lines::hello()
{
    ugpio_wire::Hello hello{};
    hello.magic = ugpio_wire::kMagic;
    hello.count = kLines.size();
    for (std::size_t i = 0; i < kLines.size(); ++i) {
        hello.lines[i].number = kLines[i].number;
        std::strncpy(hello.lines[i].name.data(), kLines[i].name, ugpio_wire::kNameSize - 1);
    }
    return hello;
}

} // namespace sim
