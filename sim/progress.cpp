#include "sim/progress.h"

#include <cstdio>
#include <string>

namespace sim {
namespace {

constexpr unsigned kWidth = 40;
constexpr char kClearLine[] = "\r\033[K";

} // namespace

void ProgressBar::draw() const
{
    if (!percent_)
        return;
    const unsigned done = *percent_ * kWidth / 100;
    const std::string bar = std::string(done, '#') + std::string(kWidth - done, '.');
    std::printf("%sfirmware [%s] %3u %%", kClearLine, bar.c_str(), *percent_);
    std::fflush(stdout);
}

void ProgressBar::print(std::string_view line)
{
    std::printf("%s%.*s\n", percent_ ? kClearLine : "", static_cast<int>(line.size()), line.data());
    draw();
}

void ProgressBar::show(std::optional<unsigned> percent)
{
    if (percent && *percent < 100) {
        percent_ = percent;
        draw();
    } else if (percent_) {
        percent_.reset();
        std::printf("%sfirmware %s\n", kClearLine, percent ? "transferred" : "transfer ended early");
    }
}

} // namespace sim
