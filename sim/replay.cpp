#include "sim/replay.h"

#include "sim/frame.h"
#include "sim/server.h"
#include "sim/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <istream>

namespace sim {
namespace {

using Kind = TraceLine::Kind;

constexpr std::size_t kMostTold = 20;

// Where two bursts differ first.
std::string first_byte(const TraceLine &wanted, std::span<const std::uint8_t> got)
{
    std::array<char, 96> text{};
    const std::size_t most = std::max(wanted.bytes.size(), got.size());
    // The header, which differs with anything, comes last.
    for (std::size_t step = 0; step < most; ++step) {
        const std::size_t i = (step + kFrameHeader) % most;
        if (i < wanted.bytes.size() && i < got.size() && wanted.bytes[i] == got[i])
            continue;
        if (i >= wanted.bytes.size() || i >= got.size())
            std::snprintf(text.data(), text.size(), "%zu bytes, in the trace %zu", got.size(), wanted.bytes.size());
        else
            std::snprintf(text.data(), text.size(), "byte %zu is %02X, in the trace %02X", i, got[i], wanted.bytes[i]);
        break;
    }
    return text.data();
}

class Player {
  public:
    Player(Board &board, const std::function<void(const std::string &line)> &tell) : board_(board), tell_(tell) {}

    void line(std::string_view text, std::size_t number)
    {
        if (text.empty() || text[0] == '#') {
            if (const auto order = trace_byte_order(text))
                big_endian_ = order;
            return;
        }
        if (!parse_trace_line(text, line_)) {
            report.malformed++;
            return;
        }
        number_ = number;
        board_.advance(std::max<std::int64_t>(0, line_.us - board_.now()));
        if (line_.kind == Kind::level)
            level();
        else if (line_.kind == Kind::command)
            (void)board_.command(line_.text);
        else if (line_.kind == Kind::burst && line_.from_host)
            transfer();
        else if (line_.kind == Kind::burst || line_.kind == Kind::error)
            compare();
    }

    ReplayReport report;

  private:
    void level()
    {
        const auto line = find_line(line_.name);
        if (!line)
            return otherwise("there is no line " + line_.name);
        if (line_.from_host) {
            (void)board_.requests().drive(static_cast<std::uint32_t>(*line), line_.number != 0);
            return;
        }
        report.levels++;
        if (board_.level(*line) != (line_.number != 0))
            otherwise(line_.name + (line_.number != 0 ? " is low, in the trace high" : " is high, in the trace low"));
    }

    void transfer()
    {
        spidev_wire::Request request{};
        request.op = spidev_wire::Op::transfer;
        request.length = static_cast<std::uint32_t>(line_.bytes.size());
        request.speed_hz = 3'000'000;
        request.bits_per_word = 8;
        request.delay_usecs = 1;
        answer_.assign(line_.bytes.size(), 0);
        constexpr std::uint32_t kMode = 9;
        status_ = board_.requests().transfer(std::min(line_.port, 1u), request, kMode, line_.bytes, answer_).status;
        answer_.resize(static_cast<std::size_t>(std::max(status_, 0)));
        is_answered_ = true;
    }

    void compare()
    {
        if (!std::exchange(is_answered_, false))
            return; // a trace that begins between the two
        report.bursts++;
        const bool failed = line_.kind == Kind::error;
        if (failed != (status_ < 0))
            otherwise(failed ? "the transfer succeeds, in the trace it failed" : "the transfer fails");
        else if (!failed && line_.bytes != answer_)
            otherwise(difference());
    }

    // What tells the two apart: a line of words, where they differ, and a byte.
    std::string difference() const
    {
        TraceLine other = line_;
        other.bytes = answer_;
        const auto wanted = decode_trace_line(line_, big_endian_);
        const auto got = decode_trace_line(other, big_endian_);
        const auto [a, b] = std::mismatch(got.begin(), got.end(), wanted.begin(), wanted.end());
        const std::string byte = first_byte(line_, answer_);
        if (a == got.end() && b == wanted.end())
            return byte;
        return (a == got.end() ? "no more" : "\"" + *a + "\"") + ", in the trace " +
               (b == wanted.end() ? "no more" : "\"" + *b + "\"") + " (" + byte + ")";
    }

    void otherwise(const std::string &what)
    {
        if (report.otherwise++ < kMostTold)
            tell_("line " + std::to_string(number_) + ", " + trace_time(line_.us) + ": " + what);
    }

    Board &board_;
    const std::function<void(const std::string &line)> &tell_;
    TraceLine line_;
    std::size_t number_ = 0;
    std::optional<bool> big_endian_;
    std::vector<std::uint8_t> answer_;
    std::int32_t status_ = 0;
    bool is_answered_ = false;
};

} // namespace

ReplayReport replay(std::istream &trace, Board &board, const std::function<void(const std::string &line)> &tell)
{
    Player player(board, tell);
    std::string text;
    for (std::size_t number = 1; std::getline(trace, text); ++number) {
        if (trace.eof()) // without its end
            player.report.cut = true;
        else
            player.line(text, number);
    }
    return player.report;
}

} // namespace sim
